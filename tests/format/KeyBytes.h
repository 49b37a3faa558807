// Byte strings in the tests of index keys: hex text in, hex text out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// Blanks between the digits are ignored.
inline std::vector<uint8_t> FromHex(std::string_view hex) {
  std::vector<uint8_t> bytes;
  std::string digits;
  for (const char c : hex) {
    if (c == ' ') continue;
    digits += c;
    if (digits.size() == 2) {
      bytes.push_back(static_cast<uint8_t>(std::stoi(digits, nullptr, 16)));
      digits.clear();
    }
  }
  return bytes;
}

inline std::string ToHex(const std::vector<uint8_t>& bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string hex;
  for (const uint8_t byte : bytes) {
    if (!hex.empty()) hex += ' ';
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

inline std::vector<uint8_t> Utf16Bytes(std::u16string_view text) {
  std::vector<uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

}  // namespace tolvane
