#include "format/SlottedPage.h"

#include <algorithm>
#include <cstring>

#include "format/PageSlots.h"

namespace tolvane {

CSlottedPage::CSlottedPage(const SLayout& layout)
    : m_layout(layout), m_page(layout.pageSize), m_lowest(layout.pageSize) {}

void CSlottedPage::Start(uint32_t owner) {
  std::ranges::fill(m_page, uint8_t{0});
  m_page[kPageTypeAt] = static_cast<uint8_t>(kPageData);
  m_page[kPageMarkAt] = kPageFormatted;
  PutLittle(std::span(m_page), kOwnerOffset, owner);
  m_slotCount = 0;
  m_lowest = m_page.size();
}

bool CSlottedPage::Load(std::span<const uint8_t> page) {
  if (page.size() != m_page.size() || page[kPageTypeAt] != kPageData) return false;
  const uint32_t slots = GetLittle<uint16_t>(page, m_layout.data.slotCount);
  bool isSound = slots <= kMaxRowsPerPage;
  CheckSlots(page, m_layout,
             [&](const SSlotFault& fault) { isSound = isSound && fault.kind == ESlotFault::FreeBytes; });
  for (uint32_t i = 0; isSound && i < slots; i++) isSound = (*ReadSlot(page, m_layout, i) & kSlotFlags) == 0;
  if (!isSound) return false;
  std::ranges::copy(page, m_page.begin());
  m_slotCount = slots;
  m_lowest = slots == 0 ? page.size() : StartOf(slots - 1);
  return true;
}

std::span<uint8_t> CSlottedPage::AddRow(size_t rowSize) {
  m_lowest -= rowSize;
  PutLittle(std::span(m_page), SlotAt(m_slotCount++), static_cast<uint16_t>(m_lowest));
  return std::span(m_page).subspan(m_lowest, rowSize);
}

bool CSlottedPage::ReplaceRow(uint32_t row, std::span<const uint8_t> bytes) {
  if (row >= m_slotCount) return false;
  const size_t start = StartOf(row), end = EndOf(row), oldSize = end - start;
  if (bytes.size() > oldSize && bytes.size() - oldSize > GetFreeBytes()) return false;
  const size_t newLowest = m_lowest + oldSize - bytes.size();
  std::memmove(&m_page[newLowest], &m_page[m_lowest], start - m_lowest);
  for (uint32_t i = row; i < m_slotCount; i++)
    PutLittle(std::span(m_page), SlotAt(i), static_cast<uint16_t>(StartOf(i) + oldSize - bytes.size()));
  std::ranges::copy(bytes, m_page.begin() + static_cast<std::ptrdiff_t>(end - bytes.size()));
  m_lowest = newLowest;
  return true;
}

void CSlottedPage::SetStamp(uint32_t stamp) {
  PutLittle(std::span(m_page), m_layout.data.stamp, stamp);
}

std::span<const uint8_t> CSlottedPage::GetRow(uint32_t row) const {
  if (row >= m_slotCount) return {};
  return std::span(m_page).subspan(StartOf(row), EndOf(row) - StartOf(row));
}

uint32_t CSlottedPage::GetOwner() const {
  return GetLittle<uint32_t>(m_page, kOwnerOffset);
}

std::span<const uint8_t> CSlottedPage::Finish() {
  PutLittle(std::span(m_page), kFreeBytesOffset, static_cast<uint16_t>(GetFreeBytes()));
  PutLittle(std::span(m_page), m_layout.data.slotCount, static_cast<uint16_t>(m_slotCount));
  return m_page;
}

}  // namespace tolvane
