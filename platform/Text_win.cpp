// File names are UTF-16 here, so a path as bytes is just text.
#include "platform/Text.h"

namespace tolvane {

std::string ToNativePath(std::u16string_view path) {
  return ToUtf8(path);
}
std::u16string FromNativePath(std::string_view path) {
  return FromUtf8(path);
}

}  // namespace tolvane
