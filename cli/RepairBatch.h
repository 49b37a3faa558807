// Several files repaired by one command. Each is the work of a run of this program of its own: no file can
// cost another one its repair, whatever is in it, and several are repaired at once where that is asked for.
#pragma once

#include <string>

#include "cli/CommandArguments.h"

namespace tolvane {

// Whether the sources are several files, or a folder of them.
bool IsBatch(const SArguments& arguments);
// Repairs them all, prints one line each as they end and a table at the end, and answers the worst status.
EExitStatus RunRepairBatch(const SArguments& arguments);

// Where the repaired database of `source` goes.
std::u16string OutputPathFor(const std::u16string& source, const SArguments& arguments);

}  // namespace tolvane
