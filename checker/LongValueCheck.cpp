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
      m_context.findings.Error("D6", {page}, u"no long value page, but column ", column.name, u" names it");
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
    m_context.findings.Error("D7", place, u"the value of ", column.name, u" refers to page ", page, u" row ",
                             slot, u", which holds no long value");
    return false;
  }
  if (!column.ownedPages.Contains(page))
    m_context.findings.Error("D7", place, u"the value of ", column.name, u" is on page ", page,
                             u", which the column's map does not name");
  if (m_context.longValues.Add(page, slot)) return true;
  m_context.findings.Error("D7", place, u"the value of ", column.name, u" shares page ", page, u" row ", slot,
                           u" with another value");
  return false;
}

void CLongValueCheck::CheckValue(const SCheckedColumn& column, std::span<const uint8_t> reference,
                                 SPlace place, size_t wanted, std::vector<uint8_t>& head) {
  head.clear();
  if (reference.empty()) return;
  const auto error = [&](std::string_view rule, auto... parts) {
    m_context.findings.Error(rule, place, parts...);
  };
  const std::optional<SLongValue> value = DecodeLongValue(reference);
  if (!value || (value->kind != kLongValueInline && !value->rest.empty()))
    error("D7", u"the reference of ", column.name, u" has ", reference.size(), u" bytes");
  if (!value) return;
  uint64_t found = 0;
  switch (value->kind) {
    case kLongValueInline:
      if (value->rest.size() != value->length)
        error("D7", u"the value of ", column.name, u" has ", value->rest.size(),
              u" bytes in its row and states ", value->length);
      return AppendHead(value->rest, wanted, head);
    case kLongValueSingle: {
      std::span<const uint8_t> row;
      if (!OpenRow(column, value->pointer, place, row)) return;
      found = row.size();
      AppendHead(row, wanted, head);
      break;
    }
    case kLongValueChain:
      if (!WalkChain(column, *value, place, wanted, head, found)) return;
      break;
    default:
      return error("D7", u"the value of ", column.name, u" is of an unknown kind");
  }
  if (found != value->length)
    error("D9", u"the value of ", column.name, u" states ", value->length, u" bytes and has ", found);
}

bool CLongValueCheck::WalkChain(const SCheckedColumn& column, const SLongValue& value, SPlace place,
                                size_t wanted, std::vector<uint8_t>& head, uint64_t& found) {
  for (uint32_t pointer = value.pointer; pointer != 0;) {
    std::span<const uint8_t> row;
    if (!OpenRow(column, pointer, place, row)) return false;  // each row opens once, so a loop ends here
    const std::optional<SChainPiece> piece = DecodeChainPiece(row);
    if (!piece) {
      m_context.findings.Error("D9", place, u"a piece of the value of ", column.name, u" is too short");
      return false;
    }
    if (pointer == value.pointer && !m_context.file.IsJet3() &&
        CDataPage(m_layout, m_page.GetBytes()).GetStamp() != value.stamp)
      m_context.findings.Error("D8", place, u"the stamp of the value of ", column.name,
                               u" is not that of page ", PageOfPointer(pointer));
    found += piece->data.size();
    AppendHead(piece->data, wanted, head);
    pointer = piece->next;
  }
  return true;
}

void CLongValueCheck::ReadHead(std::span<const uint8_t> reference, size_t wanted,
                               std::vector<uint8_t>& head) {
  head.clear();
  const auto findRow = [this](uint32_t pointer) {
    std::span<const uint8_t> row;
    return FindRow(pointer, row) ? std::optional(row) : std::nullopt;
  };
  if (const auto piece = FirstPieceOf(reference, findRow)) AppendHead(*piece, wanted, head);
}

void CLongValueCheck::CheckOrphans(const SCheckedColumn& column) {
  column.ownedPages.ForEach([&](uint32_t page) {
    if (m_context.ledger.GetRole(page) != EPageRole::LongValues || !m_page.Load(page)) return;
    const CDataPage data(m_layout, m_page.GetBytes());
    if (!data.IsDataPage() || data.GetOwner() != kOwnerLongValues) return;
    for (uint32_t row = 0; row < data.GetSlotCount(); row++) {
      SSlot slot;
      if (data.GetSlot(row, slot) && slot.flags == 0 && !m_context.longValues.Contains(page, row))
        m_context.findings.Doubt("D10", {page, row}, u"no value of ", column.name, u" refers to this row");
    }
  });
}

}  // namespace tolvane
