// The running process and its neighbours, interrupt, clock. Thread-safe.
#pragma once

#include <cstdint>

namespace tolvane {

uint32_t GetProcessNumber();
// False once the process has ended (a zombie has ended).
bool IsProcessAlive(uint32_t processNumber);

// Calls `handler` on Ctrl+C, Ctrl+Break, SIGINT, SIGTERM and SIGHUP. On POSIX it runs inside the signal: it
// may only store to lock-free atomics.
void SetInterruptHandler(void (*handler)());

void SleepMilliseconds(uint32_t milliseconds);
// Seconds since some fixed moment; never goes back.
double GetMonotonicSeconds();
// The user's local time as days since 30 December 1899.
double GetLocalDate();
// Highest resident memory of this process so far, in bytes; 0 when the system does not tell.
uint64_t GetPeakMemory();

// 16 random bytes.
struct SGuidBytes {
  uint8_t bytes[16];
};
SGuidBytes MakeGuid();

}  // namespace tolvane
