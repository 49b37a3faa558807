// What the entries of an index leaf lead to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "format/Layout.h"

namespace tolvane {

// An entry ends with the page, highest byte first, and the slot.
inline constexpr size_t kEntryPointer = 4;

// Hands over the rows that the entries of a sound leaf name.
template <class F>
void ForEachIndexEntry(std::span<const uint8_t> page, const SLayout& layout, const F& take) {
  const SIndexPageLayout& at = layout.index;
  for (size_t byte = at.mask; byte < at.entries; byte++) {
    for (uint32_t bit = 0; page[byte] >> bit != 0; bit++) {
      if ((page[byte] >> bit & 1) == 0) continue;
      const size_t end = at.entries + size_t{8} * (byte - at.mask) + bit;
      if (end < at.entries + kEntryPointer || end > page.size()) continue;
      const uint8_t* const pointer = &page[end - kEntryPointer];
      take(SRowPointer{.slot = pointer[3],
                       .page = static_cast<uint32_t>(pointer[0] << 16 | pointer[1] << 8 | pointer[2])});
    }
  }
}

}  // namespace tolvane
