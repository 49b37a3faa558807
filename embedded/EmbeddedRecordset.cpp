#include "embedded/EmbeddedRecordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "embedded/StoredText.h"
#include "format/CalculatedValue.h"

namespace tolvane {

CEmbeddedRecordset::CEmbeddedRecordset(std::shared_ptr<CEmbeddedFile> file,
                                       std::shared_ptr<CTableStore> table, std::u16string_view name)
    : m_file(std::move(file)), m_table(std::move(table)), m_name(name), m_fields(m_table->GetLayout()) {
  const std::vector<SColumnDefinition>& columns = m_table->GetDefinition().columns;
  for (size_t i = 0; i < columns.size(); i++) m_positions.push_back(i);
  std::ranges::sort(m_positions, [&](size_t a, size_t b) { return columns[a].number < columns[b].number; });
  for (size_t index = 0; index < columns.size(); index++)
    if (ColumnAt(index).IsCalculated()) m_calculated.push_back(index);
  for (const SColumnDefinition& column : columns) {
    if (column.type == kTypeComplex) m_complexColumns.push_back(&column);
    if (column.IsCounter()) m_autoNumber = &column;
    if (column.type == kTypeGuid && (column.flags & kColumnAutoGuid) != 0) m_autoGuids.push_back(&column);
  }
}

CEmbeddedRecordset::~CEmbeddedRecordset() {
  static_cast<void>(Close());
}

CDaoResult CEmbeddedRecordset::AddNew() {
  if (m_table == nullptr || !m_file->IsOpen()) return RefuseField();
  m_table->BeginRow();
  m_isAdding = true;
  m_replacedInRow = 0;
  m_complexValue = 0;
  return CDaoResult::Ok();
}

// Asked of every value, so without a text.
bool CEmbeddedRecordset::CanSetField(size_t index) const {
  return m_table != nullptr && m_file->IsOpen() && m_isAdding &&
         index < m_table->GetDefinition().columns.size();
}

CDaoResult CEmbeddedRecordset::RefuseField() const {
  if (m_table == nullptr || !m_file->IsOpen())
    return {EDaoError::CannotOpenFile, u"The table or its database is closed."};
  if (!m_isAdding) return {EDaoError::NoAddNew, u"No new record has been started."};
  return {EDaoError::ItemNotFound, u"The table has no field of that number."};
}

CDaoResult CEmbeddedRecordset::SetFieldValue(size_t index, const SValue& value) {
  if (!CanSetField(index)) return RefuseField();
  if (value.isNull) return CDaoResult::Ok();
  const SColumnDefinition& column = ColumnAt(index);
  if (column.IsCalculated()) return SetCalculated(index, value);
  switch (column.type) {
    case kTypeText:
    case kTypeMemo:
      if (!IsTextType(value.type)) return WithField(EDaoError::InvalidDataType, column, u"it is no text");
      if (column.type == kTypeText) return SetText(column, value.bytes);
      CopyUnits(value.bytes, m_text);
      return SetMemo(index, m_text);
    case kTypeOle:
      return LongValuesAt(index).SetBytes(value.bytes, m_table->GetRow());
    default:
      return SetBytes(column, value);
  }
}

// The units of a memo are never held whole, unless they are so few that they may be compressed.
CDaoResult CEmbeddedRecordset::SetFieldValue(size_t index, CDaoByteSource& bytes) {
  if (!CanSetField(index)) return RefuseField();
  const SColumnDefinition& column = ColumnAt(index);
  if (column.type == kTypeOle) return LongValuesAt(index).SetBytes(bytes, m_table->GetRow());
  if (column.type != kTypeMemo)
    return WithField(EDaoError::InvalidDataType, column, u"only a memo or long binary field takes bytes");
  STextLoss loss;
  return Note(LongValuesAt(index).SetText(bytes, m_table->GetRow(), loss), loss);
}

CDaoResult CEmbeddedRecordset::SetText(const SColumnDefinition& column, std::span<const uint8_t> units) {
  STextLoss loss;
  return Note(m_fields.SetText(column, units, m_table->GetRow(), loss), loss);
}

CDaoResult CEmbeddedRecordset::Note(CDaoResult set, const STextLoss& loss) {
  if (!set.IsOk()) return set;
  m_replacedInRow += loss.replaced;
  return {EDaoError::None, loss.mark ? std::u16string(kMarkLeftOut) : std::u16string()};
}

CDaoResult CEmbeddedRecordset::SetMemo(size_t index, std::u16string_view text) {
  STextLoss loss;
  return Note(LongValuesAt(index).SetText(text, m_table->GetRow(), loss), loss);
}

CDaoResult CEmbeddedRecordset::SetBytes(const SColumnDefinition& column, const SValue& value) {
  CDaoResult result = m_fields.SetBytes(column, value, m_table->GetRow());
  if (!result.IsOk()) return result;
  if (&column == m_autoNumber) m_autoValue = GetLittle<int32_t>(value.bytes, 0);
  if (column.type == kTypeComplex)
    m_complexValue = std::max(m_complexValue, GetLittle<int32_t>(value.bytes, 0));
  return result;
}

// The value stands in a wrapper; a memo's wrapper is the long value.
CDaoResult CEmbeddedRecordset::SetCalculated(size_t index, const SValue& value) {
  const SColumnDefinition& column = ColumnAt(index);
  std::vector<uint8_t> result;
  STextLoss loss;
  if (!value.isNull && IsTextType(value.type)) {
    const bool mayCompress = value.type == kTypeText && column.type == kTypeText && !column.HoldsLongValues();
    CopyUnits(value.bytes, m_text);
    loss =
        AppendStoredText(m_table->GetLayout().text, m_text,
                         mayCompress ? ETextForm::CompressedIfPossible : ETextForm::PlainIfPossible, result);
  } else if (!value.isNull) {
    auto stored = StoreResult(value);
    if (!stored)
      return WithField(EDaoError::DataConversion, column, u"it has too many digits for a calculated field");
    result = std::move(*stored);
  }
  m_storage = WrapCalculated(result);
  if (column.HoldsLongValues()) return Note(LongValuesAt(index).SetBytes(m_storage, m_table->GetRow()), loss);
  m_table->GetRow().Set(column, m_storage);
  return Note(CDaoResult::Ok(), loss);
}

CDaoResult CEmbeddedRecordset::SetAutoNumber() {
  if (m_table->GetRow().IsSet(*m_autoNumber)) return CDaoResult::Ok();
  if (m_table->GetAutoNumber() == std::numeric_limits<int32_t>::max())
    return WithField(EDaoError::InvalidArgument, *m_autoNumber, u"the highest number has been given already");
  m_autoValue = m_table->GetAutoNumber() + 1;
  uint8_t bytes[sizeof m_autoValue];
  PutLittle(std::span<uint8_t>(bytes), 0, m_autoValue);
  m_table->GetRow().Set(*m_autoNumber, bytes);
  return CDaoResult::Ok();
}

// All complex columns of a record have one number, and never none.
CDaoResult CEmbeddedRecordset::SetComplexNumbers() {
  if (m_complexColumns.empty()) return CDaoResult::Ok();
  if (m_complexValue == 0) {
    if (m_table->GetComplexNumber() == std::numeric_limits<int32_t>::max())
      return WithField(EDaoError::InvalidArgument, *m_complexColumns.front(),
                       u"the highest number has been given already");
    m_complexValue = m_table->GetComplexNumber() + 1;
  }
  uint8_t bytes[sizeof m_complexValue];
  PutLittle(std::span<uint8_t>(bytes), 0, m_complexValue);
  for (const SColumnDefinition* column : m_complexColumns)
    if (!m_table->GetRow().IsSet(*column)) m_table->GetRow().Set(*column, bytes);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedRecordset::SetDefaults() {
  if (m_autoNumber != nullptr)
    if (CDaoResult result = SetAutoNumber(); !result.IsOk()) return result;
  if (CDaoResult result = SetComplexNumbers(); !result.IsOk()) return result;
  for (const size_t index : m_calculated)
    if (!m_table->GetRow().IsSet(ColumnAt(index)))
      if (CDaoResult result = SetCalculated(index, {}); !result.IsOk()) return result;
  for (const SColumnDefinition* column : m_autoGuids)
    if (!m_table->GetRow().IsSet(*column))
      m_table->GetRow().Set(*column, m_file->GetIdentity().MakeGuid().bytes);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedRecordset::Update() {
  if (!CanSetField(0)) return RefuseField();
  m_isAdding = false;
  CDaoResult result = SetDefaults();
  if (result.IsOk()) result = m_table->StoreRow();
  if (!result.IsOk()) {
    m_table->DiscardRow();
    return result;
  }
  if (m_autoNumber != nullptr) m_table->RaiseAutoNumber(m_autoValue);
  if (!m_complexColumns.empty()) m_table->RaiseComplexNumber(m_complexValue);
  m_replaced += m_replacedInRow;
  return result;
}

std::unique_ptr<CDaoRecordBatch> CEmbeddedRecordset::MakeBatch() {
  if (m_table == nullptr || !CRecordBatch::IsPossible(m_table->GetDefinition())) return nullptr;
  return std::make_unique<CRecordBatch>(m_table->GetLayout(), m_table->GetDefinition(), m_positions);
}

CDaoResult CEmbeddedRecordset::StoreRecord(const CDaoRecordBatch& batch, size_t record) {
  if (m_table == nullptr || !m_file->IsOpen()) return RefuseField();
  const auto& records = static_cast<const CRecordBatch&>(batch);
  m_isAdding = false;
  CDaoResult result = m_table->StoreRow(records.GetRow(record));
  if (result.IsOk() && m_autoNumber != nullptr) m_table->RaiseAutoNumber(records.GetAutoNumber(record));
  return result;
}

CDaoResult CEmbeddedRecordset::Close() {
  if (m_table == nullptr) return CDaoResult::Ok();
  m_isAdding = false;
  CDaoResult result = m_file->CloseTable(m_table);
  m_changedIndexes = m_table->GetIndexChanges().indexes;
  m_table.reset();
  if (result.IsOk() && m_replaced != 0) {
    if (!result.text.empty()) result.text += u' ';
    result.text += DescribeReplaced(m_replaced, u"table " + m_name);
  }
  return result;
}

}  // namespace tolvane
