// Texts as JSON has them.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// A JSON string with its quotes. A lone surrogate becomes U+FFFD.
void AppendJsonString(std::u16string_view text, std::string& out);

}  // namespace tolvane
