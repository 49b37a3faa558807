#include "ui/RecentFileRegistry.h"

#include <windows.h>

#include "platform/Wide_win.h"

namespace tolvane {

namespace {

std::wstring ValueName(size_t index) {
  return L"File" + std::to_wstring(index + 1);
}

}  // namespace

void CRecentFileRegistry::SetKey(std::u16string_view maker) {
  m_key = L"Software\\" + ToWide(maker) + L"\\TolvaneForAccess\\Recent File List";
}

std::vector<std::u16string> CRecentFileRegistry::Load() {
  std::vector<std::u16string> paths;
  for (size_t i = 0; i < CRecentFiles::kMaximum; ++i) {
    std::wstring path(32768, L'\0');
    auto bytes = static_cast<DWORD>(path.size() * sizeof(wchar_t));
    if (RegGetValueW(HKEY_CURRENT_USER, m_key.c_str(), ValueName(i).c_str(), RRF_RT_REG_SZ, nullptr,
                     path.data(), &bytes) == ERROR_SUCCESS)
      paths.push_back(FromWide(path.c_str()));
  }
  return paths;
}

void CRecentFileRegistry::Save(const std::vector<std::u16string>& paths) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_CURRENT_USER, m_key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key,
                      nullptr) != ERROR_SUCCESS)
    return;  // only a convenience
  for (size_t i = 0; i < CRecentFiles::kMaximum; ++i) {
    if (i >= paths.size()) {
      RegDeleteValueW(key, ValueName(i).c_str());
      continue;
    }
    const std::wstring path = ToWide(paths[i]);
    RegSetValueExW(key, ValueName(i).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                   static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t)));
  }
  RegCloseKey(key);
}

}  // namespace tolvane
