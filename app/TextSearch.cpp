#include "app/TextSearch.h"

#include <algorithm>

namespace tolvane {

namespace {

constexpr bool IsIn(char16_t unit, char16_t first, char16_t last) {
  return unit >= first && unit <= last;
}

// Blocks in which a capital is followed by its small letter: the capitals are even in the first ones and odd
// in the others.
constexpr bool IsEvenCapital(char16_t unit) {
  return unit % 2 == 0 &&
         (IsIn(unit, 0x100, 0x137) || IsIn(unit, 0x14A, 0x177) || IsIn(unit, 0x460, 0x481) ||
          IsIn(unit, 0x48A, 0x4BF) || IsIn(unit, 0x4D0, 0x52F) || IsIn(unit, 0x1E00, 0x1EFF));
}
constexpr bool IsOddCapital(char16_t unit) {
  return unit % 2 == 1 && (IsIn(unit, 0x139, 0x148) || IsIn(unit, 0x179, 0x17E) || IsIn(unit, 0x4C1, 0x4CE));
}

constexpr char16_t Fold(char16_t unit) {
  if (unit < 0x80) return IsIn(unit, u'A', u'Z') ? static_cast<char16_t>(unit + 0x20) : unit;
  if (IsIn(unit, 0xC0, 0xDE) && unit != 0xD7) return static_cast<char16_t>(unit + 0x20);
  if (unit == 0x178) return 0xFF;
  if (unit == 0x386) return 0x3AC;
  if (IsIn(unit, 0x388, 0x38A)) return static_cast<char16_t>(unit + 0x25);
  if (unit == 0x38C) return 0x3CC;
  if (IsIn(unit, 0x38E, 0x38F)) return static_cast<char16_t>(unit + 0x3F);
  if (IsIn(unit, 0x391, 0x3AB) && unit != 0x3A2) return static_cast<char16_t>(unit + 0x20);
  if (unit == 0x3C2) return 0x3C3;  // the sigma at the end of a word
  if (IsIn(unit, 0x400, 0x40F)) return static_cast<char16_t>(unit + 0x50);
  if (IsIn(unit, 0x410, 0x42F)) return static_cast<char16_t>(unit + 0x20);
  if (IsEvenCapital(unit) || IsOddCapital(unit)) return static_cast<char16_t>(unit + 1);
  return unit;
}

}  // namespace

std::u16string FoldCase(std::u16string_view text) {
  std::u16string folded(text);
  std::ranges::transform(folded, folded.begin(), Fold);
  return folded;
}

bool ContainsFolded(std::u16string_view text, std::u16string_view folded) {
  if (folded.empty()) return true;
  if (text.size() < folded.size()) return false;
  const char16_t first = folded.front();
  // Only this one, too, becomes a unit of ASCII; most texts end here.
  const bool isPlain = first < 0x80;
  const char16_t capital = IsIn(first, u'a', u'z') ? static_cast<char16_t>(first - 0x20) : first;
  const size_t last = text.size() - folded.size();
  for (size_t at = 0; at <= last; ++at) {
    const char16_t unit = text[at];
    if (isPlain ? unit != first && unit != capital : Fold(unit) != first) continue;
    size_t same = 1;
    while (same < folded.size() && Fold(text[at + same]) == folded[same]) ++same;
    if (same == folded.size()) return true;
  }
  return false;
}

}  // namespace tolvane
