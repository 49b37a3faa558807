// How a text stands in a row. Jet 4: UTF-16LE, or FF FE and one byte a character where that is shorter and
// allowed. Jet 3: bytes of the code page, "?" for a character that it does not hold.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

enum class ETextForm : uint8_t { Plain, CompressedIfPossible };

// A plain Jet 4 text that began with U+FEFF would read as a compressed one; such marks, which are no text,
// are left out everywhere.
std::u16string_view WithoutByteOrderMarks(std::u16string_view text);

// Appends the stored bytes; answers how many characters were replaced.
size_t AppendStoredText(const STextLayout& layout, std::u16string_view text, ETextForm form,
                        std::vector<uint8_t>& out);

// Appends the plain bytes of a stored text: what a compressed one would be otherwise.
void AppendPlainText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out);

// Names in definitions and in the catalogue are never compressed.
std::u16string DecodePlainText(const STextLayout& layout, std::span<const uint8_t> stored);

// "3 characters that the code page 1252 does not hold were replaced in WHERE"; empty when `count` is 0.
std::u16string DescribeReplaced(uint64_t count, std::u16string_view where);

}  // namespace tolvane
