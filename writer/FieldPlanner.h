// Decides how a recovered column becomes a field of the new table: type, size and attributes.
#pragma once

#include <cstdint>

#include "dao/dao.h"
#include "model/AccessColumn.h"

namespace tolvane {

// How the field is asked for: by its four plain properties, or by a full description.
enum class EFieldForm : uint8_t { Plain, Described };

struct SFieldPlan {
  CDaoFieldInfo info;
  EFieldForm form = EFieldForm::Plain;
  // The column's type has no counterpart; its values are texts that name the type.
  bool isTypeUnknown = false;
};

// For the columns of one table, in their order: only a table's first counter counts on, and only its first
// replication id fills itself.
class CFieldPlanner {
 public:
  SFieldPlan Plan(const CAccessColumn& column);

 private:
  bool m_hasCounter = false;
  bool m_hasGuidDefault = false;
};

// The field that holds any recovered value as it stands.
inline constexpr int32_t kTextFieldSize = 255;
void MakeTextField(CDaoFieldInfo& info);

}  // namespace tolvane
