#include "writer/SafeName.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "format/CompressedText.h"
#include "format/Layout.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr size_t kRoomForNumber = 8;

bool IsRefused(char16_t unit) {
  constexpr std::u16string_view kRefused = u".!`[]\"";
  return unit < u' ' || IsSurrogate(unit) || kRefused.find(unit) != std::u16string_view::npos;
}

bool IsHeld(char16_t unit) {
  std::vector<uint8_t> bytes;
  return EncodeCodePage(kWindowsLatin1, {&unit, 1}, bytes) == 0;
}

std::u16string MakeBase(std::u16string_view wanted, std::u16string_view stem) {
  std::u16string base;
  for (const char16_t unit : wanted) {
    if (base.empty() && (unit == u' ' || unit == kByteOrderMark)) continue;
    base += IsRefused(unit) ? u'_' : unit;
    if (base.size() == kMaxNameLength - kRoomForNumber) break;
  }
  while (!base.empty() && base.back() == u' ') base.pop_back();
  return base.empty() ? std::u16string(stem) : base;
}

}  // namespace

std::u16string Quoted(std::u16string_view name) {
  return u"\"" + std::u16string(name) + u"\"";
}

std::u16string Counted(uint64_t count, std::u16string_view noun, NumberText number) {
  return number(count) + u" " + std::u16string(noun) + (count == 1 ? u"" : u"s");
}

bool IsSafeName(std::u16string_view name) {
  return !name.empty() && name.size() <= kMaxNameLength && name.front() != u' ' &&
         name.front() != kByteOrderMark && name.back() != u' ' && std::ranges::none_of(name, IsRefused);
}

std::u16string NarrowName(std::u16string_view name) {
  std::u16string narrow(name);
  size_t replaced = 0;
  for (char16_t& unit : narrow) {
    if (IsHeld(unit)) continue;
    unit = u'_';
    ++replaced;
  }
  return 2 * replaced > narrow.size() ? std::u16string() : narrow;
}

std::u16string UnfoldName(std::u16string_view name, size_t length, uint32_t codePage) {
  std::vector<uint8_t> bytes;
  for (const char16_t unit : name) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  if (length == 0 || length > bytes.size()) return {};
  bytes.resize(length);
  std::u16string text;
  DecodeCodePage(codePage, bytes, text);
  return std::ranges::none_of(text, IsRefused) ? text : std::u16string();
}

std::u16string CNameSet::Fold(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded)
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  return folded;
}

std::u16string SpelledName(const CAccessColumn& column, const SSourceFacts& source) {
  if (column.storedNameBytes != 0)
    if (auto name = UnfoldName(column.GetName(), column.storedNameBytes, source.codePage); !name.empty())
      return name;
  return std::u16string(column.GetName());
}

std::u16string CNameSet::MakeVariation(std::u16string_view wanted, std::u16string_view stem) {
  const std::u16string base = MakeBase(wanted, stem);
  const auto [entry, isFirst] = m_lastNumber.try_emplace(Fold(base), 0);
  if (isFirst && m_taken.count(Fold(base)) == 0) return base;
  for (;;) {
    std::u16string name = base + u"_" + ToDecimal(++entry->second);
    if (m_taken.count(Fold(name)) == 0) return name;
  }
}

}  // namespace tolvane
