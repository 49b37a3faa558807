#include "automation/ValueConversion.h"

#include <bit>
#include <string>

#include "format/Bytes.h"

namespace tolvane {

namespace {

constexpr size_t kGuidBytes = 16;
constexpr uint8_t kNegative = 0x80;

// "{00112233-4455-6677-8899-AABBCCDDEEFF}"; the first three groups are numbers.
std::u16string MakeGuidText(std::span<const uint8_t> bytes) {
  constexpr size_t kOrder[kGuidBytes] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  std::u16string text = u"{";
  for (size_t i = 0; i < kGuidBytes; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    text += u"0123456789ABCDEF"[bytes[kOrder[i]] >> 4];
    text += u"0123456789ABCDEF"[bytes[kOrder[i]] & 0xF];
  }
  return text + u"}";
}

bool MakeDecimal(const SValue& value, AutomationValue& made) {
  const std::array<uint32_t, 4> words = DecimalWords(value.bytes);
  if (words[0] != 0 || value.scale > kMostDecimalDigits) return false;
  made = SDecimalValue{(value.bytes[0] & kNegative) != 0, value.scale, {words[1], words[2], words[3]}};
  return true;
}

SDecimalValue MakeDecimal(int64_t whole) {
  const uint64_t magnitude = whole < 0 ? 0 - static_cast<uint64_t>(whole) : static_cast<uint64_t>(whole);
  return {whole < 0, 0, {0, static_cast<uint32_t>(magnitude >> 32), static_cast<uint32_t>(magnitude)}};
}

}  // namespace

AutomationValue MakeText(std::span<const uint8_t> units) {
  std::u16string text;
  CopyUnits(units, text);
  return text;
}

bool MakeAutomationValue(const SValue& value, AutomationValue& made) {
  if (value.isNull) {
    made = SNullValue{};
    return true;
  }
  const std::span<const uint8_t> bytes = value.bytes;
  if (bytes.size() < LengthOfType(value.type)) return false;
  switch (value.type) {
    case kTypeBoolean:
      made = bytes[0] != 0;
      return true;
    case kTypeByte:
      made = bytes[0];
      return true;
    case kTypeInteger:
      made = GetLittle<int16_t>(bytes, 0);
      return true;
    case kTypeLong:
    case kTypeComplex:
      made = GetLittle<int32_t>(bytes, 0);
      return true;
    case kTypeCurrency:
      made = SCurrency{GetLittle<int64_t>(bytes, 0)};
      return true;
    case kTypeSingle:
      made = std::bit_cast<float>(GetLittle<uint32_t>(bytes, 0));
      return true;
    case kTypeDouble:
      made = std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0));
      return true;
    case kTypeDate:
      made = SDateValue{std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0))};
      return true;
    case kTypeText:
    case kTypeMemo:
      made = MakeText(bytes);
      return true;
    case kTypeGuid:
      made = MakeGuidText(bytes);
      return true;
    case kTypeDecimal:
      return MakeDecimal(value, made);
    case kTypeBigInt:
      made = MakeDecimal(GetLittle<int64_t>(bytes, 0));
      return true;
    default:
      made = std::vector<uint8_t>(bytes.begin(), bytes.end());
      return true;
  }
}

bool MakeAutomationValue(const CDaoProperty& property, AutomationValue& made) {
  return MakeAutomationValue(SValue{.type = property.type, .isNull = false, .bytes = property.value}, made);
}

AutomationValue KindReadByLocale(int16_t fieldType) {
  switch (fieldType) {
    case kDaoDate:
      return SDateValue{};
    case kDaoCurrency:
      return SCurrency{};
    case kDaoSingle:
      return float{};
    case kDaoDouble:
      return double{};
    case kDaoDecimal:
      return SDecimalValue{};
    default:
      return SNoValue{};
  }
}

}  // namespace tolvane
