#include "app/Settings.h"

namespace tolvane {

std::optional<std::u16string> CheckPrefix(std::u16string_view prefix) {
  if (prefix.empty()) return u"Please fill prefix";
  if (prefix.find_first_of(u"/\\|*:?<>'") != std::u16string_view::npos)
    return u"Illegal character found in file pre fix ";
  return std::nullopt;
}

}  // namespace tolvane
