#include "embedded/RecordBatch.h"

#include <algorithm>

namespace tolvane {

namespace {

bool FollowsFromOthers(const SColumnDefinition& column) {
  return column.IsCalculated() || column.type == kTypeComplex ||
         (column.type == kTypeGuid && (column.flags & kColumnAutoGuid) != 0);
}

}  // namespace

bool CRecordBatch::IsPossible(const STableDefinition& definition) {
  return std::ranges::none_of(definition.columns, FollowsFromOthers);
}

CRecordBatch::CRecordBatch(const SLayout& layout, const STableDefinition& definition,
                           std::span<const size_t> fields)
    : m_definition(definition), m_fields(fields), m_values(layout), m_row(layout, definition) {
  for (const SColumnDefinition& column : definition.columns)
    if (column.IsCounter()) m_autoNumber = &column;
}

void CRecordBatch::Clear() {
  m_rows.clear();
  m_records.clear();
}

void CRecordBatch::AddNew() {
  m_row.Begin();
  m_number = 0;
}

bool CRecordBatch::SetFieldValue(size_t index, const SValue& value) {
  if (index >= m_fields.size()) return false;
  if (value.isNull) return true;
  const SColumnDefinition& column = m_definition.columns[m_fields[index]];
  STextLoss loss;
  bool isSet = false;
  switch (column.type) {
    case kTypeText:
      isSet = IsTextType(value.type) && m_values.SetText(column, value.bytes, m_row, loss).IsOk();
      break;
    case kTypeMemo:
      isSet = IsTextType(value.type) && m_values.SetShortMemo(column, value.bytes, m_row, loss);
      break;
    case kTypeOle:
      break;
    default:
      isSet = m_values.SetBytes(column, value, m_row).IsOk();
      if (isSet && &column == m_autoNumber) m_number = GetLittle<int32_t>(value.bytes, 0);
      break;
  }
  return isSet && loss.replaced == 0 && !loss.mark;
}

bool CRecordBatch::Update() {
  const bool hasNumber = m_autoNumber == nullptr || m_row.IsSet(*m_autoNumber);
  if (!hasNumber || m_row.IsTooLong()) return false;
  const size_t start = m_rows.size();
  m_rows.resize(start + m_row.GetRowSize());
  m_row.Write(std::span(m_rows).subspan(start));
  m_records.push_back({m_rows.size(), m_number});
  return true;
}

}  // namespace tolvane
