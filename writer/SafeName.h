// Names for tables and fields whose own name the database engine refuses or has already.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "model/AccessData.h"
#include "platform/Text.h"

namespace tolvane {

// Refusals of one name before what bears it is given up.
inline constexpr int kNameAttempts = 12;

// True when a name keeps the rules that all formats share: 1 to 64 units, no control character or half of a
// pair, none of . ! ` [ ] " and no leading or final blank.
bool IsSafeName(std::u16string_view name);

// As messages show it.
std::u16string Quoted(std::u16string_view name);
// How numbers are written in texts.
using NumberText = std::u16string (*)(uint64_t);
// "1 row", "2 rows"
std::u16string Counted(uint64_t count, std::u16string_view noun, NumberText number = ToDecimal<uint64_t>);

// What a format without Unicode holds of a name, "_" for the rest; empty when more than half would be "_".
std::u16string NarrowName(std::u16string_view name);

// Column names of Jet 3 files are recovered with two of their bytes in each unit, and with bytes of other
// names behind them. The name that the first `length` bytes spell in the file's code page; empty when they
// spell none.
std::u16string UnfoldName(std::u16string_view name, size_t length, uint32_t codePage);

// The column's name for people: one that is recovered as bytes is spelt in the source's code page.
std::u16string SpelledName(const CAccessColumn& column, const SSourceFacts& source);

// The names that are taken in one namespace, told apart as the engine does: without regard to case.
class CNameSet {
 public:
  void Take(std::u16string_view name) { m_taken.insert(Fold(name)); }
  // A safe name near `wanted` that is not taken; "_1", "_2", ... where it is. `stem` stands in for an empty
  // name. Each call for the same name answers another one.
  std::u16string MakeVariation(std::u16string_view wanted, std::u16string_view stem);
  // Names with equal folded forms are the same name.
  static std::u16string Fold(std::u16string_view name);

 private:
  std::unordered_set<std::u16string> m_taken;
  std::unordered_map<std::u16string, size_t> m_lastNumber;  // by folded base name
};

}  // namespace tolvane
