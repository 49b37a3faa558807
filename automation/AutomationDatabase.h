// One open database of an installed engine.
#pragma once

#include <memory>
#include <string_view>

#include "automation/AutomationObject.h"
#include "automation/EngineState.h"
#include "dao/dao.h"

namespace tolvane {

class CAutomationDatabase : public CDaoDatabase {
 public:
  CAutomationDatabase(std::shared_ptr<SEngineState> state, AutomationObject database);
  ~CAutomationDatabase() override;
  CAutomationDatabase(const CAutomationDatabase&) = delete;
  CAutomationDatabase& operator=(const CAutomationDatabase&) = delete;

  CDaoResult CreateTableDef(std::u16string_view name, int32_t attributes, std::u16string_view source,
                            std::u16string_view connect, std::unique_ptr<CDaoTableDef>& tableDef) override;
  CDaoResult OpenRecordset(std::u16string_view sql, std::unique_ptr<CDaoRecordset>& recordset) override;
  CDaoResult SetProperties(std::u16string_view document, std::span<const CDaoProperty> properties) override;
  CDaoResult CreateQuery(const SSavedQuery& query) override;
  CDaoResult CompleteTables(std::vector<CDaoTableChange>& changes) override;
  CDaoResult CreateRelation(const CDaoRelationInfo& relation) override;
  CDaoResult Close() override;

 private:
  std::shared_ptr<SEngineState> m_state;
  AutomationObject m_database;  // null once closed
};

}  // namespace tolvane
