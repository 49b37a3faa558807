// One open database of the embedded engine.
#pragma once

#include <memory>
#include <string_view>

#include "dao/dao.h"
#include "embedded/EmbeddedFile.h"

namespace tolvane {

class CEmbeddedDatabase : public CDaoDatabase {
 public:
  explicit CEmbeddedDatabase(std::shared_ptr<CEmbeddedFile> file);
  ~CEmbeddedDatabase() override;

  CDaoResult CreateTableDef(std::u16string_view name, int32_t attributes, std::u16string_view source,
                            std::u16string_view connect, std::unique_ptr<CDaoTableDef>& tableDef) override;
  CDaoResult OpenRecordset(std::u16string_view sql, std::unique_ptr<CDaoRecordset>& recordset) override;
  CDaoResult CreateQuery(const SSavedQuery& query) override;
  CDaoResult OpenComplexRecordset(std::u16string_view table, std::u16string_view field,
                                  std::unique_ptr<CDaoRecordset>& recordset) override;
  CDaoResult SetProperties(std::u16string_view document, std::span<const CDaoProperty> properties) override;
  CDaoResult CreateRelation(const CDaoRelationInfo& relation) override;
  CDaoResult Close() override;

 private:
  std::shared_ptr<CEmbeddedFile> m_file;
};

}  // namespace tolvane
