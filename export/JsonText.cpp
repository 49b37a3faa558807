#include "export/JsonText.h"

#include "platform/Text.h"

namespace tolvane {

void AppendJsonString(std::u16string_view text, std::string& out) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
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
      out += {'\\', 'u', '0', '0', kHexDigits[unit >> 4 & 15], kHexDigits[unit & 15]};
    }
  }
  AppendUtf8(text.substr(plainStart), out);
  out += '"';
}

}  // namespace tolvane
