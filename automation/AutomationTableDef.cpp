#include "automation/AutomationTableDef.h"

#include <utility>

#include "automation/EngineCalls.h"
#include "dao/NameRules.h"

namespace tolvane {

namespace {

constexpr int32_t kDescendingField = 1;

// Those that change what a field is. Of fixed and variable an engine takes what suits the type.
int32_t AttributesToLookAt(const CDaoFieldInfo& info) {
  constexpr int32_t kAlways = kDaoAutoIncrement | kDaoHyperlinkField;
  return info.attributes & (info.type == kDaoText ? kAlways | kDaoFixedField : kAlways);
}

}  // namespace

// What an engine finds out itself, whether the index is a relation's and how many values differ, cannot be
// given to it.
CDaoResult MakeIndex(const AutomationObject& tableDef, const CDaoIndexInfo& index) {
  CEngineCalls calls(EOperation::Index);
  const AutomationObject made = calls.Make(tableDef, u"CreateIndex", {Text(index.name)});
  calls.Put(made, u"Primary", index.primary);
  calls.Put(made, u"Unique", index.unique);
  calls.Put(made, u"Clustered", index.clustered);
  calls.Put(made, u"IgnoreNulls", index.ignoreNulls);
  calls.Put(made, u"Required", index.required);
  for (const CDaoIndexFieldInfo& info : index.fields) {
    const AutomationObject field = calls.Make(made, u"CreateField", {Text(info.name)});
    if (info.descending) calls.Put(field, u"Attributes", kDescendingField);
    calls.Append(made, u"Fields", field);
  }
  calls.Append(tableDef, u"Indexes", made);
  return calls.GetResult();
}

CAutomationTableDef::CAutomationTableDef(std::shared_ptr<SEngineState> state, AutomationObject database,
                                         AutomationObject tableDef, std::u16string_view name)
    : m_state(std::move(state)),
      m_database(std::move(database)),
      m_tableDef(std::move(tableDef)),
      m_name(name) {}

CDaoResult CAutomationTableDef::CreateField(std::u16string_view name, int16_t type, int32_t size,
                                            int32_t attributes) {
  if (m_isLink) return CDaoResult::Ok();
  if (CDaoResult result = CheckName(u"field", name); !result.IsOk()) return result;
  CEngineCalls calls(EOperation::Field);
  const AutomationObject field = calls.Make(m_tableDef, u"CreateField", {Text(name), type, size});
  calls.Put(field, u"Attributes", attributes);
  calls.Append(m_tableDef, u"Fields", field);
  if (calls.IsOk()) ++m_fields;
  return calls.GetResult();
}

// Texts may be empty until the rows are there: what the table says of that comes behind them.
CDaoResult CAutomationTableDef::CreateField(const CDaoFieldInfo& info) {
  if (m_isLink) return CDaoResult::Ok();
  if (CDaoResult result = CheckName(u"field", info.name); !result.IsOk()) return result;
  if (info.type >= kDaoAttachment)
    return {EDaoError::NotSupported, u"Fields of many values cannot be made with the installed engine."};
  CEngineCalls calls(EOperation::Field);
  const AutomationObject field =
      calls.Make(m_tableDef, u"CreateField", {Text(info.name), info.type, info.size});
  calls.Put(field, u"Attributes", info.attributes);
  if (info.position) calls.Put(field, u"OrdinalPosition", int32_t{*info.position});
  calls.Put(field, u"Required", info.required);
  if (info.type == kDaoText || info.type == kDaoMemo)
    calls.Put(field, u"AllowZeroLength", info.allowZeroLength || m_state->options.keysLast);
  if (!info.defaultValue.empty()) calls.Put(field, u"DefaultValue", Text(info.defaultValue));
  if (!info.expression.empty()) calls.Put(field, u"Expression", Text(info.expression));
  calls.Append(m_tableDef, u"Fields", field);
  if (!calls.IsOk()) return calls.GetResult();
  if (!info.expression.empty()) m_waiting.calculated.push_back(m_fields);
  if (const int32_t attributes = AttributesToLookAt(info); attributes != 0 && m_state->options.keysLast)
    m_waiting.attributes.emplace_back(info.name, attributes);
  if ((info.attributes & kDaoAutoIncrement) != 0)
    m_waiting.counter = SCounter{info.name, m_fields, info.lastNumber};
  if (!info.properties.empty()) m_waiting.fieldProperties.emplace_back(info.name, info.properties);
  ++m_fields;
  return CDaoResult::Ok();
}

CDaoResult CAutomationTableDef::CreateIndex(const CDaoIndexInfo& index) {
  if (m_isLink) return CDaoResult::Ok();
  if (!m_state->options.keysLast || !(index.primary || index.unique || index.required))
    return MakeIndex(m_tableDef, index);
  m_waiting.indexes.push_back(index);
  return CDaoResult::Ok();
}

CDaoResult CAutomationTableDef::SetProperties(std::span<const CDaoProperty> properties) {
  m_waiting.properties.assign(properties.begin(), properties.end());
  return CDaoResult::Ok();
}

CDaoResult CAutomationTableDef::SetLink(const STableLink& link) {
  CEngineCalls calls(EOperation::Table);
  std::u16string connect = link.isOdbc ? u"ODBC;" + link.connect : link.connect;
  if (!link.isOdbc) connect += u";DATABASE=" + link.database;
  calls.Put(m_tableDef, u"Connect", std::move(connect));
  calls.Put(m_tableDef, u"SourceTableName", Text(link.source));
  m_isLink = calls.IsOk();
  return calls.GetResult();
}

CDaoResult CAutomationTableDef::Append() {
  CEngineCalls calls(EOperation::Table);
  calls.Append(m_database, u"TableDefs", m_tableDef);
  if (calls.IsOk()) m_state->waiting[m_name] = std::move(m_waiting);
  return calls.GetResult();
}

void CAutomationTableDef::Close() {
  m_tableDef.reset();
}

}  // namespace tolvane
