#include <windows.h>
// after windows.h
#include <shellapi.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/Arguments.h"
#include "platform/Files.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

// The system also compares with names of eight letters and three, so that "*.mdb" finds "a.mdbx".
bool EndsAs(std::wstring_view name, std::wstring_view pattern) {
  const std::wstring_view end = pattern.substr(pattern.find_last_of(L"*?") + 1);
  if (end.empty()) return true;
  return name.size() >= end.size() &&
         CompareStringOrdinal(name.data() + name.size() - end.size(), static_cast<int>(end.size()),
                              end.data(), static_cast<int>(end.size()), TRUE) == CSTR_EQUAL;
}

// Files only; none where the pattern is no path.
std::vector<std::u16string> FindFiles(std::u16string_view pattern) {
  std::vector<std::u16string> paths;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(ToWide(pattern).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return paths;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
        EndsAs(found.cFileName, ToWide(FileNameOf(pattern))))
      paths.push_back(std::u16string(FolderOf(pattern)) + FromWide(found.cFileName));
  } while (FindNextFileW(search, &found));
  FindClose(search);
  std::ranges::sort(paths);
  return paths;
}

}  // namespace

// main's own words went through the active code page, which may not hold them.
std::vector<std::u16string> GetProgramArguments(int, const char* const*) {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
  std::vector<std::u16string> words;
  for (int i = 1; list && i < count; i++) {
    const std::wstring_view word = list.get()[i];
    words.emplace_back(word.begin(), word.end());
  }
  return words;
}

std::vector<std::u16string> ExpandFileNames(std::vector<std::u16string> words) {
  std::vector<std::u16string> expanded;
  for (std::u16string& word : words) {
    const bool isOption = word.starts_with(u'-') || word.starts_with(u'/');
    const bool isPattern = !isOption && FileNameOf(word).find_first_of(u"*?") != std::u16string_view::npos;
    std::vector<std::u16string> files;
    if (isPattern) files = FindFiles(word);
    if (files.empty())
      expanded.push_back(std::move(word));
    else
      std::ranges::move(files, std::back_inserter(expanded));
  }
  return expanded;
}

}  // namespace tolvane
