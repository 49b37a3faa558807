// Standard output and error as a terminal or a pipe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

enum class EStream { Output, Error };

// UTF-8 output, escape sequences and binary pipes on Windows; ignores broken pipes on POSIX. Once, at start-up.
void PrepareTerminal();
bool IsTerminal(EStream stream);
// Columns; 80 when it cannot be told.
unsigned GetTerminalWidth(EStream stream);
// False when the stream is closed or full.
bool WriteStream(EStream stream, std::string_view utf8);

// An environment variable; empty when it is not set.
std::u16string GetEnvironment(std::u16string_view name);

}  // namespace tolvane
