// The user's wish to stop, once for the whole process.
#pragma once

namespace tolvane {

// From now on Ctrl+C and the like only ask.
void ListenForInterrupt();
bool IsInterrupted();

}  // namespace tolvane
