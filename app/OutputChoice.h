// Where the repaired database goes: asks the user until the answer can be used. Main thread only.
#pragma once

#include <string>

#include "app/FrontEnd.h"

namespace tolvane {

inline constexpr size_t kMaximumPathLength = 245;  // UTF-16 units that the user may give

// What the choice depends on.
struct SOutputOrigin {
  std::u16string corruptedPath;
  std::u16string templatePath;  // empty in standard mode
  bool isAce = false;           // gives a source without an extension one
};

// The dialog with the name that is offered.
SFileQuestion AskForOutputFile(const SOutputOrigin& origin);

// The path of a file that does not exist or may be replaced, with the extension of the source; empty when the
// user gave up or an existing file cannot be written, which has been told then. `lastPath` receives what the
// user chose, before an extension is added.
std::u16string ChooseOutput(CDialogs& dialogs, const SOutputOrigin& origin, std::u16string& lastPath);

}  // namespace tolvane
