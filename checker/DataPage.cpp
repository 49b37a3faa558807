#include "checker/DataPage.h"

#include <algorithm>

namespace tolvane {

uint32_t CDataPage::GetSlotCount() const {
  const auto mostThatFit = static_cast<uint32_t>((m_page.size() - m_layout.data.slots) / 2);
  return std::min({GetStoredSlots(), mostThatFit, kMaxSlots});
}

bool CDataPage::GetSlot(uint32_t row, SSlot& slot) const {
  if (row >= GetSlotCount()) return false;
  const uint16_t word = *ReadSlot(m_page, m_layout, row);
  const size_t start = word & kSlotStart;
  const size_t end = row == 0 ? m_page.size() : size_t{*ReadSlot(m_page, m_layout, row - 1)} & kSlotStart;
  if (start > end || end > m_page.size() || start < EndOfSlots()) return false;
  slot.bytes = m_page.subspan(start, end - start);
  slot.flags = word & kSlotDeleted;
  return true;
}

void CDataPage::CheckSlots(CFindings& findings, uint32_t number) const {
  const auto tooMany = [&] {
    findings.Error("D3", {number}, GetStoredSlots(), u" slots are more than a page has room for");
  };
  if (GetStoredSlots() > kMaxSlots) return tooMany();
  tolvane::CheckSlots(m_page, m_layout, [&](const SSlotFault& fault) {
    const SPlace place{number, fault.slot};
    if (fault.kind == ESlotFault::TooMany)
      tooMany();
    else if (fault.kind == ESlotFault::UnknownFlag)
      findings.Error("D3", place, u"the slot has an unknown flag");
    else if (fault.kind == ESlotFault::FreeBytes)
      findings.Error("D4", {number}, u"the page states ", fault.found, u" free bytes and has ",
                     fault.expected);
    else
      findings.Error("D3", place, u"the row starts at ", fault.found, u", outside the room between ",
                     EndOfSlots(), u" and ", fault.expected);
  });
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
