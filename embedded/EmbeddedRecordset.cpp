#include "embedded/EmbeddedRecordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "embedded/StoredText.h"
#include "platform/Process.h"

namespace tolvane {
namespace {

CDaoResult WithField(EDaoError code, const SColumnDefinition& column, std::u16string_view why) {
  std::u16string text = u"The value cannot be stored in field \"" + column.name + u"\": ";
  text.append(why).append(u".");
  return {code, std::move(text)};
}

}  // namespace

CEmbeddedRecordset::CEmbeddedRecordset(std::shared_ptr<CEmbeddedFile> file,
                                       std::shared_ptr<CTableStore> table, std::u16string_view name)
    : m_file(std::move(file)), m_table(std::move(table)), m_name(name) {
  for (const SColumnDefinition& column : m_table->GetDefinition().columns) {
    if (column.type == kTypeLong && (column.flags & kColumnAutoNumber) != 0) m_autoNumber = &column;
    if (column.type == kTypeGuid && (column.flags & kColumnAutoGuid) != 0) m_autoGuids.push_back(&column);
  }
}

CEmbeddedRecordset::~CEmbeddedRecordset() {
  static_cast<void>(Close());
}

CDaoResult CEmbeddedRecordset::AddNew() {
  if (m_table == nullptr || !m_file->IsOpen())
    return {EDaoError::CannotOpenFile, u"The table or its database is closed."};
  m_table->BeginRow();
  m_isAdding = true;
  m_replacedInRow = 0;
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
  const SColumnDefinition& column = m_table->GetDefinition().columns[index];
  switch (column.type) {
    case kTypeText:
    case kTypeMemo:
      if (!IsTextType(value.type)) return WithField(EDaoError::InvalidDataType, column, u"it is no text");
      CopyUnits(value.bytes, m_text);
      return column.type == kTypeText ? SetText(column, m_text) : SetMemo(index, m_text);
    case kTypeOle:
      return m_table->GetLongValues(index)->SetBytes(value.bytes, m_table->GetRow());
    default:
      return SetBytes(column, value);
  }
}

CDaoResult CEmbeddedRecordset::SetFieldValue(size_t index, CDaoByteSource& bytes) {
  if (!CanSetField(index)) return RefuseField();
  const SColumnDefinition& column = m_table->GetDefinition().columns[index];
  if (column.type != kTypeOle)
    return WithField(EDaoError::InvalidDataType, column, u"only a long binary field takes bytes");
  return m_table->GetLongValues(index)->SetBytes(bytes, m_table->GetRow());
}

CDaoResult CEmbeddedRecordset::SetText(const SColumnDefinition& column, std::u16string_view text) {
  const STextLayout& layout = m_table->GetLayout().text;
  const bool mayCompress = (column.extendedFlags & kColumnCompressed) != 0;
  m_storage.clear();
  const size_t replaced = AppendStoredText(
      layout, text, mayCompress ? ETextForm::CompressedIfPossible : ETextForm::Plain, m_storage);
  // A compressed text counts as long as it would be without.
  const size_t length = layout.IsCodePage() ? m_storage.size() : layout.unitSize * text.size();
  if (length > column.length)
    return WithField(EDaoError::FieldTooSmall, column, u"the text is longer than the field");
  m_table->GetRow().Set(column, m_storage);
  m_replacedInRow += replaced;
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedRecordset::SetMemo(size_t index, std::u16string_view text) {
  size_t replaced = 0;
  CDaoResult result = m_table->GetLongValues(index)->SetText(text, m_table->GetRow(), replaced);
  if (result.IsOk()) m_replacedInRow += replaced;
  return result;
}

CDaoResult CEmbeddedRecordset::SetBytes(const SColumnDefinition& column, const SValue& value) {
  if (value.type != column.type || value.bytes.size() != column.length)
    return WithField(EDaoError::DataConversion, column, u"it is no value of the field's type");
  if (column.type == kTypeBoolean) {
    m_table->GetRow().SetBoolean(column, value.bytes[0] != 0);
  } else {
    m_table->GetRow().Set(column, value.bytes);
    if (&column == m_autoNumber) m_autoValue = GetLittle<int32_t>(value.bytes, 0);
  }
  return CDaoResult::Ok();
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

CDaoResult CEmbeddedRecordset::SetDefaults() {
  if (m_autoNumber != nullptr)
    if (CDaoResult result = SetAutoNumber(); !result.IsOk()) return result;
  for (const SColumnDefinition* column : m_autoGuids)
    if (!m_table->GetRow().IsSet(*column)) m_table->GetRow().Set(*column, MakeGuid().bytes);
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
  m_replaced += m_replacedInRow;
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
