// The rows of one data page: by its slots where these hold together, else by the frames of the rows.
//
// The rows of a page lie without gaps between its end and the free bytes, the first slot's row last:
//
//   head | slots | free bytes | row r-1 | ... | row 1 | row 0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/RowProfile.h"
#include "format/Layout.h"
#include "format/RowFrame.h"

namespace tolvane {

struct SPageRow {
  uint32_t slot = 0;  // of a row that was found without its slot: how many rows were found before it
  size_t start = 0;   // in the page
  size_t end = 0;
  uint16_t flags = 0;  // kSlotHidden, kSlotPointer
};

// One entry for each slot; the page's slots are sound.
std::vector<SPageRow> RowsOfSlots(std::span<const uint8_t> page, const SLayout& layout);

// Rows of the profile, found from the end of the page downwards. What the slots still say of a row that is
// there is believed: deleted rows are left out, pointers and bodies of moved rows are marked.
std::vector<SPageRow> FindRows(std::span<const uint8_t> page, const SLayout& layout,
                               const CRowProfile& profile, CRowFrame& frame);

// The same within a stretch of a page whose slots say nothing true about it.
std::vector<SPageRow> FindRowsBetween(std::span<const uint8_t> page, size_t from, size_t to,
                                      const SLayout& layout, const CRowProfile& profile, CRowFrame& frame);

// Rows that lie where the next ones would, without slots yet, on a page whose slots are sound: the page is
// torn, and its head older than its end. Or they are what is left of rows that were there before.
std::vector<SPageRow> FindRowsToCome(std::span<const uint8_t> page, const SLayout& layout,
                                     const CRowProfile& profile, CRowFrame& frame);

}  // namespace tolvane
