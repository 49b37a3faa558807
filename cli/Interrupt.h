// The user's wish to stop, once for the whole process.
#pragma once

namespace tolvane {

// From now on Ctrl+C and the like only ask.
void ListenForInterrupt();
bool IsInterrupted();
// Clears the running flags of the workers once the user has asked; cheap, called again and again.
void PassInterruptOn();

}  // namespace tolvane
