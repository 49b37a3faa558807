#include "automation/EngineProperties.h"

#include <utility>

#include "automation/EngineCalls.h"
#include "automation/ValueConversion.h"

namespace tolvane {

namespace {

constexpr int32_t kPropertyNotFound = 3270, kItemNotFound = 3265;

}  // namespace

CDaoResult SetProperty(const AutomationObject& owner, const CDaoProperty& property) {
  AutomationValue value;
  if (!MakeAutomationValue(property, value))
    return {EDaoError::DataConversion, u"It is no value of its type."};
  CEngineCalls present(EOperation::Database);
  const AutomationObject properties = present.GetObject(owner, u"Properties");
  if (!present.IsOk()) return present.GetResult();
  const AutomationObject found = present.GetObject(properties, u"Item", {Text(property.name)});
  present.Put(found, u"Value", value);
  const int32_t number = present.GetEnd().number;
  if (number != kPropertyNotFound && number != kItemNotFound) return present.GetResult();
  CEngineCalls added(EOperation::Database);
  const AutomationObject made = added.Make(
      owner, u"CreateProperty", {Text(property.name), int32_t{FieldTypeOf(property.type)}, std::move(value)});
  added.Do(properties, u"Append", {made});
  return added.GetResult();
}

}  // namespace tolvane
