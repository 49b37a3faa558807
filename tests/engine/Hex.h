// Bytes written as hex digits in tests; blanks are ignored.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

inline std::vector<uint8_t> Hex(std::string_view digits) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::vector<uint8_t> bytes;
  int high = -1;
  for (const char digit : digits) {
    if (digit == ' ') continue;
    const size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) throw std::invalid_argument("not a hex digit");
    if (high < 0) {
      high = static_cast<int>(value);
    } else {
      bytes.push_back(static_cast<uint8_t>(high * 16 + static_cast<int>(value)));
      high = -1;
    }
  }
  if (high >= 0) throw std::invalid_argument("odd number of hex digits");
  return bytes;
}

inline std::string ToHex(std::span<const uint8_t> bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string digits;
  for (const uint8_t byte : bytes) {
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 15];
  }
  return digits;
}

}  // namespace tolvane
