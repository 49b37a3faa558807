#include "automation/EngineProperties.h"

#include <utility>

#include "automation/EngineCalls.h"
#include "automation/ValueConversion.h"
#include "format/Bytes.h"
#include "format/PropertyBlob.h"

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

CDaoResult SetQueryProperties(const AutomationObject& query, std::span<const uint8_t> blob) {
  std::vector<SPropertyOwner> owners;
  std::u16string lost, reason;
  if (!blob.empty() && !DecodePropertyBlob(false, blob, owners)) lost = u"those that cannot be read";
  for (const SPropertyOwner& owner : owners) {
    const std::u16string column = UnitsOf(AsBytes(owner.name));
    CEngineCalls calls(EOperation::Query);
    const AutomationObject object =
        owner.kind == kPropertiesOfObject
            ? query
            : calls.GetObject(calls.GetObject(query, u"Fields"), u"Item", {Text(column)});
    for (const SStoredProperty& stored : owner.properties) {
      CDaoProperty property{UnitsOf(AsBytes(stored.name)), stored.type, stored.flags, stored.value};
      const CDaoResult result = calls.IsOk() ? SetProperty(object, property) : calls.GetResult();
      if (result.code == EDaoError::EngineGone) return result;
      if (result.IsOk()) continue;
      lost +=
          (lost.empty() ? u"\"" : u", \"") + column + (column.empty() ? u"" : u".") + property.name + u"\"";
      if (reason.empty()) reason = u": " + result.text;
    }
  }
  return {EDaoError::None, lost.empty() ? lost : u"It has lost properties (" + lost + u")" + reason};
}

}  // namespace tolvane
