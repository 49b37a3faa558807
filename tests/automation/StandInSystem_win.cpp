#include "tests/automation/StandInSystem.h"

#include <windows.h>

#include <fstream>

#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

constexpr wchar_t kOwnClass[] = L"{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E911}";
constexpr wchar_t kProcessClass[] = L"{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E913}";
constexpr wchar_t kOtherClass[] = L"{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E912}";

// A file for each engine: one that hangs keeps its own open.
int g_installs = 0;

std::u16string CallsPath() {
  return GetTempFolder() + u"standin-" + ToDecimal(GetProcessNumber()) + u"-" + ToDecimal(g_installs) +
         u".txt";
}

std::wstring ServerPath(const wchar_t* name) {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring own = path;
  return own.substr(0, own.find_last_of(L'\\') + 1) + name;
}

void Register(const std::wstring& key, const wchar_t* name, const std::wstring& text, REGSAM view) {
  HKEY opened = nullptr;
  RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE | view, nullptr, &opened, nullptr);
  RegSetValueExW(opened, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(opened);
}

// A system with engines of its own keeps them.
bool IsWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace

void InstallStandIn(std::string_view failure, EStandIn kind) {
  if (!IsWine()) return;
  constexpr REGSAM kOwn = KEY_WOW64_64KEY, kOther = KEY_WOW64_32KEY;
  const std::wstring server = std::wstring(L"CLSID\\") + kOwnClass + L"\\InprocServer32";
  Register(L"DAO.DBEngine.120\\CLSID", nullptr, kind == EStandIn::Process ? kProcessClass : kOwnClass, kOwn);
  Register(server, nullptr, ServerPath(L"standin_engine.dll"), kOwn);
  Register(std::wstring(L"CLSID\\") + kProcessClass + L"\\LocalServer32", nullptr,
           L"\"" + ServerPath(L"standin_server.exe") + L"\"", kOwn);
  Register(server, L"ThreadingModel", L"Apartment", kOwn);
  Register(L"DAO.DBEngine.36\\CLSID", nullptr, kOtherClass, kOwn);
  Register(std::wstring(L"CLSID\\") + kOtherClass + L"\\InprocServer32", nullptr, L"dao.dll", kOther);
  DeleteFileW(ToWide(CallsPath()).c_str());
  ++g_installs;
  DeleteFileW(ToWide(CallsPath()).c_str());
  SetEnvironmentVariableW(L"TOLVANE_STANDIN_CALLS", ToWide(CallsPath()).c_str());
  SetEnvironmentVariableA("TOLVANE_STANDIN_FAILURE", std::string(failure).c_str());
}

void RemoveStandIn() {
  if (!IsWine()) return;
  DeleteFileW(ToWide(CallsPath()).c_str());
  RegDeleteTreeW(HKEY_CLASSES_ROOT, L"DAO.DBEngine.120");
  RegDeleteTreeW(HKEY_CLASSES_ROOT, L"DAO.DBEngine.36");
}

bool IsStandInDistant() {
  return true;
}

std::vector<std::string> ReadStandInCalls() {
  std::ifstream file(ToNativePath(CallsPath()), std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::unique_ptr<CAutomationServers> MakeStandInServers() {
  return MakeSystemServers();
}

}  // namespace tolvane
