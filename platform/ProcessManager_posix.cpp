#include <signal.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/ProcessManager.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::string_view kProcesses = "/proc";
// Behind the path of a program whose file is gone.
constexpr std::string_view kDeleted = " (deleted)";

std::u16string NameOf(pid_t process) {
  const std::string link = std::string(kProcesses) + "/" + std::to_string(process) + "/exe";
  std::array<char, 4096> buffer{};
  const ssize_t length = readlink(link.c_str(), buffer.data(), buffer.size());
  if (length <= 0) return std::u16string(kUnknownProcess);
  std::string_view path(buffer.data(), static_cast<size_t>(length));
  if (path.ends_with(kDeleted)) path.remove_suffix(kDeleted.size());
  return std::u16string(FileNameOf(FromNativePath(path)));
}

std::vector<pid_t> FindProcesses(std::u16string_view name) {
  std::vector<pid_t> found;
  for (const std::u16string& entry : ListFolder(FromAscii(kProcesses))) {
    const auto process = static_cast<pid_t>(LeadingInteger(entry));
    if (process > 0 && EqualsIgnoreCase(NameOf(process), name)) found.push_back(process);
  }
  return found;
}

}  // namespace

bool CProcessManager::IsRunning(std::u16string_view name) {
  return !FindProcesses(name).empty();
}

size_t CProcessManager::Terminate(std::u16string_view name) {
  // It names nothing in particular.
  if (name == kUnknownProcess) return 0;
  size_t count = 0;
  for (const pid_t process : FindProcesses(name))
    if (process != getpid() && kill(process, SIGKILL) == 0) count++;
  return count;
}

}  // namespace tolvane
