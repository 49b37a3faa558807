// The rows that an installed engine refuses in their table, for a key or a rule that they break: they go to a
// table of the same fields without keys and rules, which is made with the first of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "automation/AutomationObject.h"
#include "dao/dao.h"

namespace tolvane {

class CRefusedRows {
 public:
  CRefusedRows(AutomationObject database, std::u16string_view table)
      : m_database(std::move(database)), m_table(table) {}

  // `fields`: of the recordset whose new row was refused. False: the row could not be kept.
  bool Keep(const AutomationObject& fields, const std::u16string& reason);
  [[nodiscard]] uint64_t GetCount() const { return m_count; }
  // A sentence where rows were kept; empty otherwise.
  std::u16string Close();

 private:
  bool Open(const AutomationObject& fields);
  CDaoResult MakeTable(const AutomationObject& fields, int32_t count);
  bool CopyField(const AutomationObject& from, size_t index);

  AutomationObject m_database;
  const std::u16string m_table;
  std::u16string m_name;         // of the table of refused rows
  AutomationObject m_recordset;  // null until it is there
  std::vector<AutomationObject> m_fields;
  std::u16string m_reason;  // of the first one
  uint64_t m_count = 0;
  bool m_isImpossible = false;
};

}  // namespace tolvane
