#include "export/ByteText.h"

#include <string_view>

#include "platform/Hex.h"

namespace tolvane {

void AppendHex(std::span<const uint8_t> bytes, std::string& out) {
  AppendHex(bytes, kLowerHex, out);
}

void AppendBase64(std::span<const uint8_t> bytes, std::string& out) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = bytes.size() - i < 3 ? bytes.size() - i : 3;
    uint32_t group = static_cast<uint32_t>(bytes[i]) << 16;
    if (count > 1) group |= static_cast<uint32_t>(bytes[i + 1]) << 8;
    if (count > 2) group |= bytes[i + 2];
    out += kDigits[group >> 18];
    out += kDigits[group >> 12 & 63];
    out += count > 1 ? kDigits[group >> 6 & 63] : '=';
    out += count > 2 ? kDigits[group & 63] : '=';
  }
}

void AppendDigits(std::span<const uint8_t> bytes, EOleForm form, std::string& out) {
  if (form == EOleForm::Hex)
    AppendHex(bytes, out);
  else
    AppendBase64(bytes, out);
}

}  // namespace tolvane
