#include "render/RecordText.h"

#include "render/ExactText.h"

namespace tolvane {

SValueKind KindOf(const CAccessColumn& column) {
  return {.type = column.type, .scale = column.GetScale(), .isResult = IsCalculated(column.extendedFlags)};
}

CRecordText::CRecordText(const CAccessColumnList& columns, const SRecoveryRules& rules)
    : m_areTexts(rules.recordsHoldTexts) {
  if (m_areTexts) return;
  m_kinds.reserve(columns.GetCount());
  for (const CAccessColumn& column : columns) m_kinds.push_back(KindOf(column));
}

bool CRecordText::Read(CValueStream& stream, uint32_t count, size_t column, std::u16string& text,
                       size_t maximumUnits) {
  if (m_areTexts) return stream.ReadText(count, text, maximumUnits);
  text.clear();
  if (column >= m_kinds.size()) return false;
  const SValueKind& kind = m_kinds[column];
  if (IsTextType(kind.type) && !kind.isResult) return stream.ReadText(count, text, maximumUnits);
  SValue value;
  const bool isThere = stream.ReadRecord(count, m_record);
  if (TakeValue(kind, m_record, value)) MakeExactText(value, text);
  if (text.size() > maximumUnits) text.resize(maximumUnits);
  return isThere;
}

bool CRecordText::ReadPlace(CValueStream& stream, uint32_t count, const std::u16string& objects,
                            SObjectPlace& place) {
  place = {};
  if (m_areTexts) return stream.ReadText(count, place.path) && !place.path.empty();
  place.path = objects;
  SValue value;
  return stream.ReadRecord(count, m_record) && TakeValue({.type = kTypeOle}, m_record, value) &&
         TakeObjectReference(value.bytes, place);
}

CTableTextReader::CTableTextReader(const CAccessTable& table, const SRecoveryRules& rules)
    : m_table(table),
      m_rows(table.columns.GetCount()),
      m_text(table.columns, rules),
      m_places(table.columns.GetCount()) {}

bool CTableTextReader::ReadRow(std::vector<std::u16string>& cells) {
  cells.resize(m_table.columns.GetCount());
  m_nulls.assign(cells.size(), false);
  if (!m_rows.BeginRow()) return false;
  for (size_t i = 0; i < cells.size(); ++i) {
    uint32_t count = 0;
    bool isThere = m_rows.BeginRecord(count);
    m_nulls[i] = m_text.TellsNull() && count == 0;
    if (isThere && m_table.columns.GetAt(i)->type == kTypeOle) {
      isThere = m_text.ReadPlace(m_rows.GetStream(), count, m_table.GetObjectFilePath(), m_places[i]);
      cells[i] = m_places[i].path;
    } else if (isThere) {
      isThere = m_text.Read(m_rows.GetStream(), count, i, cells[i]);
    }
    if (!isThere) cells[i].clear();
  }
  return true;
}

}  // namespace tolvane
