// Pages that bytes were put into, or that lost some: what stands behind the place is out of step with its
// head.
//
//   the page's place          | head | slots | rows ... | rest of other bytes |
//   in step with those behind        | other bytes      ... rows | row 0      |
//                                              ^ the cut: in front of it the one counts, behind it the other
#pragma once

#include <cstdint>
#include <span>

#include "engine/PageReader.h"
#include "engine/RowProfile.h"
#include "format/Layout.h"
#include "format/RowFrame.h"

namespace tolvane {

// Of the page of rows at `offset`, which was read into `page` as it stands in its place: cuts it where most
// of its rows are rows of the profile. False: there is no better cut than its end, and `page` is as it was.
bool MendTornPage(CPageReader& reader, uint64_t offset, const SLayout& layout, const CRowProfile& profile,
                  CRowFrame& frame, std::span<uint8_t> page);

}  // namespace tolvane
