// The words of the command line as text, whatever the system's encoding.
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// Without the program's name. `argc` and `argv` are those of main.
std::vector<std::u16string> GetProgramArguments(int argc, const char* const* argv);

}  // namespace tolvane
