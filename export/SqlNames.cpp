#include "export/SqlNames.h"

#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// In bytes of UTF-8; a longer name is cut by PostgreSQL and refused by MySQL, which counts characters.
constexpr size_t kLongestName = 63;
constexpr std::string_view kReservedPrefix = "sqlite_";

}  // namespace

// As many whole characters as there is room for.
std::string CSqlNames::MakeName(std::u16string_view wanted, size_t room) const {
  std::string name;
  for (size_t i = 0; i < wanted.size();) {
    const size_t start = i;
    const char32_t character = TakeCodePoint(wanted, i);
    std::u16string_view units = wanted.substr(start, i - start);
    const bool isRefused = character < U' ' || (m_dialect == ESqlDialect::MySql && character > 0xFFFF);
    if (isRefused) units = u"_";
    const std::string bytes = ToUtf8(units);
    if (m_dialect != ESqlDialect::Sqlite && name.size() + bytes.size() > room) break;
    name += bytes;
  }
  while (name.ends_with(' ')) name.pop_back();
  if (EqualsIgnoreCase(FromUtf8(name.substr(0, kReservedPrefix.size())), FromAscii(kReservedPrefix)))
    name.insert(0, "_");
  return name;
}

std::string CSqlNames::Add(std::u16string_view wanted, std::string_view stem) {
  std::string name = MakeName(wanted, kLongestName);
  if (name.empty()) name = stem;
  std::string mark;
  for (size_t number = 2; !m_taken.insert(CNameSet::Fold(FromUtf8(name))).second; ++number) {
    mark = "_" + std::to_string(number);
    name = MakeName(wanted, kLongestName - mark.size());
    if (name.empty()) name = stem;
    name += mark;
  }
  return name;
}

}  // namespace tolvane
