// Standard output and error as a terminal or a pipe.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

enum class EStream { Output, Error };

// Switches escape sequences on and line-end translation off where the system needs that, and lets a broken
// pipe or a file that may not grow any more be a failed write instead of the program's end. Once, at
// start-up.
void PrepareTerminal();
bool IsTerminal(EStream stream);
// True for a terminal that obeys escape sequences (colours, cursor movement).
bool AcceptsEscapes(EStream stream);
// Columns; 80 when it cannot be told.
unsigned GetTerminalWidth(EStream stream);
// All of it, at once, unbuffered: callers collect their lines. False when the stream is closed or full.
bool WriteStream(EStream stream, std::string_view utf8);

// An environment variable; empty when it is not set.
std::u16string GetEnvironment(std::u16string_view name);

}  // namespace tolvane
