// What the shells complete behind "tolvane", made from the same words as the help.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "cli/CommandHelp.h"

namespace tolvane {

// The script for "bash", "zsh" or "fish". `forms`: all commands.
std::string DrawCompletion(std::string_view shell, std::span<const SCommandForm> forms);

}  // namespace tolvane
