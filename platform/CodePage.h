// Bytes in a Windows code page to UTF-16 and back. Thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

inline constexpr uint32_t kWindowsLatin1 = 1252;

// The system's multibyte code page: on Windows the active one, elsewhere Windows-1252, the code page of
// nearly all files that end up here.
uint32_t SystemCodePage();

// True when texts of this code page can be converted on this machine.
bool IsCodePageKnown(uint32_t codePage);

// Appends the text of `bytes` to `out`. An unknown code page is read as Windows-1252; a byte or pair that the
// page does not define becomes U+FFFD, except that the five undefined bytes of Windows-1252 keep their value.
void DecodeCodePage(uint32_t codePage, std::span<const uint8_t> bytes, std::u16string& out);

// How many of the bytes, from the first on, make whole characters; the rest is the beginning of one that goes
// on behind them.
size_t CountWholeBytes(uint32_t codePage, std::span<const uint8_t> bytes);

// Appends the bytes of `text` to `out`; a character that the page does not hold becomes "?".
// Returns how many characters were replaced.
size_t EncodeCodePage(uint32_t codePage, std::u16string_view text, std::vector<uint8_t>& out);

}  // namespace tolvane
