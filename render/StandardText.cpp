#include "render/StandardText.h"

#include <bit>

#include "format/Bytes.h"
#include "platform/Text.h"
#include "render/DataConversion.h"
#include "render/ExactText.h"
#include "render/NumberText.h"

namespace tolvane {

namespace {

// A result is printed with all its digits; of a stored decimal the rules may believe only the last words.
void AppendDecimalText(const SValue& value, const SRecoveryRules& rules, std::u16string& text) {
  const std::array<uint32_t, 4> words = DecimalWords(value.bytes);
  if (!rules.decimalLowWordsOnly || value.isResult) {
    AppendWideDecimal(value.bytes[0] != 0, words, value.scale, text);
    return;
  }
  AppendSignedDigits(static_cast<int64_t>(uint64_t{words[2]} << 32 | words[3]), text);
  if (value.scale != 0 && value.scale <= text.size()) text.insert(text.size() - value.scale, 1, u'.');
}

}  // namespace

bool MakeStandardText(const SValue& value, const SRecoveryRules& rules, std::u16string& text) {
  text.clear();
  if (value.isNull) return true;
  const std::span<const uint8_t> bytes = value.bytes;
  switch (value.type) {
    case kTypeSingle:
      AppendDouble(double{std::bit_cast<float>(GetLittle<uint32_t>(bytes, 0))}, rules.floatDecimals, text);
      return true;
    case kTypeDouble:
      AppendDouble(std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0)), rules.floatDecimals, text);
      return true;
    case kTypeDate:
      return CDataConversion::DateToText(
          bytes.first<CDataConversion::kDateBytes>(),
          rules.midnightKeepsBlank ? EMidnightBlank::Keep : EMidnightBlank::Drop, text);
    case kTypeBinary:
      CDataConversion::BytesToText(bytes, text);
      return true;
    case kTypeOle:
      CopyUnits(bytes, text);
      return true;
    case kTypeUnknown13:
      text = u"Unknown";
      return true;
    case kTypeBoolean:
    case kTypeByte:
    case kTypeInteger:
    case kTypeLong:
    case kTypeComplex:
    case kTypeCurrency:
    case kTypeText:
    case kTypeMemo:
    case kTypeGuid:
      MakeExactText(value, text);
      return true;
    case kTypeDecimal:
      AppendDecimalText(value, rules, text);
      return true;
    default:
      text = u"Default ";
      AppendDecimal(value.type, text);
      return true;
  }
}

}  // namespace tolvane
