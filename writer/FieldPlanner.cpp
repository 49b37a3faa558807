#include "writer/FieldPlanner.h"

#include <algorithm>

#include "render/ObjectProperties.h"
#include "writer/ResultTypes.h"

namespace tolvane {

namespace {

constexpr int32_t kFixed = kDaoUpdatable | kDaoFixedField;        // 0x21
constexpr int32_t kVariable = kDaoUpdatable | kDaoVariableField;  // 0x22

// The standard rules keep binary columns and those of types 13 and 14 as long binary fields, decimal ones as
// doubles.
uint8_t ReducedType(uint8_t type) {
  if (type == kTypeBinary || type == kTypeUnknown13 || type == kTypeUnknown14) return kTypeOle;
  return type == kTypeDecimal ? uint8_t{kTypeDouble} : type;
}

// Flag bytes of a counter and of a replication id that fills itself, as whole bytes.
constexpr uint8_t kCounterFlags = 0x07;
constexpr uint8_t kGuidDefaultFlags = 0x43;
constexpr int32_t kGuidSize = 16;

constexpr uint8_t kDigitsOfBigInt = 19;
constexpr int32_t kDecimalTextSize = 31;       // digits, sign, zero and point
constexpr int32_t kExtendedDateTextSize = 27;  // YYYY-MM-DD HH:MM:SS.fffffff

// In the place of a type that the new database does not have. Texts that are fixed are filled with blanks.
void ReplaceBy(int16_t type, int32_t size, std::u16string_view words, SFieldPlan& plan) {
  plan.info.type = type;
  plan.info.size = size;
  plan.info.attributes = (plan.info.attributes & ~kDaoFixedField) | kDaoVariableField;
  plan.instead = words;
}

}  // namespace

void MakeTextField(CDaoFieldInfo& info) {
  info.type = kDaoText;
  info.size = kTextFieldSize;
  info.attributes = kVariable;
}

SFieldPlan CFieldPlanner::PlanReduced(const CAccessColumn& column) {
  SFieldPlan plan;
  plan.info.name = column.GetName();
  uint8_t type = column.type;
  int32_t size = column.length;
  if (type == kTypeNone && size == 0) {
    type = kTypeText;
    size = kTextFieldSize;
  }
  if (type == kTypeText && size > kTextFieldSize) size = kTextFieldSize;

  if (type > kTypeDecimal) {
    // The text of a complex column is the key of its values; that of any other type is "Default <type>".
    plan.isTypeUnknown = type != kTypeComplex;
    MakeTextField(plan.info);
    return plan;
  }
  if (type == kTypeGuid && column.flags == kGuidDefaultFlags && !m_hasGuidDefault) {
    m_hasGuidDefault = true;
    plan.form = EFieldForm::Described;
    plan.info.type = kDaoGuid;
    plan.info.size = kGuidSize;
    plan.info.attributes = kDaoSystemField;
    plan.info.defaultValue = u"GenGUID()";
    return plan;
  }
  const SColumnType& kept = ColumnTypeOf(ReducedType(type));
  plan.info.type = kept.field;
  plan.info.size = size;
  plan.info.attributes = kept.isFixed ? kFixed : kVariable;
  if (type == kTypeLong && column.flags == kCounterFlags && !m_hasCounter) {
    m_hasCounter = true;
    plan.info.attributes |= kDaoAutoIncrement;
  }
  return plan;
}

// A decimal of a table that Jet 3 is to hold is a text: all its digits stay.
void CFieldPlanner::ChooseDecimal(uint8_t precision, uint8_t scale, SFieldPlan& plan) const {
  if (m_version == kDaoVersionJet3) return ReplaceBy(kDaoText, kDecimalTextSize, u"text", plan);
  plan.info.type = kDaoDecimal;
  plan.info.scale = std::min(scale, kMostDecimalDigits);
  plan.info.precision = std::clamp(precision, std::max<uint8_t>(plan.info.scale, 1), kMostDecimalDigits);
}

void CFieldPlanner::ChooseType(uint8_t type, const CAccessColumn& column, SFieldPlan& plan) const {
  CDaoFieldInfo& info = plan.info;
  info.type = FieldTypeOf(type);
  switch (type) {
    case kTypeBinary:
      info.size = column.length;
      break;
    case kTypeText:
      info.size = std::min<int32_t>(column.length, kTextFieldSize);
      info.isCompressed = (column.extendedFlags & kColumnCompressed) != 0;
      break;
    case kTypeMemo:
      info.isCompressed = (column.extendedFlags & kColumnCompressed) != 0;
      if ((column.flags & kColumnHyperlink) != 0) info.attributes |= kDaoHyperlinkField;
      break;
    case kTypeDecimal:
      ChooseDecimal(static_cast<uint8_t>(column.misc), column.GetScale(), plan);
      break;
    case kTypeBigInt:
      if (m_version == kDaoVersionAce) break;
      ChooseDecimal(kDigitsOfBigInt, 0, plan);
      if (plan.instead.empty()) plan.instead = u"decimal";
      break;
    case kTypeExtendedDate:
      if (m_version != kDaoVersionAce) ReplaceBy(kDaoText, kExtendedDateTextSize, u"text", plan);
      break;
    case kTypeComplex:
      info.type = kDaoLong;  // the key of its values
      plan.instead = u"the number of its values' group";
      break;
    default:
      if (info.type == 0) ReplaceBy(kDaoLongBinary, 0, u"the bytes of its values", plan);
      break;
  }
}

// Only the newest format calculates, and not every type.
bool CFieldPlanner::PlanCalculated(const CAccessColumn& column, SFieldPlan& plan) const {
  const std::u16string expression = TextOf(FindProperty(column.properties, kExpression));
  const uint8_t type = StatedResultType(column);
  if (m_version != kDaoVersionAce || expression.empty() || type == kTypeNone || type == kTypeOle ||
      type == kTypeBinary)
    return false;
  ChooseType(type, column, plan);
  if (type == kTypeText) plan.info.size = kTextFieldSize;
  if (type == kTypeDecimal) ChooseDecimal(kMostDecimalDigits, column.GetScale(), plan);
  plan.info.expression = expression;
  plan.info.statedType = column.type;
  return plan.instead.empty();
}

// The new database holds the results; a text may be as long as a text field can be.
void CFieldPlanner::ChooseResult(const CAccessColumn& column, const SValueKind& result,
                                 SFieldPlan& plan) const {
  const uint8_t type = result.type != kTypeNone ? result.type : column.type;
  plan.info.attributes = kDaoUpdatable;
  plan.info.expression.clear();
  ChooseType(type, column, plan);
  if (type == kTypeText) plan.info.size = kTextFieldSize;
  if (type == kTypeDecimal) ChooseDecimal(kMostDecimalDigits, result.scale, plan);
  plan.instead = u"the results of its calculation";
}

SFieldPlan CFieldPlanner::PlanAsItIs(const CAccessColumn& column, const SValueKind& result) {
  SFieldPlan plan;
  plan.form = EFieldForm::Described;
  plan.info.name = column.GetName();
  plan.info.attributes = kDaoUpdatable | (column.IsFixed() ? kDaoFixedField : kDaoVariableField);
  if (IsCalculated(column.extendedFlags)) {
    if (!PlanCalculated(column, plan)) ChooseResult(column, result, plan);
    return plan;
  }
  ChooseType(column.type, column, plan);
  if (column.IsCounter() && !m_hasCounter) {
    m_hasCounter = true;
    plan.info.attributes |= kDaoAutoIncrement;
    plan.info.lastNumber = static_cast<int32_t>(m_lastNumber);
  } else if (column.IsCounter()) {
    plan.instead = u"a number that does not count on: a table has one that does";
  }
  if (column.type == kTypeGuid && (column.flags & kColumnAutoGuid) != 0) {
    plan.info.attributes |= kDaoSystemField;
    plan.info.defaultValue = u"GenGUID()";
  }
  return plan;
}

}  // namespace tolvane
