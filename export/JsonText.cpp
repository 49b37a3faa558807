#include "export/JsonText.h"

#include <array>

#include "export/ByteText.h"
#include "platform/Text.h"
#include "render/ExactText.h"

namespace tolvane {

void AppendJsonString(std::u16string_view text, std::string& out) {
  out += '"';
  size_t plainStart = 0;
  const auto isPlain = [](char16_t unit) { return unit >= u' ' && unit != u'"' && unit != u'\\'; };
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (isPlain(unit)) continue;
    AppendUtf8(text.substr(plainStart, i - plainStart), out);
    plainStart = i + 1;
    if (unit == u'"' || unit == u'\\') {
      out += {'\\', static_cast<char>(unit)};
    } else if (unit == u'\n') {
      out += "\\n";
    } else if (unit == u'\r') {
      out += "\\r";
    } else if (unit == u'\t') {
      out += "\\t";
    } else {
      out += "\\u00";
      AppendHex(std::array{static_cast<uint8_t>(unit)}, out);
    }
  }
  AppendUtf8(text.substr(plainStart), out);
  out += '"';
}

bool MakeIsoDate(std::u16string& exactText, char16_t separator) {
  constexpr std::u16string_view kPattern = u"dddd-dd-dd";
  constexpr std::u16string_view kMidnight = u"00:00:00";
  if (exactText.size() < kPattern.size()) return false;
  for (size_t i = 0; i < kPattern.size(); ++i) {
    const bool isDigit = exactText[i] >= u'0' && exactText[i] <= u'9';
    if (kPattern[i] == u'd' ? !isDigit : exactText[i] != kPattern[i]) return false;
  }
  if (exactText.size() == kPattern.size())
    (exactText += separator) += kMidnight;
  else
    exactText[kPattern.size()] = separator;
  return true;
}

bool IsNumberText(std::u16string_view exactText) {
  return exactText.find_first_not_of(u"0123456789+-.e") == std::u16string_view::npos;
}

void AppendJsonValue(const SValue& value, EOleForm form, std::string& out) {
  if (value.isNull) {
    out += "null";
    return;
  }
  const EFamily family = FamilyOf(value.type);
  if (family == EFamily::Boolean) {
    out += value.bytes[0] != 0 ? "true" : "false";
    return;
  }
  if (family == EFamily::Bytes) {
    out += '"';
    AppendDigits(value.bytes, form, out);
    out += '"';
    return;
  }
  std::u16string text;
  MakeExactText(value, text);
  // A date outside the calendar is its number.
  const bool isDay = family == EFamily::Date && MakeIsoDate(text, u'T');
  if ((family == EFamily::Number || (value.type == kTypeDate && !isDay)) && IsNumberText(text))
    AppendUtf8(text, out);
  else
    AppendJsonString(text, out);
}

}  // namespace tolvane
