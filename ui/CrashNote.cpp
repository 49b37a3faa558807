#include "ui/CrashNote.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cwchar>
#include <exception>

#include <VersionNumbers.h>
#include "platform/Text.h"
#include "platform/Wide_win.h"
#include "ui/win/Dialog.h"

namespace tolvane {

namespace {

// All that a crash needs is here beforehand: then there may be no heap and no lock to be had.
constexpr size_t kLongestFolder = 1024;
constexpr size_t kLongestContext = 512;
constexpr DWORD kExceptionOfTerminate = 0xE0544552;
constexpr ULONG kFrames = 40;

wchar_t g_folder[kLongestFolder];
char g_context[kLongestContext];
std::atomic_flag g_isCrashing;

class CNote {
 public:
  template <class... T>
  void Add(const char* format, T... values) {
    if (m_length >= sizeof(m_text)) return;
    const int added = std::snprintf(m_text + m_length, sizeof(m_text) - m_length, format, values...);
    if (added > 0) m_length += static_cast<size_t>(added);
  }
  bool Save(const wchar_t* path) const {
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const auto length = static_cast<DWORD>(m_length < sizeof(m_text) ? m_length : sizeof(m_text) - 1);
    const bool isSaved = WriteFile(file, m_text, length, &written, nullptr) && written == length;
    CloseHandle(file);
    return isSaved;
  }

 private:
  char m_text[8192];
  size_t m_length = 0;
};

// "program + 1A2B" for an address of the program itself; others are the system's.
void AddAddress(CNote& note, const void* address) {
  MEMORY_BASIC_INFORMATION region{};
  VirtualQuery(address, &region, sizeof(region));
  const HMODULE program = GetModuleHandleW(nullptr);
  const bool isOurs = region.AllocationBase == program;
  const UINT_PTR start = isOurs ? reinterpret_cast<UINT_PTR>(program) : 0;
  note.Add("%s %llX\r\n", isOurs ? "program +" : "elsewhere",
           static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(address) - start));
}

void DescribeCrash(CNote& note, const EXCEPTION_RECORD& record, const SYSTEMTIME& time) {
  note.Add("Tolvane for Access %s, %d bits\r\n", TOLVANE_VERSION_TEXT, static_cast<int>(sizeof(void*) * 8));
  note.Add("%04d-%02d-%02d %02d:%02d:%02d\r\n", time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute,
           time.wSecond);
  note.Add("Exception %08lX in thread %lu at ", record.ExceptionCode, GetCurrentThreadId());
  AddAddress(note, record.ExceptionAddress);
  for (DWORD i = 0; i < record.NumberParameters && i < 4; ++i)
    note.Add("  parameter %llX\r\n", static_cast<unsigned long long>(record.ExceptionInformation[i]));
  note.Add("Doing: %s\r\nCalled from:\r\n", g_context);
  void* frames[kFrames];
  const USHORT count = RtlCaptureStackBackTrace(0, kFrames, frames, nullptr);
  for (USHORT i = 0; i < count; ++i) AddAddress(note, frames[i]);
}

void ReportCrash(const EXCEPTION_RECORD& record) {
  SYSTEMTIME time{};
  GetLocalTime(&time);
  static CNote note;  // not on the stack, which may be used up
  DescribeCrash(note, record, time);
  static wchar_t path[kLongestFolder + 64];
  static wchar_t message[kLongestFolder + 512];
  std::swprintf(path, std::size(path), L"%lscrash-%04d%02d%02d-%02d%02d%02d.txt", g_folder, time.wYear,
                time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
  const bool isSaved = note.Save(path);
  std::swprintf(
      message, std::size(message),
      L"Tolvane for Access has met an unexpected failure and must end. The damaged database was not "
      L"changed.\n\n%ls%ls",
      isSaved ? L"A note about the failure was written to\n" : L"No note about the failure could be written.",
      isSaved ? path : L"");
  MessageBoxW(nullptr, message, kProgramName, MB_OK | MB_ICONERROR | MB_TASKMODAL);
}

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* exception) {
  if (g_isCrashing.test_and_set()) Sleep(INFINITE);  // another thread reports already and ends the program
  ReportCrash(*exception->ExceptionRecord);
  TerminateProcess(GetCurrentProcess(), 3);
  return EXCEPTION_EXECUTE_HANDLER;
}

[[noreturn]] void OnTerminate() {
  RaiseException(kExceptionOfTerminate, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  std::abort();
}

}  // namespace

void InstallCrashNote(std::u16string_view folder) {
  const std::wstring wide = ToWide(folder.substr(0, kLongestFolder - 1));
  std::wmemcpy(g_folder, wide.c_str(), wide.size() + 1);
  SetUnhandledExceptionFilter(OnUnhandledException);
  std::set_terminate(OnTerminate);
}

void SetCrashContext(std::u16string_view context) {
  const std::string text = ToUtf8(context);
  std::snprintf(g_context, sizeof(g_context), "%s", text.c_str());
}

}  // namespace tolvane
