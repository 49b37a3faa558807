// Single characters and units of UTF-8 and UTF-16. No state, no allocation but the output.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}

// What stands in front of the separator, or all that is left; the rest begins behind it.
template <class TUnit>
constexpr std::basic_string_view<TUnit> CutPart(std::basic_string_view<TUnit>& rest, TUnit separator) {
  const std::basic_string_view<TUnit> part = rest.substr(0, rest.find(separator));
  rest.remove_prefix(std::min(part.size() + 1, rest.size()));
  return part;
}

// The character at `pos`, which moves behind it. A lone surrogate is returned as it is. `pos` must be inside.
constexpr char32_t TakeCodePoint(std::u16string_view text, size_t& pos) {
  const char32_t first = text[pos++];
  if (!IsHighSurrogate(first) || pos == text.size() || !IsLowSurrogate(text[pos])) return first;
  const char32_t second = text[pos++];
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

inline void AppendUtf16(char32_t c, std::u16string& out) {
  if (c < 0x10000) {
    out += static_cast<char16_t>(c);
    return;
  }
  out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
  out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
}

inline void AppendUtf8CodePoint(char32_t c, std::string& out) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    tail(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// UTF-16LE, two bytes a unit. `target` has room for them.
inline void PutUnits(std::u16string_view units, uint8_t* target) {
  if constexpr (std::endian::native == std::endian::little) {
    std::copy_n(reinterpret_cast<const uint8_t*>(units.data()), 2 * units.size(), target);
  } else {
    for (const char16_t unit : units) {
      *target++ = static_cast<uint8_t>(unit);
      *target++ = static_cast<uint8_t>(unit >> 8);
    }
  }
}

struct SUtf8Character {
  char32_t codePoint = 0;
  uint8_t length = 0;  // 0: the first byte starts no character
};

// The first character of `text`, which must not be empty. Overlong forms, surrogates and values beyond
// U+10FFFF are no characters.
constexpr SUtf8Character ReadUtf8Character(std::string_view text) {
  const auto lead = static_cast<uint8_t>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const uint8_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0 || text.size() < length) return {};
  char32_t c = lead & (0x7Fu >> length);
  for (uint8_t i = 1; i < length; i++) {
    const auto next = static_cast<uint8_t>(text[i]);
    if ((next & 0xC0) != 0x80) return {};
    c = c << 6 | (next & 0x3F);
  }
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kSmallest[length] || c > 0x10FFFF || IsSurrogate(c)) return {};
  return {c, length};
}

}  // namespace tolvane
