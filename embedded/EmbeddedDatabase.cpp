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

CDaoResult CEmbeddedDatabase::CreateTableDef(std::u16string_view name, int32_t attributes,
                                             std::u16string_view source, std::u16string_view connect,
                                             std::unique_ptr<CDaoTableDef>& tableDef) {
  tableDef.reset();
  if (!m_file->IsOpen()) return {EDaoError::CannotOpenFile, u"The database is closed."};
  if (!source.empty() || !connect.empty())
    return {EDaoError::NotSupported, u"A linked table is described by SetLink."};
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"table", name); !result.IsOk()) return result;
  tableDef = std::make_unique<CEmbeddedTableDef>(m_file, name, attributes);
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

CDaoResult CEmbeddedDatabase::OpenComplexRecordset(std::u16string_view table, std::u16string_view field,
                                                   std::unique_ptr<CDaoRecordset>& recordset) {
  recordset.reset();
  std::shared_ptr<CTableStore> flat;
  if (CDaoResult result = m_file->OpenFlatTable(table, field, flat); !result.IsOk()) return result;
  recordset = std::make_unique<CEmbeddedRecordset>(
      m_file, std::move(flat), std::u16string(table) + u", values of " + std::u16string(field));
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedDatabase::SetProperties(std::u16string_view document,
                                            std::span<const CDaoProperty> properties) {
  return m_file->SetProperties(document, properties);
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
