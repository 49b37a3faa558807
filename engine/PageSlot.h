// Entries of a page's row offset table and the rows between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "engine/DataReader.h"
#include "format/Layout.h"

namespace tolvane {

// Nothing when the entry itself lies outside the page.
inline std::optional<uint16_t> ReadSlot(std::span<const uint8_t> page, const SLayout& layout, uint32_t slot) {
  const size_t position = layout.data.slots + size_t{2} * slot;
  if (position + 2 > page.size()) return std::nullopt;
  return CDataReader::ReadUInt16(&page[position]);
}

// The bytes between a row's start and its end; nothing when they do not lie behind the entry or are none.
inline std::optional<std::span<const uint8_t>> RowBetween(std::span<const uint8_t> page,
                                                          const SLayout& layout, uint32_t slot, size_t start,
                                                          size_t end) {
  if (start >= end || end > page.size()) return std::nullopt;
  if (start < layout.data.slots + size_t{2} * (slot + 1)) return std::nullopt;
  return page.subspan(start, end - start);
}

// The row of one entry that is reached from elsewhere, whatever its flags. A previous start of 0 is the page
// end.
inline std::optional<std::span<const uint8_t>> FindRow(std::span<const uint8_t> page, const SLayout& layout,
                                                       uint32_t slot, uint16_t startMask) {
  const auto word = ReadSlot(page, layout, slot);
  if (!word) return std::nullopt;
  const auto before = slot == 0 ? std::optional<uint16_t>{uint16_t{0}} : ReadSlot(page, layout, slot - 1);
  const size_t previousStart = before.value_or(uint16_t{0}) & startMask;
  return RowBetween(page, layout, slot, *word & startMask, previousStart == 0 ? page.size() : previousStart);
}

}  // namespace tolvane
