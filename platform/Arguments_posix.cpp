#include "platform/Arguments.h"
#include "platform/Text.h"

namespace tolvane {

std::vector<std::u16string> GetProgramArguments(int argc, const char* const* argv) {
  std::vector<std::u16string> words;
  for (int i = 1; i < argc; i++) words.push_back(FromNativePath(argv[i]));
  return words;
}

}  // namespace tolvane
