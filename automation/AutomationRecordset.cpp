#include "automation/AutomationRecordset.h"

#include <algorithm>
#include <utility>

#include "automation/EngineCalls.h"
#include "automation/ValueConversion.h"
#include "dao/MemorySource.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// As much as there is, up to one piece.
bool ReadChunk(CDaoByteSource& source, std::vector<uint8_t>& chunk) {
  chunk.resize(kChunkBytes);
  size_t filled = 0, count = 0;
  do {
    if (!source.Read(std::span(chunk).subspan(filled), count)) return false;
    filled += count;
  } while (count > 0 && filled < kChunkBytes);
  chunk.resize(filled);
  return true;
}

AutomationValue MakeChunk(int16_t fieldType, std::vector<uint8_t> bytes) {
  if (fieldType == kDaoMemo || fieldType == kDaoText) return MakeText(bytes);
  return bytes;
}

}  // namespace

CAutomationRecordset::CAutomationRecordset(std::shared_ptr<SEngineState> state, AutomationObject database,
                                           AutomationObject recordset, AutomationObject fields,
                                           std::u16string_view table)
    : m_state(std::move(state)),
      m_recordset(std::move(recordset)),
      m_fieldList(std::move(fields)),
      m_name(table),
      m_refused(std::move(database), table) {
  const auto waiting = m_state->waiting.find(table);
  if (waiting == m_state->waiting.end()) return;
  m_calculated = waiting->second.calculated;
  m_counter = waiting->second.counter;
}

CAutomationRecordset::~CAutomationRecordset() {
  static_cast<void>(CAutomationRecordset::Close());
}

CDaoResult CAutomationRecordset::AddNew() {
  CEngineCalls calls(EOperation::Rows);
  calls.Do(m_recordset, u"AddNew");
  m_isAdding = calls.IsOk();
  return calls.GetResult();
}

// The field's object and type, asked for once.
CAutomationRecordset::SField* CAutomationRecordset::Prepare(size_t index, CDaoResult& result) {
  if (!m_recordset) result = {EDaoError::CannotOpenFile, u"The table or its database is closed."};
  if (result.IsOk() && !m_isAdding) result = {EDaoError::NoAddNew, u"No new record has been started."};
  if (!result.IsOk()) return nullptr;
  if (m_fields.size() <= index) m_fields.resize(index + 1);
  SField& field = m_fields[index];
  if (field.object) return &field;
  CEngineCalls calls(EOperation::Value);
  AutomationObject object = calls.GetObject(m_fieldList, u"Item", {static_cast<int32_t>(index)});
  const AutomationValue type = calls.Get(object, u"Type");
  result = calls.GetResult();
  if (!calls.IsOk()) return nullptr;
  field.type = static_cast<int16_t>(NumberOf(type));
  field.object = std::move(object);
  return &field;
}

bool CAutomationRecordset::IsCalculated(size_t index) const {
  return std::ranges::find(m_calculated, index) != m_calculated.end();
}

// The engine would read such a text as the user writes dates and numbers.
void CAutomationRecordset::FixLocale(const SField& field, AutomationValue& value) {
  const auto* const text = std::get_if<std::u16string>(&value);
  const AutomationValue kind = KindReadByLocale(field.type);
  if (text == nullptr || std::holds_alternative<SNoValue>(kind)) return;
  AutomationValue read;
  if (m_state->thread.ReadText(*text, kind, read)) value = std::move(read);
}

CDaoResult CAutomationRecordset::SetFieldValue(size_t index, const SValue& value) {
  if (value.isNull || IsCalculated(index)) return CDaoResult::Ok();
  CDaoResult result;
  SField* const field = Prepare(index, result);
  if (field == nullptr) return result;
  const bool isLong = field->type == kDaoMemo || field->type == kDaoLongBinary;
  if (isLong && value.bytes.size() > kChunkBytes) {
    CMemorySource source(value.bytes);
    return PutChunks(*field, source, {});
  }
  AutomationValue made;
  if (!MakeAutomationValue(value, made))
    return {EDaoError::DataConversion, u"The value has more digits than the installed engine takes."};
  FixLocale(*field, made);
  if (m_counter && m_counter->index == index) {
    const auto* const number = std::get_if<int32_t>(&made);
    const auto* const text = std::get_if<std::u16string>(&made);
    m_number = number != nullptr ? *number : text != nullptr ? LeadingInteger(*text) : 0;
  }
  CEngineCalls calls(EOperation::Value);
  calls.Put(field->object, u"Value", std::move(made));
  return calls.GetResult();
}

CDaoResult CAutomationRecordset::SetFieldValue(size_t index, CDaoByteSource& bytes) {
  if (IsCalculated(index)) return CDaoResult::Ok();
  CDaoResult result;
  SField* const field = Prepare(index, result);
  if (field == nullptr) return result;
  std::vector<uint8_t> first;
  if (!ReadChunk(bytes, first)) return {EDaoError::NotFound, u"The value cannot be read."};
  if (first.size() == kChunkBytes) return PutChunks(*field, bytes, std::move(first));
  CEngineCalls calls(EOperation::Value);
  calls.Put(field->object, u"Value", MakeChunk(field->type, std::move(first)));
  return calls.GetResult();
}

// The first piece replaces what is there, the others are added. Half a value is none.
CDaoResult CAutomationRecordset::PutChunks(const SField& field, CDaoByteSource& bytes,
                                           std::vector<uint8_t> first) {
  CEngineCalls calls(EOperation::Value);
  bool isRead = !first.empty() || ReadChunk(bytes, first);
  while (isRead && calls.IsOk() && !first.empty()) {
    calls.Do(field.object, u"AppendChunk", {MakeChunk(field.type, std::move(first))});
    first = {};
    isRead = ReadChunk(bytes, first);
  }
  if (isRead && calls.IsOk()) return CDaoResult::Ok();
  CEngineCalls undo(EOperation::Value);
  undo.Put(field.object, u"Value", SNullValue{});
  return isRead ? calls.GetResult() : CDaoResult{EDaoError::NotFound, u"The value cannot be read."};
}

// Until then the engine takes no other new record.
void CAutomationRecordset::CancelRow() {
  CEngineCalls calls(EOperation::Update);
  calls.Do(m_recordset, u"CancelUpdate");
}

CDaoResult CAutomationRecordset::Update() {
  if (!m_isAdding) return {EDaoError::NoAddNew, u"No new record has been started."};
  m_isAdding = false;
  CEngineCalls calls(EOperation::Update);
  calls.Do(m_recordset, u"Update");
  const int64_t number = std::exchange(m_number, 0);
  if (calls.IsOk() && m_counter && number > m_counter->highest && number <= INT32_MAX)
    m_counter->highest = static_cast<int32_t>(number);
  if (calls.IsOk()) return CDaoResult::Ok();
  CDaoResult refusal = calls.GetResult();
  if (calls.GetEnd().isGone) return refusal;
  const bool isKept = IsRowRefusal(calls.GetEnd().number) && m_refused.Keep(m_fieldList, refusal.text);
  CancelRow();
  return isKept ? CDaoResult::Ok() : refusal;
}

// Rows are stored one by one: a table that does not close well has them all the same.
CDaoResult CAutomationRecordset::Close() {
  if (!m_recordset) return CDaoResult::Ok();
  if (m_isAdding) CancelRow();
  if (const auto waiting = m_state->waiting.find(m_name); waiting != m_state->waiting.end())
    waiting->second.counter = m_counter;
  std::u16string text = m_refused.Close();
  m_fields.clear();
  m_fieldList.reset();
  CEngineCalls calls(EOperation::Rows);
  calls.Do(m_recordset, u"Close");
  m_recordset.reset();
  if (calls.GetEnd().isGone) return calls.GetResult();
  if (!calls.IsOk()) text += (text.empty() ? u"" : u" ") + calls.GetResult().text;
  return {EDaoError::None, std::move(text)};
}

}  // namespace tolvane
