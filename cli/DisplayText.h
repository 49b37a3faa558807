// Recovered texts on a terminal: nothing in them may move the cursor, and columns must line up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

// UTF-8 with control characters as visible signs, and without the invisible ones that reorder text.
std::string ToDisplay(std::u16string_view text);
// Terminal columns of a text that ToDisplay made; East Asian characters count two, combining ones none.
size_t DisplayWidth(std::string_view text);
// At most `width` columns, with an ellipsis at the end where something was cut.
std::string Shorten(std::string_view text, size_t width);
// Filled up with blanks to `width` columns.
std::string PadRight(std::string text, size_t width);
std::string PadLeft(std::string text, size_t width);

// "512 bytes", "4.1 MB": decimal units.
std::string FormatSize(uint64_t bytes);
// "1 row", "2 rows"
std::string Counted(uint64_t count, std::string_view noun);

// Breaks a text at blanks into lines of at most `width` columns, where words are not longer; further lines
// begin with `indent` blanks, which the first one has in front of it already. A width of 0 is any.
std::string WrapWords(std::string_view text, size_t indent, size_t width);

}  // namespace tolvane
