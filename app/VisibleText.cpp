#include "app/VisibleText.h"

namespace tolvane {

namespace {

bool IsDirectionMark(char16_t unit) {
  return unit == 0x200E || unit == 0x200F || unit == 0x061C || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

}  // namespace

std::u16string ToVisible(std::u16string_view text) {
  constexpr char16_t kControlPictures = 0x2400;
  constexpr char16_t kDeletePicture = 0x2421;
  constexpr char16_t kReplacement = 0xFFFD;
  std::u16string shown(text);
  for (char16_t& unit : shown) {
    if (unit < 0x20) {
      unit = static_cast<char16_t>(kControlPictures + unit);
    } else if (unit == 0x7F) {
      unit = kDeletePicture;
    } else if ((unit >= 0x80 && unit < 0xA0) || IsDirectionMark(unit)) {
      unit = kReplacement;
    }
  }
  return shown;
}

}  // namespace tolvane
