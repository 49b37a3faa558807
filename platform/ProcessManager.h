// Finds and ends other processes by the name of their program. Thread-safe: no state.
#pragma once

#include <cstddef>
#include <string_view>

namespace tolvane {

// The name of a process whose program cannot be told.
inline constexpr std::u16string_view kUnknownProcess = u"<unknown>";

// Names are whole file names without a folder, compared without regard to case. Virtual for tests, which must
// not end what happens to run.
class CProcessManager {
 public:
  CProcessManager() = default;
  virtual ~CProcessManager() = default;
  CProcessManager(const CProcessManager&) = delete;
  CProcessManager& operator=(const CProcessManager&) = delete;

  virtual bool IsRunning(std::u16string_view name);
  // At once and without asking, all of that name but this process itself. Returns how many were ended; one
  // that the system protects is left alone.
  virtual size_t Terminate(std::u16string_view name);
};

}  // namespace tolvane
