// The manual pages, in the language of man(1), made from the same words as the help.
#pragma once

#include <span>
#include <string>

#include "cli/CommandHelp.h"

namespace tolvane {

// Of one command, or of the program itself, which names the others. `forms`: all commands.
std::string DrawManualPage(const SCommandForm& form, std::span<const SCommandForm> forms);

}  // namespace tolvane
