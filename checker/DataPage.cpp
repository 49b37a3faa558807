#include "checker/DataPage.h"

#include <algorithm>

namespace tolvane {

uint32_t CDataPage::GetSlotCount() const {
  const auto mostThatFit = static_cast<uint32_t>((m_page.size() - m_layout.data.slots) / 2);
  return std::min({GetStoredSlots(), mostThatFit, kMaxSlots});
}

bool CDataPage::GetSlot(uint32_t row, SSlot& slot) const {
  if (row >= GetSlotCount()) return false;
  const uint16_t word = WordOf(row);
  const size_t start = word & kSlotStart;
  const size_t end = row == 0 ? m_page.size() : size_t{WordOf(row - 1)} & kSlotStart;
  if (start > end || end > m_page.size() || start < EndOfSlots()) return false;
  slot.bytes = m_page.subspan(start, end - start);
  slot.flags = word & (kSlotHidden | kSlotPointer);
  return true;
}

void CDataPage::CheckSlots(CFindings& findings, uint32_t number) const {
  if (GetStoredSlots() > GetSlotCount()) {
    findings.Error("D3", {number}, Say(GetStoredSlots(), u" slots are more than a page has room for"));
    return;
  }
  size_t lowest = m_page.size();
  for (uint32_t row = 0; row < GetSlotCount(); row++) {
    const uint16_t word = WordOf(row);
    const size_t start = word & kSlotStart;
    if (start > lowest || start < EndOfSlots()) {
      findings.Error(
          "D3", {number, row},
          Say(u"the row starts at ", start, u", outside the room between ", EndOfSlots(), u" and ", lowest));
      return;
    }
    if ((word & ~(kSlotStart | kSlotHidden | kSlotPointer)) != 0)
      findings.Error("D3", {number, row}, u"the slot has an unknown flag");
    lowest = start;
  }
  const size_t expected = lowest - EndOfSlots(), stored = GetLittle<uint16_t>(m_page, kFreeBytesOffset);
  if (stored != expected)
    findings.Error("D4", {number}, Say(u"the page states ", stored, u" free bytes and has ", expected));
}

bool CRowReader::Read(uint32_t page, uint32_t row, uint32_t owner, std::span<const uint8_t>& bytes) {
  SSlot slot;
  if (!m_page.Load(page) || !CDataPage(m_file.GetLayout(), m_page.GetBytes()).GetSlot(row, slot))
    return false;
  bytes = slot.bytes;
  return slot.flags != kSlotPointer ||
         (bytes.size() >= 4 && ReadBody(GetLittle<uint32_t>(bytes, 0), owner, bytes));
}

bool CRowReader::ReadBody(uint32_t pointer, uint32_t owner, std::span<const uint8_t>& bytes) {
  if (!m_bodyPage.Load(PageOfPointer(pointer))) return false;
  const CDataPage data(m_file.GetLayout(), m_bodyPage.GetBytes());
  SSlot slot;
  if (!data.IsDataPage() || data.GetOwner() != owner || !data.GetSlot(RowOfPointer(pointer), slot) ||
      slot.flags != kSlotHidden)
    return false;
  bytes = slot.bytes;
  return true;
}

}  // namespace tolvane
