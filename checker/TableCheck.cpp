#include "checker/TableCheck.h"

#include <algorithm>

#include "checker/PropertyCheck.h"
#include "format/CompressedText.h"
#include "format/SystemObjects.h"

namespace tolvane {
bool CTableCheck::Open(uint32_t definitionPage) {
  m_context.live.Clear();
  m_context.bodies.Clear();
  m_context.targets.Clear();
  m_row.reset();
  m_keys.clear();
  m_expected.clear();
  m_autoNumber = nullptr;
  m_table = std::make_unique<SCheckedTable>();
  if (!m_definition.Load(definitionPage, *m_table)) return false;
  m_row = std::make_unique<CRowView>(m_context.file.GetLayout(), *m_table);
  for (const SCheckedRealIndex& index : m_table->realIndexes)
    m_keys.push_back(std::make_unique<CRowKeys>(m_context, index, m_longValues));
  m_expected.resize(m_keys.size());
  for (const SCheckedColumn& column : m_table->columns)
    if (column.IsCounter()) m_autoNumber = &column;
  m_highestNumber = m_table->autoNumber;
  LoadMaps();
  return true;
}

void CTableCheck::LoadMaps() {
  SCheckedTable& table = *m_table;
  m_usage.Load(table.ownedMap, u"a table", table.ownedPages);
  m_usage.Load(table.freeMap, u"a table's free pages", table.freePages);
  table.freePages.ForEach([&](uint32_t page) {
    if (!table.ownedPages.Contains(page))
      m_context.findings.Error("D5", {page}, u"listed as having room, but not a page of the table");
  });
  for (SCheckedColumn& column : table.columns) {
    if (!column.hasMaps) continue;
    m_usage.Load(column.ownedMap, Say(u"column ", column.name), column.ownedPages);
    CPageSet free;
    if (column.freeMap != 0)
      m_usage.Load(column.freeMap, Say(u"column ", column.name, u"'s free pages"), free);
    free.ForEach([&](uint32_t page) {
      if (!column.ownedPages.Contains(page))
        m_context.findings.Error("D5", {page}, u"listed as having room, but not a page of column ",
                                 column.name);
    });
    m_longValues.CheckPages(column, table.page);
  }
}

void CTableCheck::CheckRows(const RowVisitor& visit) {
  m_table->ownedPages.ForEach([&](uint32_t page) { CheckPage(page, visit); });
  m_context.bodies.ForEach([&](uint32_t page, uint32_t row) {
    if (!m_context.targets.Contains(page, row))
      m_context.findings.Error("R2", {page, row}, u"no row points to this body of a moved row");
  });
  if (m_table->rowCount != m_context.live.GetCount())
    m_context.findings.Doubt("C11", {m_table->page}, u"the definition states ", m_table->rowCount,
                             u" rows, there are ", m_context.live.GetCount());
  if (m_autoNumber != nullptr && m_highestNumber > m_table->autoNumber && !m_context.file.IsJet3())
    m_context.findings.Error("C12", {m_table->page}, u"the last autonumber is ", m_table->autoNumber,
                             u", but there is ", m_highestNumber);
  for (const SCheckedColumn& column : m_table->columns) m_longValues.CheckOrphans(column);
}

void CTableCheck::CheckPage(uint32_t page, const RowVisitor& visit) {
  if (m_context.IsStopped() || !m_context.ledger.Claim(page, EPageRole::Rows, m_table->page) ||
      !m_page.Load(page))
    return;
  const CDataPage data(m_context.file.GetLayout(), m_page.GetBytes());
  if (!data.IsDataPage() || data.GetOwner() != m_table->page) {
    m_context.findings.Error("D2", {page}, u"no page of this table's rows, but its map names it");
    return;
  }
  data.CheckSlots(m_context.findings, page);
  for (uint32_t row = 0; row < data.GetSlotCount(); row++) {
    SSlot slot;
    if (!data.GetSlot(row, slot)) continue;  // reported with the slots
    const SPlace place{page, row};
    std::span<const uint8_t> bytes = slot.bytes;
    if (slot.flags == kSlotHidden) m_context.bodies.Add(page, row);
    if ((slot.flags & kSlotHidden) != 0) continue;
    if (slot.flags == 0 || FollowPointer(slot.bytes, place, bytes)) CheckRow(bytes, place, visit);
  }
}

bool CTableCheck::FollowPointer(std::span<const uint8_t> pointer, SPlace place,
                                std::span<const uint8_t>& body) {
  const uint32_t target = pointer.size() < 4 ? 0 : GetLittle<uint32_t>(pointer, 0);
  if (!m_rows.ReadBody(target, m_table->page, body)) {
    m_context.findings.Error("R2", place, u"the row has moved to page ", PageOfPointer(target), u" row ",
                             RowOfPointer(target), u", which is no such row");
    return false;
  }
  if (m_context.targets.Add(PageOfPointer(target), RowOfPointer(target))) return true;
  m_context.findings.Error("R2", place, u"two rows have moved to the same place");
  return false;
}

void CTableCheck::CheckRow(std::span<const uint8_t> bytes, SPlace place, const RowVisitor& visit) {
  m_context.live.Add(place.page, place.row);
  if (!m_row->Frame(bytes, m_problem)) {
    m_context.findings.Error("R1", place, m_problem);
    return;
  }
  CheckValues(place);
  AddToIndexes(place);
  visit(*m_row, place);
}

void CTableCheck::CheckValues(SPlace place) {
  for (const SCheckedColumn& column : m_table->columns) {
    const bool isLong = column.HoldsLongValues();
    if (!isLong && column.type != kTypeText && &column != m_autoNumber) continue;
    const std::optional<std::span<const uint8_t>> value = m_row->Get(column);
    if (!value) continue;
    if (isLong)
      CheckLongValue(column, *value, place);
    else if (column.type == kTypeText)
      CheckText(column, *value, place);
    else if (value->size() == 4)
      m_highestNumber = std::max(m_highestNumber, static_cast<int32_t>(GetLittle<uint32_t>(*value, 0)));
  }
}

void CTableCheck::CheckLongValue(const SCheckedColumn& column, std::span<const uint8_t> value, SPlace place) {
  const bool isProperties = m_table->page == kObjectsPage && column.number == kObjectsProperties;
  m_longValues.CheckValue(column, value, place, isProperties ? kLongestProperties : 0, m_head);
  if (isProperties && !m_head.empty() && m_head.size() < kLongestProperties)
    CheckProperties(m_context, m_head, place);
}

void CTableCheck::CheckText(const SCheckedColumn& column, std::span<const uint8_t> value, SPlace place) {
  if (column.IsCalculated()) return;
  const bool isCompressed = !m_context.file.IsJet3() && IsTextCompressed(value);
  size_t length = isCompressed ? 2 * (value.size() - 2) : value.size();
  // At most that: of a text that switches, some characters have two bytes.
  if (isCompressed && length > column.length) length = 2 * UnpackText(value).size();
  if (length > column.length)
    m_context.findings.Error("R3", place, u"column ", column.name, u" has ", length,
                             u" bytes of text instead of at most ", column.length);
  else if (!m_context.file.IsJet3() && !isCompressed && value.size() % 2 != 0)
    m_context.findings.Error("R3", place, u"the text of column ", column.name, u" ends within a character");
}

void CTableCheck::AddToIndexes(SPlace place) {
  for (size_t i = 0; i < m_keys.size(); i++) {
    CRowKeys& keys = *m_keys[i];
    const bool isKnown = keys.Make(*m_row, m_key);
    const SCheckedRealIndex& index = m_table->realIndexes[i];
    if (keys.HasNull() && index.Has(kIndexRequired))
      m_context.findings.Error("E12", place, u"a null in the index with root ", index.root,
                               u", which takes none");
    if (keys.IsAllNull() && index.Has(kIndexIgnoreNulls)) continue;
    m_expected[i].entries++;
    if (isKnown) m_expected[i].hashSum += HashEntry(m_key, place.page, place.row);
  }
}

bool CTableCheck::ReadRow(uint32_t page, uint32_t row, const CRowView*& view) {
  std::span<const uint8_t> bytes;
  if (!m_rows.Read(page, row, m_table->page, bytes)) return false;
  view = m_row.get();
  return m_row->Frame(bytes, m_problem);
}

void CTableCheck::CheckIndexes() {
  const RowReader reader = [this](uint32_t page, uint32_t row, const CRowView*& view) {
    return ReadRow(page, row, view);
  };
  for (size_t i = 0; i < m_keys.size(); i++) {
    const uint64_t before = m_context.findings.CountErrors();
    CIndexCheck(m_context, m_usage, *m_table, m_table->realIndexes[i], *m_keys[i])
        .Check(m_expected[i], reader);
    m_table->realIndexes[i].isProven = m_context.findings.CountErrors() == before;
  }
}

}  // namespace tolvane
