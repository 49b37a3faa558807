// File names for recovered tables and columns, whose names may hold anything.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tolvane {

// `name` without what some file system refuses: separators, reserved signs and device names, control
// characters, blanks and dots at its end; cut to a length that leaves room for an ending. Never empty.
std::u16string MakeSafeFileName(std::u16string_view name);

// Names in one folder, told apart without regard to case.
class CFileNames {
 public:
  // The safe name with "-2", "-3", ... where it is taken.
  std::u16string Add(std::u16string_view name);

 private:
  std::unordered_set<std::u16string> m_taken;
  std::unordered_map<std::u16string, size_t> m_lastNumber;  // by folded name
};

}  // namespace tolvane
