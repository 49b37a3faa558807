// Standard input, output and error as a terminal or a pipe.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tolvane {

enum class EStream { Input, Output, Error };

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
// The last WriteStream to standard output failed because nobody reads any more (`| head`), which is no fault.
bool IsReaderGone();
// Bytes of standard input, as many as are there, waiting a moment for the first: 0 at the end of the input,
// nothing when none came in that time. False in `isOk`: it cannot be read, see LastSystemError.
std::optional<size_t> ReadInput(std::span<uint8_t> bytes, bool& isOk);

// An environment variable; empty when it is not set.
std::u16string GetEnvironment(std::u16string_view name);

}  // namespace tolvane
