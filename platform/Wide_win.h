// Between the program's text and the wide strings of system calls. For the *_win.cpp files of platform/.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

std::wstring ToWide(std::u16string_view text);
std::u16string FromWide(std::wstring_view text);

enum class ELongPrefix { WhenNeeded, Always };

// A path for a system call. One that is too long for the usual calls becomes absolute with the prefix that
// lifts their limit. Empty, which names nothing, when a zero unit would cut it.
std::wstring SystemPath(std::u16string_view path, ELongPrefix prefix = ELongPrefix::WhenNeeded);

// Calls `ask(buffer, size)` of the kind that answers the length it has written, or that it needs; empty on
// failure.
template <class F>
std::u16string AskForText(F ask) {
  std::wstring buffer(260, L'\0');
  while (true) {
    const size_t length = ask(buffer.data(), static_cast<unsigned long>(buffer.size()));
    if (length < buffer.size()) return FromWide({buffer.data(), length});
    buffer.resize(length * 2);
  }
}

}  // namespace tolvane
