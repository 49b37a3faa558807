// Two databases whose pages lie in the file by turns, as a disk holds them that grew at the same time, and an
// image of it, or what was put together from pieces of it:
//
//   | first 0..k-1 | second 0..k-1 | first k..2k-1 | second k..2k-1 | ... | the rest of the longer one |
//
// The second one's header tells how long a turn is; what pages take each other for (PageReferences.h) tells
// whether there are turns at all, or one database behind the other, and where the shorter one ends.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/PageReader.h"
#include "format/Layout.h"
#include "status/JobContext.h"

namespace tolvane {

// `first`, `second`: places of both headers in the file, whole pages apart; `wanted`: the one of them whose
// stretches are asked for. Empty where the file holds one database behind the other, and where a job that
// watches was stopped. The work is linear in the length of the file.
std::vector<SPageStretch> FindTurns(CPageReader& file, const SLayout& layout, uint64_t first, uint64_t second,
                                    uint64_t wanted, const CJobContext* job);

}  // namespace tolvane
