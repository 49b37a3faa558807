#include "automation/AutomationDatabase.h"

#include <algorithm>
#include <utility>

#include "automation/AutomationRecordset.h"
#include "automation/AutomationTableDef.h"
#include "automation/EngineCalls.h"
#include "automation/EngineProperties.h"
#include "automation/TableCompletion.h"
#include "dao/NameRules.h"
#include "format/SystemObjects.h"
#include "query/QueryText.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kSelectAll = u"SELECT * FROM [";

// Where a pass-through query is sent to.
std::u16string ConnectionOf(const SSavedQuery& query) {
  for (const SQueryRow& row : query.rows)
    if (row.attribute == kQueryKind && row.flag == kKindPassThrough) return row.name1.value_or(u"");
  return {};
}

}  // namespace

CAutomationDatabase::CAutomationDatabase(std::shared_ptr<SEngineState> state, AutomationObject database)
    : m_state(std::move(state)), m_database(std::move(database)) {}

CAutomationDatabase::~CAutomationDatabase() {
  static_cast<void>(CAutomationDatabase::Close());
}

CDaoResult CAutomationDatabase::CreateTableDef(std::u16string_view name, int32_t attributes,
                                               std::u16string_view source, std::u16string_view connect,
                                               std::unique_ptr<CDaoTableDef>& tableDef) {
  tableDef.reset();
  if (CDaoResult result = CheckName(u"table", name); !result.IsOk()) return result;
  CEngineCalls calls(EOperation::Table);
  AutomationObject made =
      calls.Make(m_database, u"CreateTableDef", {Text(name), attributes, Text(source), Text(connect)});
  if (calls.IsOk())
    tableDef = std::make_unique<CAutomationTableDef>(m_state, m_database, std::move(made), name);
  return calls.GetResult();
}

CDaoResult CAutomationDatabase::OpenRecordset(std::u16string_view sql,
                                              std::unique_ptr<CDaoRecordset>& recordset) {
  recordset.reset();
  if (!sql.starts_with(kSelectAll) || !sql.ends_with(u']'))
    return {EDaoError::NotSupported, u"Only whole tables can be opened: SELECT * FROM [table]."};
  CEngineCalls calls(EOperation::Rows);
  AutomationObject opened = calls.Make(m_database, u"OpenRecordset", {Text(sql)});
  AutomationObject fields = calls.GetObject(opened, u"Fields");
  sql.remove_prefix(kSelectAll.size());
  sql.remove_suffix(1);
  if (calls.IsOk())
    recordset = std::make_unique<CAutomationRecordset>(m_state, m_database, std::move(opened),
                                                       std::move(fields), sql);
  return calls.GetResult();
}

CDaoResult CAutomationDatabase::SetProperties(std::u16string_view document,
                                              std::span<const CDaoProperty> properties) {
  AutomationObject owner = m_database;
  if (document != kMSysDb) {
    CEngineCalls calls(EOperation::Database);
    const AutomationObject container =
        calls.GetObject(calls.GetObject(m_database, u"Containers"), u"Item", {Text(u"Databases")});
    owner = calls.GetObject(calls.GetObject(container, u"Documents"), u"Item", {Text(document)});
    if (!calls.IsOk()) return calls.GetResult();
  }
  CDaoResult first;
  for (const CDaoProperty& property : properties)
    if (CDaoResult result = SetProperty(owner, property); !result.IsOk() && first.IsOk())
      first = {result.code, property.name + u": " + result.text};
  return first;
}

// Without a name at first: one with a name would be stored at once, and not as the statement that it gets.
CDaoResult CAutomationDatabase::CreateQuery(const SSavedQuery& query) {
  if (CDaoResult result = CheckName(u"query", query.name); !result.IsOk()) return result;
  CEngineCalls calls(EOperation::Query);
  const AutomationObject made = calls.Make(m_database, u"CreateQueryDef");
  calls.Put(made, u"Name", Text(query.name));
  if (const std::u16string connect = ConnectionOf(query); !connect.empty())
    calls.Put(made, u"Connect", connect);
  calls.Put(made, u"SQL", query.sql.empty() ? RenderQuery(query).sql : query.sql);
  calls.Append(m_database, u"QueryDefs", made);
  return calls.IsOk() ? SetQueryProperties(made, query.properties) : calls.GetResult();
}

CDaoResult CAutomationDatabase::CompleteTables(std::vector<CDaoTableChange>& changes) {
  const auto waiting = std::exchange(m_state->waiting, {});
  for (const auto& [name, table] : waiting) {
    CDaoTableChange change{.table = name, .text = {}};
    const CDaoResult result =
        CompleteTable(m_database, name, table, m_state->options.limits.isWanted, change);
    if (!change.text.empty()) changes.push_back(std::move(change));
    if (!result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

CDaoResult CAutomationDatabase::CreateRelation(const CDaoRelationInfo& relation) {
  if (CDaoResult result = CheckName(u"relation", relation.name); !result.IsOk()) return result;
  CEngineCalls calls(EOperation::Relation);
  const AutomationObject made = calls.Make(
      m_database, u"CreateRelation",
      {Text(relation.name), Text(relation.table), Text(relation.foreignTable), relation.attributes});
  for (const CDaoRelationFieldInfo& pair : relation.fields) {
    const AutomationObject field = calls.Make(made, u"CreateField", {Text(pair.name)});
    calls.Put(field, u"ForeignName", Text(pair.foreignName));
    calls.Append(made, u"Fields", field);
  }
  calls.Append(m_database, u"Relations", made);
  return calls.GetResult();
}

CDaoResult CAutomationDatabase::Close() {
  if (!m_database) return CDaoResult::Ok();
  CEngineCalls calls(EOperation::Database);
  calls.Do(m_database, u"Close");
  m_database.reset();
  return calls.GetResult();
}

}  // namespace tolvane
