#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/ChildProcess.h"
#include "platform/Text.h"

extern char** environ;

namespace tolvane {

struct CChildProcess::SProcess {
  pid_t number = 0;
  std::optional<int> status;
};

namespace {

constexpr mode_t kFileMode = 0600;

// What the new process does with its streams before it begins.
class CStreams {
 public:
  CStreams() { posix_spawn_file_actions_init(&m_actions); }
  ~CStreams() { posix_spawn_file_actions_destroy(&m_actions); }
  CStreams(const CStreams&) = delete;
  CStreams& operator=(const CStreams&) = delete;

  void Open(int stream, const std::string& path, int flags) {
    posix_spawn_file_actions_addopen(&m_actions, stream, path.c_str(), flags, kFileMode);
  }
  [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions{};
};

}  // namespace

std::u16string GetProgramPath() {
  std::error_code error;
  return FromNativePath(std::filesystem::read_symlink("/proc/self/exe", error).native());
}

CChildProcess::CChildProcess() = default;
CChildProcess::CChildProcess(CChildProcess&&) noexcept = default;
CChildProcess& CChildProcess::operator=(CChildProcess&&) noexcept = default;

CChildProcess::~CChildProcess() {
  if (!m_process || m_process->status) return;
  kill(m_process->number, SIGKILL);
  while (waitpid(m_process->number, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool CChildProcess::Start(const std::u16string& program, const std::vector<std::u16string>& words,
                          const std::u16string& outputFile, const std::u16string& errorFile) {
  std::vector<std::string> texts;
  texts.reserve(words.size() + 1);
  texts.push_back(ToNativePath(program));
  for (const std::u16string& word : words) texts.push_back(ToNativePath(word));
  std::vector<char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  CStreams streams;
  streams.Open(STDIN_FILENO, "/dev/null", O_RDONLY);
  streams.Open(STDOUT_FILENO, ToNativePath(outputFile), O_WRONLY | O_CREAT | O_TRUNC);
  streams.Open(STDERR_FILENO, ToNativePath(errorFile), O_WRONLY | O_CREAT | O_TRUNC);
  auto process = std::make_unique<SProcess>();
  const int error =
      posix_spawn(&process->number, texts.front().c_str(), streams.Get(), nullptr, arguments.data(), environ);
  if (error != 0) {
    errno = error;
    return false;
  }
  m_process = std::move(process);
  return true;
}

std::optional<int> CChildProcess::Poll() {
  if (!m_process || m_process->status) return m_process ? m_process->status : std::nullopt;
  int status = 0;
  const pid_t ended = waitpid(m_process->number, &status, WNOHANG);
  if (ended == m_process->number)
    m_process->status = WIFEXITED(status) ? WEXITSTATUS(status) : kCrashed;
  else if (ended < 0 && errno != EINTR)
    m_process->status = kCrashed;
  return m_process->status;
}

void CChildProcess::Stop() {
  if (m_process && !m_process->status) kill(m_process->number, SIGTERM);
}

}  // namespace tolvane
