#include <windows.h>
// after windows.h
#include <shellapi.h>

#include <memory>
#include <string_view>

#include "platform/Arguments.h"

namespace tolvane {

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

}  // namespace tolvane
