// A table of an installed engine while it is being defined.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "automation/AutomationObject.h"
#include "automation/EngineState.h"
#include "dao/dao.h"

namespace tolvane {

class CAutomationTableDef : public CDaoTableDef {
 public:
  CAutomationTableDef(std::shared_ptr<SEngineState> state, AutomationObject database,
                      AutomationObject tableDef, std::u16string_view name);

  CDaoResult CreateField(std::u16string_view name, int16_t type, int32_t size, int32_t attributes) override;
  CDaoResult CreateField(const CDaoFieldInfo& field) override;
  CDaoResult CreateIndex(const CDaoIndexInfo& index) override;
  CDaoResult SetProperties(std::span<const CDaoProperty> properties) override;
  CDaoResult SetLink(const STableLink& link) override;
  CDaoResult Append() override;
  void Close() override;

 private:
  std::shared_ptr<SEngineState> m_state;
  AutomationObject m_database, m_tableDef;
  const std::u16string m_name;
  SWaitingTable m_waiting;
  size_t m_fields = 0;
  bool m_isLink = false;  // the engine knows its fields and indexes
};

// In the definition of a table, stored or not.
CDaoResult MakeIndex(const AutomationObject& tableDef, const CDaoIndexInfo& index);

}  // namespace tolvane
