// The program: parses its words, runs one command, answers the exit status.
#pragma once

#include <string>
#include <vector>

namespace tolvane {

int RunTolvane(const std::vector<std::u16string>& words);

}  // namespace tolvane
