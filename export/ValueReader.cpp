#include "export/ValueReader.h"

#include "render/RecordText.h"
#include "writer/ResultTypes.h"

namespace tolvane {

CTableValueReader::CTableValueReader(const CAccessTable& table)
    : m_table(table),
      m_rows(table.columns.GetCount()),
      m_records(table.columns.GetCount()),
      m_values(table.columns.GetCount()) {
  const std::vector<SValueKind> results = FindResultTypes(table);
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    m_kinds.push_back(KindOf(*table.columns.GetAt(i)));
    m_types.push_back(results[i].type == kTypeNone ? m_kinds[i].type : results[i].type);
  }
}

bool CTableValueReader::ReadRow() {
  if (!m_rows.BeginRow()) return false;
  for (size_t i = 0; i < m_values.size(); ++i) {
    m_rows.ReadRecord(m_records[i]);
    if (!TakeValue(m_kinds[i], m_records[i], m_values[i])) {
      ++m_lostValues;
      m_values[i].isNull = true;
    }
    if (!m_values[i].isNull) TakeResultAs(m_types[i], m_values[i]);
  }
  return true;
}

bool CTableValueReader::GetPlace(size_t column, SObjectPlace& place) const {
  place = {};
  place.path = m_table.GetObjectFilePath();
  const SValue& value = m_values[column];
  return !value.isNull && TakeObjectReference(value.bytes, place);
}

}  // namespace tolvane
