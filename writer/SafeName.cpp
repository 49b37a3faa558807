#include "writer/SafeName.h"

#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kMaximumName = 64;
constexpr size_t kRoomForNumber = 8;

bool IsRefused(char16_t unit) {
  constexpr std::u16string_view kRefused = u".!`[]\"";
  const bool isSurrogate = unit >= 0xD800 && unit <= 0xDFFF;
  return unit < u' ' || isSurrogate || kRefused.find(unit) != std::u16string_view::npos;
}

std::u16string MakeBase(std::u16string_view wanted, std::u16string_view stem) {
  std::u16string base;
  for (const char16_t unit : wanted) {
    if (base.empty() && unit == u' ') continue;
    base += IsRefused(unit) ? u'_' : unit;
    if (base.size() == kMaximumName - kRoomForNumber) break;
  }
  while (!base.empty() && base.back() == u' ') base.pop_back();
  return base.empty() ? std::u16string(stem) : base;
}

}  // namespace

std::u16string CNameSet::Fold(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded)
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  return folded;
}

std::u16string CNameSet::MakeVariation(std::u16string_view wanted, std::u16string_view stem) {
  const std::u16string base = MakeBase(wanted, stem);
  // The base itself is a variation only where it differs from what was refused.
  const auto [entry, isFirst] = m_lastNumber.try_emplace(Fold(base), 0);
  if (isFirst && base != wanted && m_taken.count(Fold(base)) == 0) return base;
  for (;;) {
    std::u16string name = base + u"_" + ToDecimal(++entry->second);
    if (m_taken.count(Fold(name)) == 0) return name;
  }
}

}  // namespace tolvane
