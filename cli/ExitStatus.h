// How the program ends, as a number that a script can branch on.
#pragma once

#include <string>

namespace tolvane {

enum class EExitStatus : int {
  Done = 0,        // nothing was lost
  Failed = 2,      // nothing was written
  Incomplete = 3,  // done, but something was lost or is doubtful
  Nothing = 4,     // nothing could be recovered
  WrongUsage = 64,
  Stopped = 130,
};

// Why a command ends early: one line for the user.
struct SFailure {
  EExitStatus status = EExitStatus::Failed;
  std::u16string message;
};

}  // namespace tolvane
