#include "writer/FieldValue.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "model/AccessColumn.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

EFieldValue KeepInRange(int64_t least, int64_t greatest, const std::u16string& text, int64_t& number) {
  number = LeadingInteger(text);
  return number < least || number > greatest ? EFieldValue::Dropped : EFieldValue::Number;
}

// In "mm/dd/yyyy ..." these are the second and the first digit of the year.
void FixDateDigits(std::u16string& text) {
  for (const size_t position : {size_t{7}, size_t{6}})
    if (position < text.size() && (text[position] < u'0' || text[position] > u'9')) text[position] = u'0';
}

}  // namespace

EFieldValue ConvertForField(uint8_t columnType, const SRecoveryRules& rules, std::u16string& text,
                            int64_t& number) {
  switch (columnType) {
    case kTypeByte:
      return rules.dropBytesAbove127 ? KeepInRange(-128, 127, text, number)
                                     : KeepInRange(0, 255, text, number);
    case kTypeInteger:
      return KeepInRange(std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max(), text,
                         number);
    case kTypeLong:
      number = std::clamp<int64_t>(LeadingInteger(text), std::numeric_limits<int32_t>::min(),
                                   std::numeric_limits<int32_t>::max());
      return EFieldValue::Number;
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
