// How a text stands in a row. Jet 4: UTF-16LE, or FF FE and one byte a character where that is shorter and
// allowed. Jet 3: bytes of the code page, "?" for a character that it does not hold.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/CompressedText.h"
#include "format/Layout.h"

namespace tolvane {

enum class ETextForm : uint8_t {
  Plain,                 // and never anything else: names, fields of fixed length
  PlainIfPossible,       // unless it begins with a byte order mark
  CompressedIfPossible,  // as a whole, or likewise
};

// What of a text the form in which it was stored does not hold.
struct STextLoss {
  size_t replaced = 0;  // characters that became "?"
  bool mark = false;    // the byte order marks that it began with

  void Add(const STextLoss& other) {
    replaced += other.replaced;
    mark = mark || other.mark;
  }
};

// A plain Jet 4 text that began with U+FEFF would read as a compressed one. It is stored as a compressed one
// that switches to two bytes a unit; where that cannot be, by its form or its other characters, the marks are
// left out.
std::u16string_view WithoutByteOrderMarks(std::u16string_view text);
inline bool BeginsWithByteOrderMark(std::u16string_view text) {
  return !text.empty() && text.front() == kByteOrderMark;
}

// Appends the stored bytes.
STextLoss AppendStoredText(const STextLayout& layout, std::u16string_view text, ETextForm form,
                           std::vector<uint8_t>& out);

// Appends the plain bytes of a stored text: what a compressed one would be otherwise.
void AppendPlainText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out);

// Appends the form of a memo outside its row: texts are not compressed there, but for one that cannot be
// plain.
void AppendOuterText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out);

// Names in definitions and in the catalogue are never compressed.
std::u16string DecodePlainText(const STextLayout& layout, std::span<const uint8_t> stored);

inline constexpr std::u16string_view kMarkLeftOut =
    u"The text was stored without the byte order mark that it begins with.";

// "3 characters that the code page 1252 does not hold were replaced in WHERE"; empty when `count` is 0.
std::u16string DescribeReplaced(uint64_t count, std::u16string_view where);

}  // namespace tolvane
