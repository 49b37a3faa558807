#include <windows.h>

#include <string>

#include "platform/ChildProcess.h"
#include "platform/Handle_win.h"
#include "platform/Wide_win.h"

namespace tolvane {

struct CChildProcess::SProcess {
  CHandle handle;
  std::optional<int> status;
};

namespace {

// Of programs that the system has ended; those of this project are small.
constexpr DWORD kLargestStatus = 255;

// As the C runtime takes a command line apart: backslashes count only in front of a quotation mark.
void AppendQuoted(const std::wstring& word, std::wstring& line) {
  if (!line.empty()) line += L' ';
  line += L'"';
  size_t backslashes = 0;
  for (const wchar_t c : word) {
    // Those in front of a mark are doubled, and one more makes the mark a plain one.
    if (c == L'"') line.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    line += c;
  }
  line.append(backslashes, L'\\');
  line += L'"';
}

// A file that the new process inherits; null on failure.
CHandle OpenInherited(const std::wstring& path, DWORD access, DWORD creation) {
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE file = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                  creation, FILE_ATTRIBUTE_NORMAL, nullptr);
  return CHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

}  // namespace

std::u16string GetProgramPath() {
  return AskForText([](wchar_t* buffer, DWORD size) { return GetModuleFileNameW(nullptr, buffer, size); });
}

CChildProcess::CChildProcess() = default;
CChildProcess::CChildProcess(CChildProcess&&) noexcept = default;
CChildProcess& CChildProcess::operator=(CChildProcess&&) noexcept = default;

CChildProcess::~CChildProcess() {
  if (m_process && !Poll()) TerminateProcess(m_process->handle.get(), 1);
}

bool CChildProcess::Start(const std::u16string& program, const std::vector<std::u16string>& words,
                          const std::u16string& outputFile, const std::u16string& errorFile) {
  std::wstring line;
  AppendQuoted(ToWide(program), line);
  for (const std::u16string& word : words) AppendQuoted(ToWide(word), line);
  const CHandle input = OpenInherited(L"NUL", GENERIC_READ, OPEN_EXISTING);
  const CHandle output = OpenInherited(SystemPath(outputFile), GENERIC_WRITE, CREATE_ALWAYS);
  const CHandle error = OpenInherited(SystemPath(errorFile), GENERIC_WRITE, CREATE_ALWAYS);
  if (!input || !output || !error) return false;
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input.get();
  start.hStdOutput = output.get();
  start.hStdError = error.get();
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(ToWide(program).c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &start, &started))
    return false;
  CloseHandle(started.hThread);
  m_process = std::make_unique<SProcess>();
  m_process->handle.reset(started.hProcess);
  return true;
}

std::optional<int> CChildProcess::Poll() {
  if (!m_process || m_process->status) return m_process ? m_process->status : std::nullopt;
  if (WaitForSingleObject(m_process->handle.get(), 0) == WAIT_TIMEOUT) return std::nullopt;
  DWORD status = 0;
  const bool isKnown = GetExitCodeProcess(m_process->handle.get(), &status) && status <= kLargestStatus;
  m_process->status = isKnown ? static_cast<int>(status) : kCrashed;
  return m_process->status;
}

void CChildProcess::Stop() {}

}  // namespace tolvane
