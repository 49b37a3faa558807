#include "checker/LongValueCheck.h"

#include <algorithm>

#include "checker/DataPage.h"

namespace tolvane {
namespace {

void AppendHead(std::span<const uint8_t> data, size_t wanted, std::vector<uint8_t>& head) {
  if (head.size() >= wanted) return;
  const size_t size = std::min(data.size(), wanted - head.size());
  head.insert(head.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
}

}  // namespace

void CLongValueCheck::CheckPages(const SCheckedColumn& column, uint32_t owner) {
  column.ownedPages.ForEach([&](uint32_t page) {
    if (!m_context.ledger.Claim(page, EPageRole::LongValues, owner) || !m_page.Load(page)) return;
    const CDataPage data(m_layout, m_page.GetBytes());
    if (!data.IsDataPage() || data.GetOwner() != kOwnerLongValues)
      m_context.findings.Error("D6", {page},
                               Say(u"no long value page, but column ", column.name, u" names it"));
    else
      data.CheckSlots(m_context.findings, page);
  });
}

bool CLongValueCheck::FindRow(uint32_t pointer, std::span<const uint8_t>& row) {
  if (!m_page.Load(PageOfPointer(pointer))) return false;
  const CDataPage data(m_layout, m_page.GetBytes());
  SSlot slot;
  if (!data.IsDataPage() || data.GetOwner() != kOwnerLongValues ||
      !data.GetSlot(RowOfPointer(pointer), slot) || slot.flags != 0)
    return false;
  row = slot.bytes;
  return true;
}

bool CLongValueCheck::OpenRow(const SCheckedColumn& column, uint32_t pointer, SPlace place,
                              std::span<const uint8_t>& row) {
  const uint32_t page = PageOfPointer(pointer), slot = RowOfPointer(pointer);
  if (!FindRow(pointer, row)) {
    m_context.findings.Error("D7", place,
                             Say(u"the value of ", column.name, u" refers to page ", page, u" row ", slot,
                                 u", which holds no long value"));
    return false;
  }
  if (!column.ownedPages.Contains(page))
    m_context.findings.Error(
        "D7", place,
        Say(u"the value of ", column.name, u" is on page ", page, u", which the column's map does not name"));
  if (m_context.longValues.Add(page, slot)) return true;
  m_context.findings.Error(
      "D7", place,
      Say(u"the value of ", column.name, u" shares page ", page, u" row ", slot, u" with another value"));
  return false;
}

void CLongValueCheck::CheckValue(const SCheckedColumn& column, std::span<const uint8_t> reference,
                                 SPlace place, size_t wanted, std::vector<uint8_t>& head) {
  head.clear();
  if (reference.empty()) return;
  if (reference.size() < kReferenceSize) {
    m_context.findings.Error("D7", place,
                             Say(u"the reference of ", column.name, u" has ", reference.size(), u" bytes"));
    return;
  }
  const auto word = GetLittle<uint32_t>(reference, 0);
  const uint32_t length = word & kLongestLongValue, kind = word & ~kLongestLongValue;
  if (kind == kLongValueInline) {
    if (reference.size() != kReferenceSize + length)
      m_context.findings.Error("D7", place,
                               Say(u"the value of ", column.name, u" has ", reference.size() - kReferenceSize,
                                   u" bytes in its row and states ", length));
    AppendHead(reference.subspan(kReferenceSize), wanted, head);
    return;
  }
  if (reference.size() != kReferenceSize)
    m_context.findings.Error("D7", place,
                             Say(u"the reference of ", column.name, u" has ", reference.size(), u" bytes"));
  if (kind == kLongValueSingle)
    CheckSingle(column, GetLittle<uint32_t>(reference, kReferencePointer), length, place, wanted, head);
  else if (kind == kLongValueChain)
    CheckChain(column, reference, place, wanted, head);
  else
    m_context.findings.Error("D7", place, Say(u"the value of ", column.name, u" is of an unknown kind"));
}

void CLongValueCheck::CheckSingle(const SCheckedColumn& column, uint32_t pointer, uint32_t length,
                                  SPlace place, size_t wanted, std::vector<uint8_t>& head) {
  std::span<const uint8_t> row;
  if (!OpenRow(column, pointer, place, row)) return;
  if (row.size() != length)
    m_context.findings.Error(
        "D9", place, Say(u"the value of ", column.name, u" states ", length, u" bytes and has ", row.size()));
  AppendHead(row, wanted, head);
}

void CLongValueCheck::CheckChain(const SCheckedColumn& column, std::span<const uint8_t> reference,
                                 SPlace place, size_t wanted, std::vector<uint8_t>& head) {
  const uint32_t length = GetLittle<uint32_t>(reference, 0) & kLongestLongValue;
  uint64_t found = 0;
  bool isFirst = true;
  for (auto pointer = GetLittle<uint32_t>(reference, kReferencePointer); pointer != 0; isFirst = false) {
    std::span<const uint8_t> row;
    if (!OpenRow(column, pointer, place, row)) return;  // each row opens once, so a loop ends here
    if (row.size() < kChainPointerSize) {
      m_context.findings.Error("D9", place, Say(u"a piece of the value of ", column.name, u" is too short"));
      return;
    }
    const CDataPage data(m_layout, m_page.GetBytes());
    if (isFirst && !m_context.file.IsJet3() &&
        data.GetStamp() != GetLittle<uint32_t>(reference, kReferenceStamp))
      m_context.findings.Error(
          "D8", place,
          Say(u"the stamp of the value of ", column.name, u" is not that of page ", PageOfPointer(pointer)));
    found += row.size() - kChainPointerSize;
    AppendHead(row.subspan(kChainPointerSize), wanted, head);
    pointer = GetLittle<uint32_t>(row, 0);
  }
  if (found != length)
    m_context.findings.Error(
        "D9", place, Say(u"the value of ", column.name, u" states ", length, u" bytes and has ", found));
}

void CLongValueCheck::ReadHead(std::span<const uint8_t> reference, size_t wanted,
                               std::vector<uint8_t>& head) {
  head.clear();
  if (reference.size() < kReferenceSize) return;
  const uint32_t kind = GetLittle<uint32_t>(reference, 0) & ~kLongestLongValue;
  if (kind == kLongValueInline) return AppendHead(reference.subspan(kReferenceSize), wanted, head);
  // Pieces but the last are as long as a page, so the first holds all that is ever wanted of a chained value.
  std::span<const uint8_t> row;
  if (!FindRow(GetLittle<uint32_t>(reference, kReferencePointer), row)) return;
  if (kind == kLongValueChain) row = row.subspan(std::min(row.size(), kChainPointerSize));
  AppendHead(row, wanted, head);
}

void CLongValueCheck::CheckOrphans(const SCheckedColumn& column) {
  column.ownedPages.ForEach([&](uint32_t page) {
    if (m_context.ledger.GetRole(page) != EPageRole::LongValues || !m_page.Load(page)) return;
    const CDataPage data(m_layout, m_page.GetBytes());
    if (!data.IsDataPage() || data.GetOwner() != kOwnerLongValues) return;
    for (uint32_t row = 0; row < data.GetSlotCount(); row++) {
      SSlot slot;
      if (data.GetSlot(row, slot) && slot.flags == 0 && !m_context.longValues.Contains(page, row))
        m_context.findings.Doubt("D10", {page, row},
                                 Say(u"no value of ", column.name, u" refers to this row"));
    }
  });
}

}  // namespace tolvane
