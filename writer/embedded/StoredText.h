// How a text stands in a row: UTF-16LE, or FF FE and one byte a character where that is shorter and allowed.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tolvane {

enum class ETextForm : uint8_t { Plain, CompressedIfPossible };

// A plain text that began with U+FEFF would read as a compressed one; such marks, which are no text, are left
// out.
std::u16string_view WithoutByteOrderMarks(std::u16string_view text);

// Appends the stored bytes.
void AppendStoredText(std::u16string_view text, ETextForm form, std::vector<uint8_t>& out);

// Appends the plain UTF-16LE bytes of a stored text.
void AppendPlainText(std::span<const uint8_t> stored, std::vector<uint8_t>& out);

}  // namespace tolvane
