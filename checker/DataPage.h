// A page of rows (table rows, usage maps, long values): its head, its slots, and rules D3 and D4 over them.
#pragma once

#include <cstdint>
#include <span>

#include "checker/CheckContext.h"
#include "format/PageSlots.h"

namespace tolvane {

struct SSlot {
  std::span<const uint8_t> bytes;
  uint16_t flags = 0;  // kSlotHidden | kSlotPointer
};

class CDataPage {
 public:
  // Both must outlive the object.
  CDataPage(const SLayout& layout, std::span<const uint8_t> page) : m_layout(layout), m_page(page) {}

  [[nodiscard]] bool IsDataPage() const {
    return m_page[kPageTypeAt] == static_cast<uint8_t>(kPageData) && m_page[kPageMarkAt] == kPageFormatted;
  }
  [[nodiscard]] uint32_t GetOwner() const { return GetLittle<uint32_t>(m_page, kOwnerOffset); }
  [[nodiscard]] uint32_t GetStamp() const { return GetLittle<uint32_t>(m_page, m_layout.data.stamp); }
  // As stored, and as far as the page and the row pointers reach.
  [[nodiscard]] uint32_t GetStoredSlots() const {
    return GetLittle<uint16_t>(m_page, m_layout.data.slotCount);
  }
  [[nodiscard]] uint32_t GetSlotCount() const;
  // False when there is no such slot or it makes no sense.
  [[nodiscard]] bool GetSlot(uint32_t row, SSlot& slot) const;

  // Slots in descending order inside the page, and the word that counts the free bytes.
  void CheckSlots(CFindings& findings, uint32_t number) const;

 private:
  [[nodiscard]] size_t EndOfSlots() const { return m_layout.data.slots + size_t{2} * GetStoredSlots(); }

  const SLayout& m_layout;
  const std::span<const uint8_t> m_page;
};

// Reads rows by their place.
class CRowReader {
 public:
  explicit CRowReader(CCheckedFile& file) : m_file(file), m_page(file), m_bodyPage(file) {}

  // The row that indexes name by this slot, wherever it has moved. False when there is none. The bytes stay
  // until the next call.
  bool Read(uint32_t page, uint32_t row, uint32_t owner, std::span<const uint8_t>& bytes);
  // The body of a moved row of the table with this definition page.
  bool ReadBody(uint32_t pointer, uint32_t owner, std::span<const uint8_t>& bytes);

 private:
  CCheckedFile& m_file;
  CPageBuffer m_page, m_bodyPage;
};

}  // namespace tolvane
