// The slots of a page of rows and the rows between them (drawn in PageLayout.h): read leniently, every fault
// told.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "format/Layout.h"

namespace tolvane {

// Nothing when the entry itself lies outside the page.
inline std::optional<uint16_t> ReadSlot(std::span<const uint8_t> page, const SLayout& layout, uint32_t slot) {
  const size_t position = layout.data.slots + size_t{2} * slot;
  if (position + 2 > page.size()) return std::nullopt;
  return GetLittle<uint16_t>(page, position);
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

// What does not hold on a page. After one of the first three nothing further is looked at.
enum class ESlotFault : uint8_t {
  TooMany,      // slots than the page has room for
  Outside,      // the row starts among the slots or behind the page's end
  OutOfOrder,   // ... above the row of the slot before it
  UnknownFlag,  // in the slot
  FreeBytes,    // the page states another number of them than it has
};
struct SSlotFault {
  ESlotFault kind;
  uint32_t slot = 0;
  size_t found = 0, expected = 0;  // numbers of slots or of free bytes; a start, and the lowest one before it
};

// Hands every fault of the page's slots and free bytes to `report`. The page is whole.
template <class Sink>
void CheckSlots(std::span<const uint8_t> page, const SLayout& layout, Sink report) {
  const uint32_t count = GetLittle<uint16_t>(page, layout.data.slotCount);
  const uint32_t most = layout.data.MaximumSlots(layout.pageSize);
  if (count > most) return report(SSlotFault{ESlotFault::TooMany, 0, count, most});
  const size_t tableEnd = layout.data.slots + size_t{2} * count;
  size_t lowest = page.size();
  for (uint32_t slot = 0; slot < count; slot++) {
    const auto word = GetLittle<uint16_t>(page, layout.data.slots + size_t{2} * slot);
    const size_t start = word & kSlotStart;
    if (start > page.size() || start < tableEnd)
      return report(SSlotFault{ESlotFault::Outside, slot, start, lowest});
    if (start > lowest) return report(SSlotFault{ESlotFault::OutOfOrder, slot, start, lowest});
    if ((word & kSlotFlags & ~kSlotDeleted) != 0) report(SSlotFault{ESlotFault::UnknownFlag, slot});
    lowest = start;
  }
  const size_t free = GetLittle<uint16_t>(page, kFreeBytesOffset);
  if (free != lowest - tableEnd) report(SSlotFault{ESlotFault::FreeBytes, 0, free, lowest - tableEnd});
}

// Whether slots, their number and the free bytes agree, as they do on every sound page.
inline bool AreSlotsSound(std::span<const uint8_t> page, const SLayout& layout) {
  bool isSound = true;
  CheckSlots(page, layout, [&](const SSlotFault&) { isSound = false; });
  return isSound;
}

// Hands over the slots of a sound page that hold a row of their own or lead to one, each with its word.
template <class F>
void ForEachLiveSlot(std::span<const uint8_t> page, const SLayout& layout, const F& take) {
  const uint32_t count = GetLittle<uint16_t>(page, layout.data.slotCount);
  for (uint32_t slot = 0; slot < count; slot++)
    if (const uint16_t word = *ReadSlot(page, layout, slot); (word & kSlotHidden) == 0) take(slot, word);
}
inline uint32_t CountLiveSlots(std::span<const uint8_t> page, const SLayout& layout) {
  uint32_t rows = 0;
  ForEachLiveSlot(page, layout, [&rows](uint32_t, uint16_t) { rows++; });
  return rows;
}

}  // namespace tolvane
