#include "engine/LongValuePages.h"

#include <algorithm>

#include "format/Bytes.h"
#include "format/PageSlots.h"

namespace tolvane {

CLongValuePages::CLongValuePages(const SLayout& layout, std::span<const uint32_t> pages)
    : m_layout(&layout), m_pages(pages.begin(), pages.end()) {}

void CLongValuePages::Note(SRowPointer pointer, size_t length) {
  if (!IsBroken(pointer.page) || m_lengths.size() >= kMostLengths) return;
  m_placed = 0;
  uint32_t& slots = m_slots[pointer.page];
  slots = std::max(slots, pointer.slot + 1);
  const auto [entry, isNew] = m_lengths.emplace(pointer.ToWord(), length);
  if (!isNew && entry->second != length) entry->second = 0;
}

std::optional<size_t> CLongValuePages::LengthOf(SRowPointer pointer) const {
  const auto found = m_lengths.find(pointer.ToWord());
  if (found == m_lengths.end() || found->second == 0) return std::nullopt;
  return found->second;
}

std::optional<std::span<const uint8_t>> CLongValuePages::FindRow(std::span<const uint8_t> page,
                                                                 SRowPointer pointer, size_t length) {
  const uint32_t most = m_layout->data.MaximumSlots(m_layout->pageSize);
  const bool isHeadless = IsHeadless(page);
  uint32_t count = GetLittle<uint16_t>(page, m_layout->data.slotCount);
  if (isHeadless) count = m_slots[pointer.page];
  if (count > most || pointer.slot >= count) count = pointer.slot + 1;
  if (pointer.slot >= most) return std::nullopt;
  // The rows of a page are asked for one after the other, and all lengths are noted by then.
  if (pointer.page != m_placed || count != m_starts.size()) Place(page, pointer.page, count);
  size_t start = m_starts[pointer.slot], end = m_ends[pointer.slot];
  if (end == 0 && start != 0) end = start + length;
  if (start == 0 && end > length) start = end - length;
  const size_t tableEnd = m_layout->data.slots + size_t{2} * count;
  if (start < tableEnd || start >= end || end > page.size()) return std::nullopt;
  // What overwrote the head has not reached the row.
  const auto isZero = [](uint8_t byte) { return byte == 0; };
  if (isHeadless && std::all_of(page.begin(), page.begin() + static_cast<ptrdiff_t>(start) + 1, isZero))
    return std::nullopt;
  return page.subspan(start, std::min(end - start, length));
}

bool CLongValuePages::IsHeadless(std::span<const uint8_t> page) const {
  return std::all_of(page.begin(), page.begin() + static_cast<ptrdiff_t>(m_layout->data.slots),
                     [](uint8_t byte) { return byte == 0; });
}

void CLongValuePages::Place(std::span<const uint8_t> page, uint32_t number, uint32_t count) {
  m_placed = number;
  m_starts.assign(count, 0);
  m_ends.assign(count, 0);
  const auto lengthOf = [&](uint32_t slot) { return LengthOf({.slot = slot, .page = number}); };
  m_ends[0] = page.size();
  for (uint32_t slot = 0; slot < count && m_ends[slot] != 0; slot++) {
    const auto length = lengthOf(slot);
    if (!length || *length >= m_ends[slot]) break;
    m_starts[slot] = m_ends[slot] - *length;
    if (slot + 1 < count) m_ends[slot + 1] = m_starts[slot];
  }
  const size_t lowest =
      m_layout->data.slots + size_t{2} * count + GetLittle<uint16_t>(page, kFreeBytesOffset);
  if (!IsHeadless(page) && lowest < page.size() && m_starts[count - 1] == 0) m_starts[count - 1] = lowest;
  for (uint32_t slot = count; slot-- > 1 && m_starts[slot] != 0;) {
    const auto length = lengthOf(slot);
    if (m_ends[slot] == 0 && length) m_ends[slot] = m_starts[slot] + *length;
    if (m_ends[slot] == 0) break;
    if (m_starts[slot - 1] == 0) m_starts[slot - 1] = m_ends[slot];
  }
  // A slot is believed where its row, as long as it must be, ends where the slot before it begins.
  const auto startSaid = [&](uint32_t slot) { return size_t{*ReadSlot(page, *m_layout, slot)} & kSlotStart; };
  for (uint32_t slot = 0; slot < count; slot++) {
    const auto length = lengthOf(slot);
    if (m_starts[slot] != 0 || !length) continue;
    const size_t before = slot == 0 ? page.size() : startSaid(slot - 1);
    if (startSaid(slot) + *length != before) continue;
    m_starts[slot] = startSaid(slot);
    m_ends[slot] = before;
  }
}

}  // namespace tolvane
