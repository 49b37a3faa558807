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
constexpr DWORD kLargestRead = 1 << 20;
DWORD g_writeError = ERROR_SUCCESS;  // of the last write to standard output
// Consoles of older systems refuse more than 64 KiB at once.
constexpr size_t kMaxConsoleUnits = 8192;

HANDLE HandleOf(EStream stream) {
  if (stream == EStream::Input) return GetStdHandle(STD_INPUT_HANDLE);
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
    if (!WriteFile(handle, utf8.data(), static_cast<DWORD>(size), &written, nullptr) || written == 0) {
      if (stream == EStream::Output) g_writeError = GetLastError();
      return false;
    }
    utf8.remove_prefix(written);
  }
  return true;
}

bool IsReaderGone() {
  return g_writeError == ERROR_BROKEN_PIPE || g_writeError == ERROR_NO_DATA;
}

std::optional<size_t> ReadInput(std::span<uint8_t> bytes, bool& isOk) {
  isOk = true;
  DWORD count = 0;
  const auto size = static_cast<DWORD>(std::min<size_t>(bytes.size(), kLargestRead));
  if (ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes.data(), size, &count, nullptr)) return count;
  // The writer of a pipe has gone: the end.
  if (GetLastError() == ERROR_BROKEN_PIPE) return 0;
  isOk = false;
  return std::nullopt;
}

std::u16string GetEnvironment(std::u16string_view name) {
  const std::wstring wide = ToWide(name);
  return AskForText(
      [&wide](wchar_t* buffer, DWORD size) { return GetEnvironmentVariableW(wide.c_str(), buffer, size); });
}

}  // namespace tolvane
