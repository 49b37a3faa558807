// Recovered texts as people may see them. No state; any thread.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Control characters as visible signs, and a replacement for the invisible ones that reorder text.
std::u16string ToVisible(std::u16string_view text);

}  // namespace tolvane
