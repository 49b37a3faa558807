#include <errno.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>

#include "platform/ExternalEngineLauncher.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::chrono::milliseconds kPollPeriod{10};

class CSystemProcess : public CExternalProcess {
 public:
  explicit CSystemProcess(pid_t process) : m_process(process) {}

  bool WaitForEnd(std::optional<uint32_t> milliseconds) override {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds.value_or(0));
    while (!Collect(milliseconds ? WNOHANG : 0)) {
      if (milliseconds && Clock::now() >= end) return false;
      if (milliseconds) std::this_thread::sleep_for(kPollPeriod);
    }
    return true;
  }
  uint32_t GetExitCode() override { return m_exitCode; }

 private:
  // True when the program has ended. A process can be collected only once.
  bool Collect(int options) {
    if (m_hasEnded) return true;
    int status = 0;
    const pid_t result = waitpid(m_process, &status, options);
    if (result == 0 || (result < 0 && errno == EINTR)) return false;
    m_hasEnded = true;
    if (result > 0 && WIFEXITED(status)) m_exitCode = static_cast<uint32_t>(WEXITSTATUS(status));
    if (result > 0 && WIFSIGNALED(status)) m_exitCode = 128 + static_cast<uint32_t>(WTERMSIG(status));
    return true;
  }

  pid_t m_process;
  bool m_hasEnded = false;
  uint32_t m_exitCode = 0;
};

class CSystemLauncher : public CExternalEngineLauncher {
 public:
  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    std::string file = ToNativePath(program);
    std::string argument = ToNativePath(path);
    const std::array<char*, 3> arguments{file.data(), argument.data(), nullptr};
    pid_t process = 0;
    const int error = posix_spawn(&process, file.c_str(), nullptr, nullptr, arguments.data(), environ);
    if (error == 0) return std::make_unique<CSystemProcess>(process);
    errno = error;
    return nullptr;
  }
  WindowHandle FindTopLevelWindow(std::u16string_view) override { return 0; }
  void SendText(WindowHandle, WindowHandle, std::u16string_view) override {}
  void SendWindowMessage(WindowHandle, uint32_t, WindowHandle, std::u16string_view) override {}
};

}  // namespace

std::unique_ptr<CExternalEngineLauncher> MakeExternalEngineLauncher() {
  return std::make_unique<CSystemLauncher>();
}

}  // namespace tolvane
