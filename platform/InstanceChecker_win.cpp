#include <windows.h>

#include "platform/InstanceChecker.h"
#include "platform/Wide_win.h"

namespace tolvane {

struct CInstanceChecker::SHandle {
  HANDLE mutex = nullptr;
  ~SHandle() {
    if (mutex) CloseHandle(mutex);
  }
};

CInstanceChecker::CInstanceChecker() = default;

CInstanceChecker::~CInstanceChecker() = default;

bool CInstanceChecker::IsAlreadyRunning(std::u16string_view name) {
  m_handle = std::make_unique<SHandle>();
  SetLastError(ERROR_SUCCESS);
  m_handle->mutex = CreateMutexW(nullptr, FALSE, ToWide(name).c_str());
  const DWORD error = GetLastError();
  return error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED;
}

}  // namespace tolvane
