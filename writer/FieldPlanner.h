// Decides how a recovered column becomes a field of the new table: type, size and attributes.
#pragma once

#include <cstdint>
#include <string_view>

#include "dao/dao.h"
#include "model/AccessColumn.h"
#include "model/RecoveryRules.h"
#include "store/ValueRecord.h"

namespace tolvane {

// How the field is asked for: by its four plain properties, or by a full description.
enum class EFieldForm : uint8_t { Plain, Described };

struct SFieldPlan {
  CDaoFieldInfo info;
  EFieldForm form = EFieldForm::Plain;
  // The column's type has no counterpart; its values are texts that name the type.
  bool isTypeUnknown = false;
  // What the new database holds instead of the column's type, for the notes; empty where it is the same.
  std::u16string_view instead = {};
};

// For the columns of one table, in their order: only a table's first counter counts on, and only its first
// replication id fills itself.
class CFieldPlanner {
 public:
  // `version` is an option of CreateDatabase; `lastNumber` the last one that the table's counter gave. Both
  // outlive the planner.
  CFieldPlanner(const SRecoveryRules& rules, int32_t version, uint32_t lastNumber)
      : m_rules(rules), m_version(version), m_lastNumber(lastNumber) {}

  // `result` is the type of a calculated column's results.
  SFieldPlan Plan(const CAccessColumn& column, const SValueKind& result = {}) {
    return m_rules.reduceFields ? PlanReduced(column) : PlanAsItIs(column, result);
  }

 private:
  SFieldPlan PlanReduced(const CAccessColumn& column);
  SFieldPlan PlanAsItIs(const CAccessColumn& column, const SValueKind& result);
  void ChooseType(uint8_t type, const CAccessColumn& column, SFieldPlan& plan) const;
  [[nodiscard]] bool PlanCalculated(const CAccessColumn& column, SFieldPlan& plan) const;
  void ChooseResult(const CAccessColumn& column, const SValueKind& result, SFieldPlan& plan) const;
  void ChooseDecimal(uint8_t precision, uint8_t scale, SFieldPlan& plan) const;

  const SRecoveryRules& m_rules;
  const int32_t m_version;
  const uint32_t m_lastNumber;
  bool m_hasCounter = false;
  bool m_hasGuidDefault = false;
};

// The field that holds any recovered value as it stands.
inline constexpr int32_t kTextFieldSize = 255;
void MakeTextField(CDaoFieldInfo& info);

}  // namespace tolvane
