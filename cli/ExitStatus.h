// How the program ends, as a number that a script can branch on.
#pragma once

#include <array>
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

struct SExitStatusWords {
  EExitStatus status;
  const char* name;  // in results for programs
  const char* meaning;
};

inline constexpr std::array<SExitStatusWords, 6> kExitStatuses{{
    {EExitStatus::Done, "done", "done, nothing lost"},
    {EExitStatus::Failed, "failed", "failed, nothing written"},
    {EExitStatus::Incomplete, "incomplete",
     "done, but something was lost or is doubtful; the summary says what"},
    {EExitStatus::Nothing, "nothing", "nothing could be recovered"},
    {EExitStatus::WrongUsage, "usage", "wrong usage"},
    {EExitStatus::Stopped, "stopped", "stopped by the user"},
}};

// Why a command ends early: one line for the user.
struct SFailure {
  EExitStatus status = EExitStatus::Failed;
  std::u16string message;
};

}  // namespace tolvane
