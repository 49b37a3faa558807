// File names are UTF-16 here, so a path as bytes is just text.
#include "platform/Text.h"

#include <windows.h>

#include <iterator>

#include "platform/Wide_win.h"

namespace tolvane {

std::string ToNativePath(std::u16string_view path) {
  return ToUtf8(path);
}
std::u16string FromNativePath(std::string_view path) {
  return FromUtf8(path);
}

std::u16string GetDigitSeparator() {
  wchar_t separator[8] = L",";
  GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, separator, static_cast<int>(std::size(separator)));
  return FromWide(separator);
}

}  // namespace tolvane
