#include "embedded/EmbeddedDatabase.h"

#include <utility>

#include "embedded/EmbeddedRecordset.h"
#include "embedded/EmbeddedTableDef.h"
#include "embedded/ObjectName.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kSelectAll = u"SELECT * FROM [";

}  // namespace

CEmbeddedDatabase::CEmbeddedDatabase(std::shared_ptr<CEmbeddedFile> file) : m_file(std::move(file)) {}

CEmbeddedDatabase::~CEmbeddedDatabase() {
  static_cast<void>(Close());
}

CDaoResult CEmbeddedDatabase::CreateTableDef(std::u16string_view name, int32_t, std::u16string_view source,
                                             std::u16string_view connect,
                                             std::unique_ptr<CDaoTableDef>& tableDef) {
  tableDef.reset();
  if (!m_file->IsOpen()) return {EDaoError::CannotOpenFile, u"The database is closed."};
  if (!source.empty() || !connect.empty())
    return {EDaoError::NotSupported, u"Linked tables cannot be created."};
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"table", name); !result.IsOk()) return result;
  tableDef = std::make_unique<CEmbeddedTableDef>(m_file, name);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedDatabase::OpenRecordset(std::u16string_view sql,
                                            std::unique_ptr<CDaoRecordset>& recordset) {
  recordset.reset();
  if (!sql.starts_with(kSelectAll) || !sql.ends_with(u']'))
    return {EDaoError::NotSupported, u"Only whole tables can be opened: SELECT * FROM [table]."};
  sql.remove_prefix(kSelectAll.size());
  sql.remove_suffix(1);
  std::shared_ptr<CTableStore> table;
  if (CDaoResult result = m_file->OpenTable(sql, table); !result.IsOk()) return result;
  recordset = std::make_unique<CEmbeddedRecordset>(m_file, std::move(table), sql);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedDatabase::CreateQuery(const SSavedQuery& query) {
  if (!m_file->IsOpen()) return {EDaoError::CannotOpenFile, u"The database is closed."};
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"query", query.name); !result.IsOk())
    return result;
  return m_file->AddQuery(query);
}

CDaoResult CEmbeddedDatabase::CreateRelation(const CDaoRelationInfo& relation) {
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"relation", relation.name); !result.IsOk())
    return result;
  return m_file->AddRelation(relation);
}

CDaoResult CEmbeddedDatabase::Close() {
  return m_file->Close();
}

}  // namespace tolvane
