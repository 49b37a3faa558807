#include "writer/FieldPlanner.h"

#include <array>

namespace tolvane {

namespace {

constexpr int32_t kFixed = kDaoUpdatable | kDaoFixedField;        // 0x21
constexpr int32_t kVariable = kDaoUpdatable | kDaoVariableField;  // 0x22

struct SFieldKind {
  int16_t type;
  int32_t attributes;
};

// By the file's type code. Binary columns and those of types 13 and 14 become long binary, decimal ones
// double.
constexpr std::array<SFieldKind, 17> kFieldKinds{{
    {0, kFixed},
    {kDaoBoolean, kFixed},
    {kDaoByte, kFixed},
    {kDaoInteger, kFixed},
    {kDaoLong, kFixed},
    {kDaoCurrency, kFixed},
    {kDaoSingle, kFixed},
    {kDaoDouble, kFixed},
    {kDaoDate, kFixed},
    {kDaoLongBinary, kVariable},
    {kDaoText, kVariable},
    {kDaoLongBinary, kVariable},
    {kDaoMemo, kVariable},
    {kDaoLongBinary, kVariable},
    {kDaoLongBinary, kVariable},
    {kDaoGuid, kFixed},
    {kDaoDouble, kFixed},
}};

// Flag bytes of a counter and of a replication id that fills itself, as whole bytes.
constexpr uint8_t kCounterFlags = 0x07;
constexpr uint8_t kGuidDefaultFlags = 0x43;
constexpr int32_t kGuidSize = 16;

}  // namespace

void MakeTextField(CDaoFieldInfo& info) {
  info.type = kDaoText;
  info.size = kTextFieldSize;
  info.attributes = kVariable;
}

SFieldPlan CFieldPlanner::Plan(const CAccessColumn& column) {
  SFieldPlan plan;
  plan.info.name = column.GetName();
  uint8_t type = column.type;
  int32_t size = column.length;
  if (type == kTypeNone && size == 0) {
    type = kTypeText;
    size = kTextFieldSize;
  }
  if (type == kTypeText && size > kTextFieldSize) size = kTextFieldSize;

  if (type >= kFieldKinds.size()) {
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
  plan.info.type = kFieldKinds[type].type;
  plan.info.size = size;
  plan.info.attributes = kFieldKinds[type].attributes;
  if (type == kTypeLong && column.flags == kCounterFlags && !m_hasCounter) {
    m_hasCounter = true;
    plan.info.attributes |= kDaoAutoIncrement;
  }
  return plan;
}

}  // namespace tolvane
