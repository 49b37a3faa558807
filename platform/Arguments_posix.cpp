#include "platform/Arguments.h"
#include "platform/Text.h"

namespace tolvane {

std::vector<std::u16string> GetProgramArguments(int argc, const char* const* argv) {
  std::vector<std::u16string> words;
  for (int i = 1; i < argc; i++) words.push_back(FromNativePath(argv[i]));
  return words;
}

// Shells do so.
std::vector<std::u16string> ExpandFileNames(std::vector<std::u16string> words) {
  return words;
}

}  // namespace tolvane
