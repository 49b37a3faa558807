#include "automation/RefusedRows.h"

#include <utility>

#include "automation/AutomationRecordset.h"
#include "automation/EngineCalls.h"
#include "dao/NameRules.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr int kNames = 12;  // tried before the rows are given up
constexpr std::u16string_view kSuffix = u"_refused";

// "Orders_refused", "Orders_refused2"
std::u16string MakeName(std::u16string_view table, int attempt) {
  std::u16string end(kSuffix);
  if (attempt > 0) AppendDecimal(attempt + 1, end);
  return std::u16string(table.substr(0, kMaxNameLength - end.size())) + end;
}

}  // namespace

CDaoResult CRefusedRows::MakeTable(const AutomationObject& fields, int32_t count) {
  CEngineCalls calls(EOperation::Table);
  const AutomationObject table = calls.Make(m_database, u"CreateTableDef", {m_name});
  for (int32_t i = 0; i < count; ++i) {
    const AutomationObject field = calls.GetObject(fields, u"Item", {i});
    const AutomationValues described{calls.Get(field, u"Name"), calls.Get(field, u"Type"),
                                     calls.Get(field, u"Size")};
    const int32_t type = NumberOf(described[1]);
    const AutomationObject made = calls.Make(table, u"CreateField", described);
    if (type == kDaoText || type == kDaoMemo) calls.Put(made, u"AllowZeroLength", true);
    calls.Append(table, u"Fields", made);
  }
  calls.Append(m_database, u"TableDefs", table);
  return calls.GetResult();
}

bool CRefusedRows::Open(const AutomationObject& fields) {
  if (m_recordset || m_isImpossible) return !m_isImpossible;
  m_isImpossible = true;
  CEngineCalls calls(EOperation::Rows);
  const int32_t count = NumberOf(calls.Get(fields, u"Count"));
  CDaoResult made{EDaoError::TableExists, {}};
  for (int attempt = 0; attempt < kNames && made.code == EDaoError::TableExists && calls.IsOk(); ++attempt) {
    m_name = MakeName(m_table, attempt);
    made = MakeTable(fields, count);
  }
  if (!made.IsOk()) return false;
  m_recordset = calls.Make(m_database, u"OpenRecordset", {u"SELECT * FROM [" + m_name + u"]"});
  const AutomationObject list = calls.GetObject(m_recordset, u"Fields");
  for (int32_t i = 0; i < count; ++i) m_fields.push_back(calls.GetObject(list, u"Item", {i}));
  m_isImpossible = !calls.IsOk();
  return !m_isImpossible;
}

// Long values in pieces, straight from the refused row.
bool CRefusedRows::CopyField(const AutomationObject& from, size_t index) {
  CEngineCalls calls(EOperation::Value);
  const int32_t type = NumberOf(calls.Get(from, u"Type"));
  const bool isLong = type == kDaoMemo || type == kDaoLongBinary;
  if (isLong && NumberOf(calls.Ask(from, u"FieldSize")) > static_cast<int32_t>(kChunkBytes)) {
    const int32_t size = NumberOf(calls.Ask(from, u"FieldSize"));
    const auto step = static_cast<int32_t>(kChunkBytes);
    for (int32_t offset = 0; offset < size && calls.IsOk(); offset += step)
      calls.Do(m_fields[index], u"AppendChunk", {calls.Ask(from, u"GetChunk", {offset, step})});
    return calls.IsOk();
  }
  AutomationValue value = calls.Get(from, u"Value");
  if (!std::holds_alternative<SNullValue>(value) && !std::holds_alternative<SNoValue>(value))
    calls.Put(m_fields[index], u"Value", std::move(value));
  return calls.IsOk();
}

bool CRefusedRows::Keep(const AutomationObject& fields, const std::u16string& reason) {
  if (!Open(fields)) return false;
  CEngineCalls calls(EOperation::Rows);
  calls.Do(m_recordset, u"AddNew");
  bool isWhole = calls.IsOk();
  for (size_t i = 0; isWhole && i < m_fields.size(); ++i) {
    const AutomationObject from = calls.GetObject(fields, u"Item", {static_cast<int32_t>(i)});
    isWhole = calls.IsOk() && CopyField(from, i);
  }
  if (isWhole) calls.Do(m_recordset, u"Update");
  if (isWhole && calls.IsOk()) {
    if (m_count++ == 0) m_reason = reason;
    return true;
  }
  CEngineCalls undo(EOperation::Rows);
  undo.Do(m_recordset, u"CancelUpdate");
  return false;
}

std::u16string CRefusedRows::Close() {
  m_fields.clear();
  if (m_recordset) {
    CEngineCalls calls(EOperation::Rows);
    calls.Do(m_recordset, u"Close");
    m_recordset.reset();
  }
  if (m_count == 0) return {};
  return ToDecimal(m_count) +
         (m_count == 1 ? u" record that the engine refused stands"
                       : u" records that the engine refused stand") +
         u" in table \"" + m_name + u"\": " + m_reason;
}

}  // namespace tolvane
