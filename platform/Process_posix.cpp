#include <errno.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <thread>

#include "platform/Process.h"

namespace tolvane {

namespace {

// Days from 30 December 1899 to 1 January 1970.
constexpr double kUnixEpochDate = 25569.0;
constexpr double kSecondsPerDay = 86400.0;

std::atomic<void (*)()> g_interruptHandler{nullptr};
static_assert(std::atomic<void (*)()>::is_always_lock_free, "read inside a signal");

void OnSignal(int) {
  const int error = errno;
  if (void (*handler)() = g_interruptHandler.load()) handler();
  errno = error;
}

// True when the process has ended and only waits for its parent to notice.
bool IsZombie(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  if (!std::getline(file, line)) return false;
  // "number (name) state ..."; the name may hold anything, brackets too.
  const size_t end = line.rfind(')');
  if (end == std::string::npos || end + 2 >= line.size()) return false;
  const char state = line[end + 2];
  return state == 'Z' || state == 'X';
}

}  // namespace

uint32_t GetProcessNumber() {
  return static_cast<uint32_t>(getpid());
}

bool IsProcessAlive(uint32_t processNumber) {
  // 0 and negative numbers would mean groups of processes.
  if (processNumber == 0 || processNumber > static_cast<uint32_t>(std::numeric_limits<pid_t>::max()))
    return false;
  const auto process = static_cast<pid_t>(processNumber);
  const bool isThere = kill(process, 0) == 0 || errno == EPERM;
  return isThere && !IsZombie(process);
}

void SetInterruptHandler(void (*handler)()) {
  g_interruptHandler = handler;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    // Started to outlive its terminal (nohup) or in the background of a script: it must stay deaf.
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler ? OnSignal : SIG_DFL;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
  }
}

void SleepMilliseconds(uint32_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

double GetMonotonicSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double GetLocalDate() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  const double seconds =
      static_cast<double>(now.tv_sec + local.tm_gmtoff) + static_cast<double>(now.tv_nsec) / 1e9;
  return kUnixEpochDate + seconds / kSecondsPerDay;
}

uint64_t GetPeakMemory() {
  // The kernel's peak of this program alone: getrusage also counts what ran in the process before it.
  constexpr std::string_view kPeak = "VmHWM:";
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(kPeak)) continue;
    const size_t start = line.find_first_of("0123456789");
    if (start == std::string::npos) break;
    uint64_t kibibytes = 0;
    std::from_chars(line.data() + start, line.data() + line.size(), kibibytes);
    return kibibytes * 1024;
  }
  rusage usage{};
  return getrusage(RUSAGE_SELF, &usage) == 0 ? static_cast<uint64_t>(usage.ru_maxrss) * 1024 : 0;
}

SGuidBytes MakeGuid() {
  SGuidBytes guid{};
  if (getentropy(guid.bytes, sizeof(guid.bytes)) == 0) return guid;
  std::random_device source;
  for (uint8_t& byte : guid.bytes) byte = static_cast<uint8_t>(source() & 0xFF);
  return guid;
}

}  // namespace tolvane
