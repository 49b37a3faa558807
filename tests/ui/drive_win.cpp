// drive: works another program's windows by messages alone, as told on standard input; it knows nothing of
// what that program is for. run_stories.py tells it what to do and judges what it answers.
//
// One command a line, one answer a line. Fields are separated by tabs, UTF-8, with \\ \t \n \r inside them.
// An answer begins with "ok" or "error"; windows and processes are decimal numbers.
//
//   start COMMAND-LINE FOLDER      -> process identifier
//   exit-code PROCESS              -> the exit code; nothing while it runs
//   end PROCESS                    ends it at once
//   memory PROCESS                 -> bytes of its working set, and the most they were
//   windows PROCESS                -> of each visible window without a parent: window, class, enabled, text
//   controls WINDOW                -> of each visible window inside it: window, identifier, class, enabled,
//   text item WINDOW IDENTIFIER         -> window state WINDOW                   -> visible, enabled, text
//   area WINDOW                    -> left, top, width, height on the screen
//   post WINDOW MESSAGE W L        returns at once
//   send WINDOW MESSAGE W L        -> the window's answer
//   write WINDOW TEXT              sets its text
//   clipboard                      -> its text
//   hold PATH                      opens a file so that nobody else can; the empty path gives it back
//   fail PROCESS                   makes it jump to where nothing is, in a thread of its own
#include <windows.h>
// After windows.h, whose types it needs.
#include <psapi.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Fields = std::vector<std::string>;

// A program that does not answer within this time hangs.
constexpr UINT kPatience = 60'000;

std::map<DWORD, HANDLE> g_started;

// --- fields ---

Fields Split(std::string_view line) {
  Fields fields(1);
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\t') {
      fields.emplace_back();
    } else if (line[i] == '\\' && i + 1 < line.size()) {
      const char next = line[++i];
      fields.back() += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    } else if (line[i] != '\r') {
      fields.back() += line[i];
    }
  }
  return fields;
}

std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '\t':
        escaped += "\\t";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\\':
        escaped += "\\\\";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::wstring ToWide(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0)),
                    L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string ToUtf8(const std::wstring& text) {
  const int units = static_cast<int>(text.size());
  std::string utf8(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)),
      '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), static_cast<int>(utf8.size()), nullptr,
                      nullptr);
  return utf8;
}

std::string Number(int64_t value) {
  return std::to_string(value);
}

std::string Number(HWND window) {
  return Number(static_cast<int64_t>(reinterpret_cast<INT_PTR>(window)));
}

int64_t ToNumber(const std::string& field) {
  return std::stoll(field);
}

HWND ToWindow(const std::string& field) {
  const HWND window = reinterpret_cast<HWND>(static_cast<INT_PTR>(ToNumber(field)));
  if (!IsWindow(window)) throw std::runtime_error("no such window");
  return window;
}

// --- windows ---

DWORD_PTR Ask(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  DWORD_PTR answer = 0;
  if (!SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kPatience, &answer))
    throw std::runtime_error(IsWindow(window) ? "the window does not answer" : "the window is gone");
  return answer;
}

std::string TextOf(HWND window) {
  std::wstring text(Ask(window, WM_GETTEXTLENGTH, 0, 0) + 1, L'\0');
  text.resize(Ask(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data())));
  return ToUtf8(text);
}

// Of one of many: some other may be closed while they are listed.
std::string TextIfThere(HWND window) {
  try {
    return TextOf(window);
  } catch (const std::runtime_error&) {
    if (IsWindow(window)) throw;
    return {};
  }
}

std::string ClassOf(HWND window) {
  wchar_t name[256]{};
  GetClassNameW(window, name, static_cast<int>(std::size(name)));
  return ToUtf8(name);
}

BOOL CALLBACK Collect(HWND window, LPARAM list) {
  if (IsWindowVisible(window)) reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
  return TRUE;
}

Fields ListWindows(DWORD process) {
  std::vector<HWND> windows;
  EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows));
  Fields fields;
  for (const HWND window : windows) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    if (owner != process) continue;
    fields.insert(fields.end(),
                  {Number(window), ClassOf(window), Number(IsWindowEnabled(window)), TextIfThere(window)});
  }
  return fields;
}

Fields ListControls(HWND parent) {
  std::vector<HWND> windows;
  EnumChildWindows(parent, Collect, reinterpret_cast<LPARAM>(&windows));
  Fields fields;
  for (const HWND window : windows)
    fields.insert(fields.end(), {Number(window), Number(GetDlgCtrlID(window)), ClassOf(window),
                                 Number(IsWindowEnabled(window)), TextIfThere(window)});
  return fields;
}

Fields AreaOf(HWND window) {
  RECT area{};
  GetWindowRect(window, &area);
  return {Number(area.left), Number(area.top), Number(area.right - area.left),
          Number(area.bottom - area.top)};
}

Fields ReadClipboard() {
  if (!OpenClipboard(nullptr)) throw std::runtime_error("the clipboard is in use");
  std::string text;
  if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    text = ToUtf8(static_cast<const wchar_t*>(GlobalLock(data)));
    GlobalUnlock(data);
  }
  CloseClipboard();
  return {text};
}

// --- processes ---

Fields Start(const std::string& commandLine, const std::string& folder) {
  std::wstring line = ToWide(commandLine);
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, ToWide(folder).c_str(),
                      &start, &started))
    throw std::runtime_error("the program does not start, error " + std::to_string(GetLastError()));
  CloseHandle(started.hThread);
  g_started[started.dwProcessId] = started.hProcess;
  return {std::to_string(started.dwProcessId)};
}

HANDLE ProcessOf(const std::string& field) {
  const auto found = g_started.find(static_cast<DWORD>(ToNumber(field)));
  if (found == g_started.end()) throw std::runtime_error("no such process");
  return found->second;
}

Fields ExitCodeOf(HANDLE process) {
  DWORD code = 0;
  if (WaitForSingleObject(process, 0) != WAIT_OBJECT_0 || !GetExitCodeProcess(process, &code)) return {};
  return {std::to_string(code)};
}

Fields MemoryOf(HANDLE process) {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!GetProcessMemoryInfo(process, &counters, sizeof(counters))) throw std::runtime_error("no figures");
  return {std::to_string(counters.WorkingSetSize), std::to_string(counters.PeakWorkingSetSize)};
}

Fields Hold(const std::string& path) {
  static HANDLE held = INVALID_HANDLE_VALUE;
  if (held != INVALID_HANDLE_VALUE) CloseHandle(held);
  held = INVALID_HANDLE_VALUE;
  if (path.empty()) return {};
  held = CreateFileW(ToWide(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (held == INVALID_HANDLE_VALUE) throw std::runtime_error("the file does not open");
  return {};
}

Fields Fail(HANDLE process) {
  // Below the first page that any program has.
  const auto nowhere = reinterpret_cast<LPTHREAD_START_ROUTINE>(static_cast<UINT_PTR>(0x10));
  const HANDLE thread = CreateRemoteThread(process, nullptr, 0, nowhere, nullptr, 0, nullptr);
  if (!thread) throw std::runtime_error("no thread");
  CloseHandle(thread);
  return {};
}

// --- commands ---

struct SCommand {
  size_t fields;  // that follow the name
  std::function<Fields(const Fields&)> run;
};

UINT ToMessage(const std::string& field) {
  return static_cast<UINT>(ToNumber(field));
}

Fields Post(const Fields& in) {
  if (!PostMessageW(ToWindow(in[1]), ToMessage(in[2]), static_cast<WPARAM>(ToNumber(in[3])),
                    static_cast<LPARAM>(ToNumber(in[4]))))
    throw std::runtime_error("the message was not taken");
  return {};
}

Fields Send(const Fields& in) {
  return {
      Number(static_cast<int64_t>(Ask(ToWindow(in[1]), ToMessage(in[2]), static_cast<WPARAM>(ToNumber(in[3])),
                                      static_cast<LPARAM>(ToNumber(in[4])))))};
}

Fields StateOf(HWND window) {
  return {Number(IsWindowVisible(window)), Number(IsWindowEnabled(window)), TextOf(window)};
}

Fields Write(HWND window, const std::string& text) {
  Ask(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(ToWide(text).c_str()));
  return {};
}

Fields EndProcess(HANDLE process) {
  TerminateProcess(process, 1);
  WaitForSingleObject(process, kPatience);
  return {};
}

const std::map<std::string, SCommand, std::less<>>& Commands() {
  static const std::map<std::string, SCommand, std::less<>> commands{
      {"start", {2, [](const Fields& in) { return Start(in[1], in[2]); }}},
      {"exit-code", {1, [](const Fields& in) { return ExitCodeOf(ProcessOf(in[1])); }}},
      {"end", {1, [](const Fields& in) { return EndProcess(ProcessOf(in[1])); }}},
      {"memory", {1, [](const Fields& in) { return MemoryOf(ProcessOf(in[1])); }}},
      {"windows", {1, [](const Fields& in) { return ListWindows(static_cast<DWORD>(ToNumber(in[1]))); }}},
      {"controls", {1, [](const Fields& in) { return ListControls(ToWindow(in[1])); }}},
      {"item",
       {2,
        [](const Fields& in) {
          return Fields{Number(GetDlgItem(ToWindow(in[1]), static_cast<int>(ToNumber(in[2]))))};
        }}},
      {"state", {1, [](const Fields& in) { return StateOf(ToWindow(in[1])); }}},
      {"area", {1, [](const Fields& in) { return AreaOf(ToWindow(in[1])); }}},
      {"post", {4, Post}},
      {"send", {4, Send}},
      {"write", {2, [](const Fields& in) { return Write(ToWindow(in[1]), in[2]); }}},
      {"clipboard", {0, [](const Fields&) { return ReadClipboard(); }}},
      {"hold", {1, [](const Fields& in) { return Hold(in[1]); }}},
      {"fail", {1, [](const Fields& in) { return Fail(ProcessOf(in[1])); }}},
  };
  return commands;
}

Fields Run(const Fields& in) {
  const auto command = Commands().find(in[0]);
  if (command == Commands().end() || command->second.fields + 1 != in.size())
    throw std::runtime_error("no such command, or not its fields");
  return command->second.run(in);
}

std::string Answer(const std::string& line) {
  try {
    std::string answer = "ok";
    for (const std::string& field : Run(Split(line))) answer += "\t" + Escape(field);
    return answer;
  } catch (const std::exception& problem) {
    return std::string("error\t") + Escape(problem.what());
  }
}

}  // namespace

int main() {
  std::string line;
  while (std::getline(std::cin, line)) std::cout << Answer(line) << "\n" << std::flush;
  // Whoever gave the orders is gone.
  for (const auto& [identifier, process] : g_started) TerminateProcess(process, 1);
  return 0;
}
