#include <windows.h>
// After windows.h, whose types it needs.
#include <psapi.h>

#include <vector>

#include "platform/Files.h"
#include "platform/Handle_win.h"
#include "platform/ProcessManager.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

constexpr size_t kMaximumProcesses = 8192;
constexpr DWORD kLookRights = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;

std::u16string NameOf(HANDLE process) {
  if (!process) return std::u16string(kUnknownProcess);
  // Answers for programs of the other word size too, unlike the list of a process's modules.
  const std::u16string path = AskForText([process](wchar_t* buffer, DWORD size) {
    DWORD length = size;
    if (QueryFullProcessImageNameW(process, 0, buffer, &length)) return length;
    return GetLastError() == ERROR_INSUFFICIENT_BUFFER ? size : DWORD{0};
  });
  return path.empty() ? std::u16string(kUnknownProcess) : std::u16string(FileNameOf(path));
}

// `visit(handle, number)` for each process of that name until it answers false. The handle is null for a
// process that may not be opened with these rights.
template <class F>
void VisitProcesses(std::u16string_view name, DWORD rights, F visit) {
  std::vector<DWORD> numbers(kMaximumProcesses);
  DWORD bytes = 0;
  if (!EnumProcesses(numbers.data(), static_cast<DWORD>(numbers.size() * sizeof(DWORD)), &bytes)) return;
  numbers.resize(bytes / sizeof(DWORD));
  for (const DWORD number : numbers) {
    if (number == 0) continue;
    const CHandle process(OpenProcess(rights, FALSE, number));
    if (EqualsIgnoreCase(NameOf(process.get()), name) && !visit(process.get(), number)) return;
  }
}

}  // namespace

bool CProcessManager::IsRunning(std::u16string_view name) {
  bool isRunning = false;
  VisitProcesses(name, kLookRights, [&isRunning](HANDLE, DWORD) {
    isRunning = true;
    return false;
  });
  return isRunning;
}

size_t CProcessManager::Terminate(std::u16string_view name) {
  size_t count = 0;
  VisitProcesses(name, kLookRights | PROCESS_TERMINATE, [&count](HANDLE process, DWORD number) {
    if (process && number != GetCurrentProcessId() && TerminateProcess(process, 0)) count++;
    return true;
  });
  return count;
}

}  // namespace tolvane
