// A table definition while it is being built; Append creates the table.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "embedded/EmbeddedFile.h"

namespace tolvane {

class CEmbeddedTableDef : public CDaoTableDef {
 public:
  CEmbeddedTableDef(std::shared_ptr<CEmbeddedFile> file, std::u16string_view name, int32_t attributes);

  CDaoResult CreateField(std::u16string_view name, int16_t type, int32_t size, int32_t attributes) override;
  CDaoResult CreateField(const CDaoFieldInfo& field) override;
  // Empty until rows are added; what rows then do not allow, it loses.
  CDaoResult CreateIndex(const CDaoIndexInfo& index) override;
  CDaoResult SetProperties(std::span<const CDaoProperty> properties) override;
  CDaoResult SetLink(const STableLink& link) override;
  CDaoResult Append() override;
  void Close() override;

 private:
  [[nodiscard]] CDaoResult CheckOpen() const;
  [[nodiscard]] const SColumnDefinition* FindField(std::u16string_view name) const;
  CDaoResult CheckIndexFields(const CDaoIndexInfo& index) const;
  CDaoResult AddColumn(const CDaoFieldInfo& field);
  CDaoResult CheckAutoNumber(const SColumnDefinition& column) const;
  CDaoResult AddHistories();
  void SortColumns();
  void LayOutIndexes();
  void AddComplexIndexes();
  CDaoResult CollectProperties();
  void AddEngineVersions();

  std::shared_ptr<CEmbeddedFile> m_file;  // null when closed
  SNewTable m_table;
  std::vector<CDaoFieldInfo> m_fields;     // as they were asked for
  std::vector<CDaoProperty> m_properties;  // of the table
  std::set<std::string> m_fieldKeys;
  std::vector<CDaoIndexInfo> m_indexes;
  std::set<std::string> m_indexKeys;
  bool m_isAppended = false;
};

}  // namespace tolvane
