// Names for tables and fields whose own name the database engine refuses or has already.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tolvane {

// The names that are taken in one namespace, told apart as the engine does: without regard to case.
class CNameSet {
 public:
  void Take(std::u16string_view name) { m_taken.insert(Fold(name)); }
  // A name near `wanted` that keeps the format's rules and is not taken: at most 64 units, no control
  // character, none of . ! ` [ ] and no leading blank; "_1", "_2", ... where that is taken. `stem` stands in
  // for an empty name. Each call for the same name answers another one.
  std::u16string MakeVariation(std::u16string_view wanted, std::u16string_view stem);

 private:
  static std::u16string Fold(std::u16string_view name);

  std::unordered_set<std::u16string> m_taken;
  std::unordered_map<std::u16string, size_t> m_lastNumber;  // by folded base name
};

}  // namespace tolvane
