// Comparing texts as a user does who does not care about capitals. No state; any thread.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Small letters for capitals of the Latin, Greek and Cyrillic scripts, unit by unit: the length stays.
std::u16string FoldCase(std::u16string_view text);
// `folded` is what FoldCase made.
bool ContainsFolded(std::u16string_view text, std::u16string_view folded);

}  // namespace tolvane
