// Text inside the program is UTF-16 (std::u16string); this is the one place that converts it.
//
// Names and values from damaged files may hold lone surrogates and zero units. ToUtf8 shows a lone surrogate
// as U+FFFD; nothing here throws or stops at a zero unit. Thread-safe: no state.
#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

// For terminals and for files that we define.
std::string ToUtf8(std::u16string_view text);
void AppendUtf8(std::u16string_view text, std::string& out);

// An invalid byte becomes U+FFFD.
std::u16string FromUtf8(std::string_view text);

// Paths: on POSIX a byte that is not UTF-8 travels as the lone surrogate U+DC00 + byte, so that every file
// name of the system survives the round trip; on Windows plain UTF-8.
std::string ToNativePath(std::u16string_view path);
std::u16string FromNativePath(std::string_view path);

// Each byte becomes one unit.
std::u16string FromAscii(std::string_view text);

void AppendAscii(std::string_view text, std::u16string& out);

// Digits without grouping, whatever the locale.
template <std::integral T>
void AppendDecimal(T value, std::u16string& out) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof(digits), value).ptr;
  AppendAscii({digits, static_cast<size_t>(end - digits)}, out);
}
template <std::integral T>
std::u16string ToDecimal(T value) {
  std::u16string text;
  AppendDecimal(value, text);
  return text;
}

// "1,234", with what stands between the groups in the user's region; a comma where the system does not tell.
std::u16string ToGroupedDecimal(uint64_t value);
std::u16string GetDigitSeparator();

// ASCII letters only; other units must be equal.
bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b);

// The text's leading decimal number as the C library reads it: blanks, a sign, digits; 0 when there is none.
// Values outside the result's range stop at its limit.
int64_t LeadingInteger(std::u16string_view text);

}  // namespace tolvane
