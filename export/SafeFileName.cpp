#include "export/SafeFileName.h"

#include <algorithm>
#include <array>

#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

// In bytes of UTF-8; file systems allow 255.
constexpr size_t kMaximumBytes = 200;

bool IsRefused(char16_t unit) {
  constexpr std::u16string_view kRefused = u"<>:\"/\\|?*";
  return unit < u' ' || (unit >= 0x7F && unit < 0xA0) || kRefused.find(unit) != std::u16string_view::npos;
}

// CON, COM1 and the like, also with an ending.
bool IsDeviceName(std::u16string_view name) {
  constexpr std::array<std::u16string_view, 4> kDevices{u"con", u"prn", u"aux", u"nul"};
  const std::u16string_view stem = name.substr(0, name.find(u'.'));
  const auto equals = [stem](std::u16string_view device) { return EqualsIgnoreCase(stem, device); };
  if (std::ranges::any_of(kDevices, equals)) return true;
  return stem.size() == 4 && stem[3] >= u'0' && stem[3] <= u'9' &&
         (EqualsIgnoreCase(stem.substr(0, 3), u"com") || EqualsIgnoreCase(stem.substr(0, 3), u"lpt"));
}

std::u16string Fold(std::u16string text) {
  for (char16_t& unit : text)
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  return text;
}

}  // namespace

std::u16string MakeSafeFileName(std::u16string_view name) {
  // Lone surrogates become the replacement character on the way through UTF-8.
  std::u16string safe = FromUtf8(ToUtf8(name));
  for (char16_t& unit : safe)
    if (IsRefused(unit)) unit = u'_';
  while (ToUtf8(safe).size() > kMaximumBytes) {
    safe.resize(safe.size() - (IsLowSurrogate(safe.back()) ? 2 : 1));
  }
  while (!safe.empty() && (safe.back() == u' ' || safe.back() == u'.')) safe.pop_back();
  if (safe.starts_with(u'.')) safe[0] = u'_';
  if (safe.empty() || IsDeviceName(safe)) safe.insert(0, u"_");
  return safe;
}

std::u16string CFileNames::Add(std::u16string_view name) {
  const std::u16string safe = MakeSafeFileName(name);
  if (m_taken.insert(Fold(safe)).second) return safe;
  size_t& number = m_lastNumber.try_emplace(Fold(safe), 1).first->second;
  for (;;) {
    std::u16string numbered = safe + u"-" + ToDecimal(++number);
    if (m_taken.insert(Fold(numbered)).second) return numbered;
  }
}

}  // namespace tolvane
