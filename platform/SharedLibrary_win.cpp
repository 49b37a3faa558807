#include <windows.h>

#include "platform/FileCust.h"
#include "platform/SharedLibrary.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"

namespace tolvane {

// By its whole path: a file of that name beside the program is not meant.
bool CSharedLibrary::Open(const SLibraryName& name, std::u16string& problem) {
  wchar_t folder[MAX_PATH];
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  const std::wstring path =
      std::wstring(folder, length < MAX_PATH ? length : 0) + L"\\" + ToWide(FromAscii(name.windows));
  m_handle = {LoadLibraryW(path.c_str()), [](void* handle) { FreeLibrary(static_cast<HMODULE>(handle)); }};
  if (m_handle != nullptr) return true;
  problem = FromAscii(name.windows) + u": " + SystemMessage(GetLastError());
  while (problem.ends_with(u'.')) problem.pop_back();
  problem += u". Windows 10 and later bring it along";
  return false;
}

CSharedLibrary::Function CSharedLibrary::Find(const char* name) const {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_handle.get()), name)));
}

}  // namespace tolvane
