// Bytes and numbers in hexadecimal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tolvane {

inline constexpr std::string_view kUpperHex = "0123456789ABCDEF", kLowerHex = "0123456789abcdef";

// Two digits a byte.
template <class TUnit>
void AppendHex(std::span<const uint8_t> bytes, std::string_view digits, std::basic_string<TUnit>& out) {
  for (const uint8_t byte : bytes) {
    out += static_cast<TUnit>(digits[byte >> 4]);
    out += static_cast<TUnit>(digits[byte & 15]);
  }
}

// In capitals, at least `places` long with `fill` in front.
inline std::u16string ToHex(uint32_t value, size_t places, char16_t fill) {
  std::u16string text;
  for (; value != 0 || text.empty(); value >>= 4)
    text.insert(text.begin(), static_cast<char16_t>(kUpperHex[value & 15]));
  return text.size() < places ? text.insert(0, places - text.size(), fill) : text;
}

}  // namespace tolvane
