// Values of fields and properties in the form in which an installed engine takes them.
#pragma once

#include <cstdint>
#include <span>

#include "automation/AutomationObject.h"
#include "dao/dao.h"
#include "format/Value.h"

namespace tolvane {

// Numbers, dates and amounts as what they are; GUIDs as texts in braces; whole numbers of eight bytes as
// decimals, which every engine knows. False: it has more digits than a decimal.
bool MakeAutomationValue(const SValue& value, AutomationValue& made);
AutomationValue MakeText(std::span<const uint8_t> units);
// Of a property; false where the bytes are no value of its type.
bool MakeAutomationValue(const CDaoProperty& property, AutomationValue& made);
// A text that a field of the type takes would be read by the locale: a value of the kind that it means. Empty
// for fields whose texts read the same everywhere.
AutomationValue KindReadByLocale(int16_t fieldType);

}  // namespace tolvane
