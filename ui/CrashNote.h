// What is left when the program fails unexpectedly: a text file that says where, and a message that names the
// file.
#pragma once

#include <string_view>

namespace tolvane {

// From now on an unhandled exception of any thread writes "crash-DATE-TIME.txt" in `folder`, which ends with
// a separator and must outlive the run's own folder, and ends the program.
void InstallCrashNote(std::u16string_view folder);
// One line of context for the note: what the program was doing. Any length; what is too long is cut.
void SetCrashContext(std::u16string_view context);

}  // namespace tolvane
