#include "writer/FieldValue.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "model/AccessColumn.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// In place: a value costs no allocation.
void SetDecimal(int64_t value, std::u16string& text) {
  text.clear();
  AppendDecimal(value, text);
}

EFieldValue KeepInRange(int64_t least, int64_t greatest, std::u16string& text) {
  const int64_t value = LeadingInteger(text);
  if (value < least || value > greatest) return EFieldValue::Dropped;
  SetDecimal(value, text);
  return EFieldValue::Text;
}

// In "mm/dd/yyyy ..." these are the second and the first digit of the year.
void FixDateDigits(std::u16string& text) {
  for (const size_t position : {size_t{7}, size_t{6}})
    if (position < text.size() && (text[position] < u'0' || text[position] > u'9')) text[position] = u'0';
}

}  // namespace

EFieldValue ConvertForField(uint8_t columnType, const SRecoveryRules& rules, std::u16string& text) {
  switch (columnType) {
    case kTypeByte:
      return rules.dropBytesAbove127 ? KeepInRange(-128, 127, text) : KeepInRange(0, 255, text);
    case kTypeInteger:
      return KeepInRange(std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max(), text);
    case kTypeLong:
      SetDecimal(std::clamp<int64_t>(LeadingInteger(text), std::numeric_limits<int32_t>::min(),
                                     std::numeric_limits<int32_t>::max()),
                 text);
      return EFieldValue::Text;
    case kTypeDate:
      FixDateDigits(text);
      return EFieldValue::Text;
    case kTypeOle:
      return EFieldValue::File;
    default:
      return EFieldValue::Text;
  }
}

}  // namespace tolvane
