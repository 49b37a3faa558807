// Owns a handle of the system. For the *_win.cpp files of platform/.
#pragma once

#include <windows.h>

#include <memory>

namespace tolvane {

// Keeps the reason of a failure over the clean-up behind it.
class CLastErrorKeeper {
 public:
  CLastErrorKeeper() = default;
  ~CLastErrorKeeper() { SetLastError(m_error); }
  CLastErrorKeeper(const CLastErrorKeeper&) = delete;
  CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;

 private:
  DWORD m_error = GetLastError();
};

struct SHandleCloser {
  void operator()(HANDLE handle) const {
    const CLastErrorKeeper keeper;
    CloseHandle(handle);
  }
};
// Null where there is none.
using CHandle = std::unique_ptr<void, SHandleCloser>;

}  // namespace tolvane
