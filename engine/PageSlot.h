// One entry of a page's row offset table.
//
//   bits 0-12  start of the row; it ends where the row of the entry before starts, the first one at the page
//   end bit 14     the row is only a pointer to the place where the row now is bit 15     hidden: a row that
//   is reached through a pointer; with bit 14: deleted
//
// A row pointer is four bytes: the slot number, then the page number in three.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "engine/DataReader.h"
#include "engine/JetLayout.h"

namespace tolvane {

inline constexpr size_t kRowPointerBytes = 4;

struct SRowPointer {
  uint32_t slot = 0;
  uint32_t page = 0;

  static SRowPointer FromWord(uint32_t word) { return {word & 0xFF, word >> 8}; }
  [[nodiscard]] uint32_t ToWord() const { return page << 8 | slot; }
};

// Nothing when the entry itself lies outside the page.
inline std::optional<uint16_t> ReadSlot(std::span<const uint8_t> page, const SJetLayout& layout,
                                        uint32_t slot) {
  const size_t position = layout.data.slots + size_t{2} * slot;
  if (position + 2 > page.size()) return std::nullopt;
  return CDataReader::ReadUInt16(&page[position]);
}

// The bytes between a row's start and its end; nothing when they do not lie behind the entry or are none.
inline std::optional<std::span<const uint8_t>> RowBetween(std::span<const uint8_t> page,
                                                          const SJetLayout& layout, uint32_t slot,
                                                          size_t start, size_t end) {
  if (start >= end || end > page.size()) return std::nullopt;
  if (start < layout.data.slots + size_t{2} * (slot + 1)) return std::nullopt;
  return page.subspan(start, end - start);
}

// The row of one entry that is reached from elsewhere, whatever its flags. A previous start of 0 is the page
// end.
inline std::optional<std::span<const uint8_t>> FindRow(std::span<const uint8_t> page,
                                                       const SJetLayout& layout, uint32_t slot,
                                                       uint16_t startMask) {
  const auto word = ReadSlot(page, layout, slot);
  if (!word) return std::nullopt;
  const auto before = slot == 0 ? std::optional<uint16_t>{uint16_t{0}} : ReadSlot(page, layout, slot - 1);
  const size_t previousStart = before.value_or(uint16_t{0}) & startMask;
  return RowBetween(page, layout, slot, *word & startMask, previousStart == 0 ? page.size() : previousStart);
}

}  // namespace tolvane
