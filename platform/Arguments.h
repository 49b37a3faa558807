// The words of the command line as text, whatever the system's encoding.
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// Without the program's name. `argc` and `argv` are those of main.
std::vector<std::u16string> GetProgramArguments(int argc, const char* const* argv);

// A word with "*" or "?" in its file name becomes the files that fit, sorted, where the shell has not seen to
// that already; it stays where none fits. Words that begin as options do stay.
std::vector<std::u16string> ExpandFileNames(std::vector<std::u16string> words);

}  // namespace tolvane
