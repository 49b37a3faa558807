#include "checker/UsageCheck.h"

#include "checker/DataPage.h"
#include "format/MapRow.h"

namespace tolvane {
bool CUsageCheck::OpenRow(uint32_t pointer, std::u16string_view what, std::span<const uint8_t>& row) {
  const uint32_t page = PageOfPointer(pointer), slotNumber = RowOfPointer(pointer);
  const SPlace place{page, slotNumber};
  if (!m_page.Load(page)) {
    m_context.findings.Error("D1", place, u"the map of ", what, u" lies outside the file");
    return false;
  }
  const CDataPage data(m_context.file.GetLayout(), m_page.GetBytes());
  const EPageRole role = page == kGlobalMapPage ? EPageRole::GlobalMaps : EPageRole::MapRows;
  if (!data.IsDataPage() || data.GetOwner() != (page == kGlobalMapPage ? kOwnerGlobalMaps : kOwnerMaps)) {
    m_context.findings.Error("D1", place, u"the map of ", what, u" is not on a page of usage maps");
    return false;
  }
  if (m_context.ledger.GetRole(page) != role) {
    if (!m_context.ledger.Claim(page, role, 0)) return false;
    data.CheckSlots(m_context.findings, page);
  }
  if (!m_context.mapRows.Add(page, slotNumber)) {
    m_context.findings.Error("F2", place, u"the map of ", what, u" is used by something else as well");
    return false;
  }
  SSlot slot;
  if (!data.GetSlot(slotNumber, slot) || slot.flags != 0 || !IsMapRow(slot.bytes)) {
    m_context.findings.Error("D1", place, u"the map of ", what, u" is no usage map");
    return false;
  }
  row = slot.bytes;
  return true;
}

bool CUsageCheck::OpenBits(uint32_t page, uint32_t mapPage) {
  if (!m_context.ledger.Claim(page, EPageRole::MapBits, mapPage) || !m_bits.Load(page)) return false;
  if (m_bits.GetBytes()[kPageTypeAt] == static_cast<uint8_t>(kPageMap) &&
      m_bits.GetBytes()[kPageMarkAt] == kPageFormatted)
    return true;
  m_context.findings.Error("D1", {page}, u"a usage map refers to this page, but it holds no bits of a map");
  return false;
}

template <class Visitor>
uint64_t CUsageCheck::ForEachBit(std::span<const uint8_t> row, uint32_t mapPage, Visitor visit) {
  const auto open = [&](uint32_t page, uint64_t) {
    return OpenBits(page, mapPage) ? m_bits.GetBytes() : std::span<const uint8_t>();
  };
  const auto all = [&](uint64_t page) { return visit(page), true; };
  return ReadMapRow(m_context.file.GetLayout(), row, open, all).value_or(0);
}

bool CUsageCheck::Load(uint32_t pointer, std::u16string_view what, CPageSet& pages) {
  std::span<const uint8_t> row;
  if (!OpenRow(pointer, what, row)) return false;
  const uint32_t pageCount = m_context.file.GetPageCount();
  uint64_t outside = 0;
  ForEachBit(row, PageOfPointer(pointer), [&](uint64_t page) {
    if (page < pageCount)
      pages.Add(static_cast<uint32_t>(page));
    else
      outside++;
  });
  if (outside != 0)
    m_context.findings.Error("F5", {PageOfPointer(pointer), RowOfPointer(pointer)}, u"the map of ", what,
                             u" names ", outside, u" pages outside the file");
  return true;
}

void CUsageCheck::LoadGlobalMaps() {
  if (!m_context.ledger.Claim(kGlobalMapPage, EPageRole::GlobalMaps, 0)) return;
  if (m_page.Load(kGlobalMapPage))
    CDataPage(m_context.file.GetLayout(), m_page.GetBytes()).CheckSlots(m_context.findings, kGlobalMapPage);
  std::span<const uint8_t> row;
  const uint32_t pageCount = m_context.file.GetPageCount();
  if (OpenRow(MakeRowPointer(kGlobalMapPage, kGlobalFreeRow), u"free pages", row)) {
    uint64_t behind = 0;
    const uint64_t covered = ForEachBit(row, kGlobalMapPage, [&](uint64_t page) {
      if (page < pageCount)
        m_context.ledger.MarkFree(static_cast<uint32_t>(page));
      else
        behind++;
    });
    const SPlace place{kGlobalMapPage, kGlobalFreeRow};
    if (covered < pageCount)
      m_context.findings.Error("F4", place, u"the map of free pages ends at page ", covered, u" of ",
                               pageCount);
    else if (behind != covered - pageCount)
      m_context.findings.Doubt("F4", place, covered - pageCount - behind,
                               u" pages behind the file's end are not free");
  }
  uint64_t second = 0;
  if (OpenRow(MakeRowPointer(kGlobalMapPage, kGlobalSecondRow), u"the second global map", row))
    ForEachBit(row, kGlobalMapPage, [&](uint64_t) { second++; });
  if (second != 0)
    m_context.findings.Doubt("F6", {kGlobalMapPage, kGlobalSecondRow}, u"the second global map names ",
                             second, u" pages");
}

}  // namespace tolvane
