// Whether another copy of the program runs for the same user: by a named mutex, or a locked file where the
// system has no such thing.
#pragma once

#include <memory>
#include <string_view>

namespace tolvane {

// Holds the name from the first check until it is destroyed. One thread.
class CInstanceChecker {
 public:
  CInstanceChecker();
  ~CInstanceChecker();

  // True when another checker holds the name, and when the system denies access to it.
  bool IsAlreadyRunning(std::u16string_view name);

 private:
  struct SHandle;  // the system's handle
  std::unique_ptr<SHandle> m_handle;
};

}  // namespace tolvane
