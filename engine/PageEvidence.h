// Where the pages of a database are in a file, told by the pages themselves: their format, the first one's
// place, and stretches that stand away from their places because bytes were put in or lost in front of them.
//
//   0         start                                  end of the file
//   | foreign | page 0 | page 1 | .. xx | page 40 ... |
//                                    ^ bytes put in: what follows is a stretch of its own
//
// A sound head proves a page: its free bytes, slots or marks agree with each other, which foreign bytes
// hardly ever do. The work is linear in the length of the file.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/PageNotes.h"
#include "engine/PageReader.h"
#include "format/Layout.h"
#include "status/JobContext.h"

namespace tolvane {

struct SPageEvidence {
  const SLayout* layout = nullptr;  // null: no page proves anything
  // In the order of the pages; at least one where there is a layout.
  std::vector<SPageStretch> stretches = {};
  uint64_t movedPages = 0;                 // in stretches behind the first one
  std::vector<uint64_t> otherStarts = {};  // places of further databases' headers in the file
  PageNotes notes = {};                    // where they are wanted: of the first pages, or of none
};

// Of a file that is open and has no stretches set. `wantedStart`: the database that begins there; any is
// taken where it is 0. `job`, if any, sees how far the search is; once it is stopped nothing is proved.
// `noting`: the rules by which pages are noted where all are read anyway; null: nobody wants notes.
SPageEvidence FindPages(CPageReader& file, uint64_t wantedStart = 0, CJobContext* job = nullptr,
                        const SRecoveryRules* noting = nullptr);

}  // namespace tolvane
