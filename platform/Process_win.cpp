#include <windows.h>
// After windows.h, whose types these need.
#include <bcrypt.h>
#include <psapi.h>

#include <atomic>
#include <random>

#include "platform/Process.h"

namespace tolvane {

namespace {

// Days from 1 January 1601, where file times begin, to 30 December 1899.
constexpr double kFileTimeEpochDate = -109205.0;
constexpr double kFileTimeUnitsPerDay = 864'000'000'000.0;
// Longer than the system gives a program whose window is closed.
constexpr DWORD kUntilTheEnd = 30'000;

std::atomic<void (*)()> g_interruptHandler{nullptr};

BOOL WINAPI OnConsoleEvent(DWORD event) {
  void (*handler)() = g_interruptHandler.load();
  if (!handler) return FALSE;
  handler();
  // The program is ended as soon as this returns, unless it was a key: leave it the time to tidy up.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kUntilTheEnd);
  return TRUE;
}

}  // namespace

uint32_t GetProcessNumber() {
  return GetCurrentProcessId();
}

bool IsProcessAlive(uint32_t processNumber) {
  if (processNumber == 0) return false;
  const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, processNumber);
  // A process of somebody else.
  if (!process) return GetLastError() == ERROR_ACCESS_DENIED;
  const bool isAlive = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
  CloseHandle(process);
  return isAlive;
}

void SetInterruptHandler(void (*handler)()) {
  g_interruptHandler = handler;
  SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
  if (handler) SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

void SleepMilliseconds(uint32_t milliseconds) {
  Sleep(milliseconds);
}

double GetMonotonicSeconds() {
  LARGE_INTEGER frequency{};
  LARGE_INTEGER now{};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double GetLocalDate() {
  SYSTEMTIME local{};
  FILETIME time{};
  GetLocalTime(&local);
  SystemTimeToFileTime(&local, &time);
  const uint64_t units = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  return kFileTimeEpochDate + static_cast<double>(units) / kFileTimeUnitsPerDay;
}

uint64_t GetPeakMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)) ? counters.PeakWorkingSetSize
                                                                                : 0;
}

SGuidBytes MakeGuid() {
  SGuidBytes guid{};
  const NTSTATUS status =
      BCryptGenRandom(nullptr, guid.bytes, sizeof(guid.bytes), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  if (status >= 0) return guid;
  std::random_device source;
  for (uint8_t& byte : guid.bytes) byte = static_cast<uint8_t>(source() & 0xFF);
  return guid;
}

}  // namespace tolvane
