// Bytes written as hex digits in tests; blanks are ignored.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tolvane {

inline std::vector<uint8_t> Hex(std::string digits) {
  std::erase(digits, ' ');
  if (digits.size() % 2 != 0) throw std::invalid_argument("odd number of hex digits");
  std::vector<uint8_t> bytes;
  for (size_t at = 0; at < digits.size(); at += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
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
