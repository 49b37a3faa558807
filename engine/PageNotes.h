// What steps 1 and 2 ask of each page, noted by whoever has all pages at hand first, so that a file is read
// once for both. Costs twelve bytes a page.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "format/Layout.h"
#include "model/RecoveryRules.h"

namespace tolvane {

struct SPageNote {
  uint32_t owner = 0;
  uint32_t print = 0;  // of a page of rows, where copies are looked for (PageTwins.h)
  bool isRead : 1 = false;
  bool isData : 1 = false;
  bool startsTable : 1 = false;        // the first page of a definition
  bool mayStartTable : 1 = false;      // damaged, and possibly one
  bool hasNoHead : 1 = false;          // neither a page of any type nor one that was never written
  bool hasNoMaps : 1 = false;          // says that it holds usage maps, and has rows that are none
  bool isBrokenLongValue : 1 = false;  // a page of long values whose slots cannot be true
};

// By number.
using PageNotes = std::vector<SPageNote>;

SPageNote NotePage(std::span<const uint8_t> page, uint64_t number, bool isRead, const SLayout& layout,
                   const SRecoveryRules& rules);

}  // namespace tolvane
