// Names in SQL text.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// "[name]" unless the name can stand alone: letters, digits and "_", no keyword. Text that has brackets of
// its own stays as it is.
std::u16string BracketedIfNeeded(std::u16string_view name);

}  // namespace tolvane
