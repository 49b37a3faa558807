// The settings that the user can change, and when they are accepted. They last as long as the program runs.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

struct SSettings {
  // Of file names; the names of temporary files and the name that the save dialog offers do not depend on it.
  std::u16string prefix = u"Rep";
  std::u16string engine = u"embedded";
};

// The message, shown with the information icon, that keeps the settings dialog open; none when the prefix is
// accepted.
std::optional<std::u16string> CheckPrefix(std::u16string_view prefix);

}  // namespace tolvane
