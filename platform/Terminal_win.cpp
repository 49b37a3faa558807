#include <windows.h>
// After windows.h, whose types these need.
#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <limits>

#include "platform/Terminal.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

constexpr unsigned kUsualWidth = 80;
// Consoles of older systems refuse more than 64 KiB at once.
constexpr size_t kMaxConsoleUnits = 8192;

HANDLE HandleOf(EStream stream) {
  return GetStdHandle(stream == EStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

bool WriteConsoleText(HANDLE console, std::string_view utf8) {
  const std::wstring text = ToWide(FromUtf8(utf8));
  for (size_t done = 0; done < text.size();) {
    size_t count = std::min(text.size() - done, kMaxConsoleUnits);
    // A pair must not be torn.
    if (done + count < text.size() && count > 1 && IsHighSurrogate(text[done + count - 1])) count--;
    DWORD written = 0;
    if (!WriteConsoleW(console, text.data() + done, static_cast<DWORD>(count), &written, nullptr))
      return false;
    if (written == 0) return false;
    done += written;
  }
  return true;
}

}  // namespace

void PrepareTerminal() {
  for (const EStream stream : {EStream::Output, EStream::Error}) {
    DWORD mode = 0;
    const HANDLE handle = HandleOf(stream);
    if (GetConsoleMode(handle, &mode)) SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

bool IsTerminal(EStream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

bool AcceptsEscapes(EStream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) && (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

unsigned GetTerminalWidth(EStream stream) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(HandleOf(stream), &info)) return kUsualWidth;
  const int width = info.srWindow.Right - info.srWindow.Left + 1;
  return width > 0 ? static_cast<unsigned>(width) : kUsualWidth;
}

bool WriteStream(EStream stream, std::string_view utf8) {
  const HANDLE handle = HandleOf(stream);
  if (IsTerminal(stream)) return WriteConsoleText(handle, utf8);
  while (!utf8.empty()) {
    const size_t size = std::min<size_t>(utf8.size(), std::numeric_limits<int32_t>::max());
    DWORD written = 0;
    if (!WriteFile(handle, utf8.data(), static_cast<DWORD>(size), &written, nullptr) || written == 0)
      return false;
    utf8.remove_prefix(written);
  }
  return true;
}

std::u16string GetEnvironment(std::u16string_view name) {
  const std::wstring wide = ToWide(name);
  return AskForText(
      [&wide](wchar_t* buffer, DWORD size) { return GetEnvironmentVariableW(wide.c_str(), buffer, size); });
}

}  // namespace tolvane
