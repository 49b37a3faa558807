#include "embedded/Locale.h"

#include <cstdint>
#include <optional>
#include <string>

#include "format/Layout.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {
namespace {

constexpr size_t kLongestNumber = 8;  // digits
// Language 0x0409, version 1 in the top byte.
constexpr uint32_t kGeneralOrder = 0x01000409;

int DigitOf(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  return unit >= u'A' && unit <= u'F' ? unit - u'A' + 10 : 16;
}

// Decimal, or hexadecimal behind "0x".
std::optional<uint32_t> ParseNumber(std::u16string_view text) {
  const bool isHex = text.starts_with(u"0x") || text.starts_with(u"0X");
  if (isHex) text.remove_prefix(2);
  if (text.empty() || text.size() > kLongestNumber) return std::nullopt;
  uint32_t number = 0;
  for (const char16_t unit : text) {
    const int digit = DigitOf(unit);
    if (digit >= (isHex ? 16 : 10)) return std::nullopt;
    number = number * (isHex ? 16U : 10U) + static_cast<uint32_t>(digit);
  }
  return number;
}

CDaoResult TakePart(const SLayout& layout, std::u16string_view part, STextOrder& order) {
  const size_t equals = part.find(u'=');
  const std::u16string_view key = part.substr(0, equals);
  const auto number = equals == part.npos ? std::nullopt : ParseNumber(part.substr(equals + 1));
  if (!number)
    return {EDaoError::InvalidArgument, u"The locale \"" + std::u16string(part) + u"\" is not understood."};
  if (EqualsIgnoreCase(key, u"LANGID") && *number == kGeneralOrder && layout.hasComplexColumns) {
    order.version = 1;
    return CDaoResult::Ok();
  }
  if (EqualsIgnoreCase(key, u"COUNTRY") ||
      (EqualsIgnoreCase(key, u"LANGID") && *number == kGeneralSortOrder) ||
      (EqualsIgnoreCase(key, u"CP") && *number == kGeneralCodePage))
    return CDaoResult::Ok();
  return {EDaoError::NotSupported,
          u"No database can be created with the locale \"" + std::u16string(part) +
              u"\": only the sort order of language 0x0409 with code page 1252 is known."};
}

}  // namespace

CDaoResult TakeLocale(const SLayout& layout, std::u16string_view locale, STextOrder& order) {
  while (!locale.empty()) {
    const std::u16string_view part = CutPart(locale, u';');
    if (part.empty()) continue;
    if (CDaoResult result = TakePart(layout, part, order); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

}  // namespace tolvane
