#include <windows.h>
// After windows.h, whose types these need.
#include <objbase.h>
#include <shellapi.h>

#include <string>

#include "platform/ExternalEngineLauncher.h"
#include "platform/Handle_win.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

// The shell may hand a start to extensions that live in COM apartments.
class CComApartment {
 public:
  CComApartment() : m_result(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
  ~CComApartment() {
    if (SUCCEEDED(m_result)) CoUninitialize();
  }
  CComApartment(const CComApartment&) = delete;
  CComApartment& operator=(const CComApartment&) = delete;

 private:
  HRESULT m_result;  // a failure means that the thread has an apartment of another kind, which serves as well
};

class CSystemProcess : public CExternalProcess {
 public:
  explicit CSystemProcess(HANDLE process) : m_process(process) {}

  bool WaitForEnd(std::optional<uint32_t> milliseconds) override {
    return WaitForSingleObject(m_process.get(), milliseconds.value_or(INFINITE)) == WAIT_OBJECT_0;
  }
  uint32_t GetExitCode() override {
    DWORD code = 0;
    GetExitCodeProcess(m_process.get(), &code);
    return code;
  }

 private:
  CHandle m_process;
};

// The started process; null, and the reason, when there is none.
HANDLE Execute(const std::wstring& program, const std::wstring& parameters, DWORD& error) {
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof(info);
  // The caller may be a worker without a message loop, and reports a failure itself.
  info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
  info.lpVerb = L"Open";
  info.lpFile = program.c_str();
  info.lpParameters = parameters.c_str();
  info.nShow = SW_SHOWMAXIMIZED;
  if (ShellExecuteExW(&info)) return info.hProcess;
  error = GetLastError();
  return nullptr;
}

class CSystemLauncher : public CExternalEngineLauncher {
 public:
  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    HANDLE process = nullptr;
    DWORD error = ERROR_SUCCESS;
    {
      const CComApartment apartment;
      process = Execute(ToWide(program), L'"' + ToWide(path) + L'"', error);
    }
    if (process) return std::make_unique<CSystemProcess>(process);
    SetLastError(error);
    return nullptr;
  }

  WindowHandle FindTopLevelWindow(std::u16string_view title) override {
    return reinterpret_cast<WindowHandle>(FindWindowW(nullptr, ToWide(title).c_str()));
  }

  void SendText(WindowHandle window, WindowHandle sender, std::u16string_view text) override {
    SendWindowMessage(window, WM_COPYDATA, sender, text);
  }

  void SendWindowMessage(WindowHandle window, uint32_t message, WindowHandle sender,
                         std::u16string_view text) override {
    std::wstring units = ToWide(text);
    COPYDATASTRUCT block{};
    block.cbData = static_cast<DWORD>((units.size() + 1) * sizeof(wchar_t));
    block.lpData = units.data();
    SendMessageW(reinterpret_cast<HWND>(window), message, sender, reinterpret_cast<LPARAM>(&block));
  }
};

}  // namespace

std::unique_ptr<CExternalEngineLauncher> MakeExternalEngineLauncher() {
  return std::make_unique<CSystemLauncher>();
}

}  // namespace tolvane
