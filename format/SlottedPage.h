// A page of rows: slots grow up from the head, rows grow down from the page's end.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

class CSlottedPage {
 public:
  explicit CSlottedPage(const SLayout& layout);

  // An empty page of that owner.
  void Start(uint32_t owner);
  // Takes over a page as read from a file; false when its head or slots make no sense or hold moved or
  // deleted rows.
  bool Load(std::span<const uint8_t> page);

  [[nodiscard]] bool HasRoomFor(size_t rowSize) const {
    return m_slotCount < kMaxRowsPerPage && rowSize + kSlotSize <= GetFreeBytes();
  }
  // The room of a new row, to be filled by the caller before the next call. There must be room.
  std::span<uint8_t> AddRow(size_t rowSize);
  // Replaces a row by one of any length, moving the rows behind it; false when there is no room.
  bool ReplaceRow(uint32_t row, std::span<const uint8_t> bytes);
  void SetStamp(uint32_t stamp);

  [[nodiscard]] std::span<const uint8_t> GetRow(uint32_t row) const;  // empty when there is no such row
  [[nodiscard]] uint32_t GetRowCount() const { return m_slotCount; }
  [[nodiscard]] uint32_t GetOwner() const;
  [[nodiscard]] size_t GetFreeBytes() const {
    return m_lowest - m_layout.data.slots - size_t{kSlotSize} * m_slotCount;
  }
  // The whole page with its head brought up to date.
  std::span<const uint8_t> Finish();

 private:
  static constexpr size_t kSlotSize = 2;
  [[nodiscard]] size_t SlotAt(uint32_t row) const { return m_layout.data.slots + kSlotSize * row; }
  [[nodiscard]] size_t StartOf(uint32_t row) const { return GetLittle<uint16_t>(m_page, SlotAt(row)); }
  [[nodiscard]] size_t EndOf(uint32_t row) const { return row == 0 ? m_page.size() : StartOf(row - 1); }

  const SLayout& m_layout;
  std::vector<uint8_t> m_page;
  uint32_t m_slotCount = 0;
  size_t m_lowest;  // start of the lowest row
};

}  // namespace tolvane
