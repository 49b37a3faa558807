// Stands in for the external save engine: AccdbSaveEngine.exe reads the file that it is given, answers the
// two messages, writes down what it got to know and ends.
//
//   TOLVANE_STAND_IN         normal (the default), killed (before it has a window), no-window, hang
//   TOLVANE_STAND_IN_RECORD  the text file in which it writes down what it got to know
#include <windows.h>
// After windows.h, whose types it needs.
#include <shellapi.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/ExternalEngine.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane::test {
namespace {

constexpr UINT kPatience = 60'000;  // milliseconds until it gives up
constexpr int kGaveUp = 9;
constexpr UINT kKilled = 3;

std::ofstream g_record;
std::u16string g_mode;
std::u16string g_output;  // where the database goes, as the window was told

std::u16string TextOf(const COPYDATASTRUCT& block) {
  const auto* units = static_cast<const char16_t*>(block.lpData);
  const size_t count = block.cbData / sizeof(char16_t);
  return count > 0 && units[count - 1] == 0 ? std::u16string(units, count - 1) : u"no zero unit";
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM sender, LPARAM argument) {
  switch (message) {
    case WM_COPYDATA: {
      const auto& block = *reinterpret_cast<const COPYDATASTRUCT*>(argument);
      g_output = TextOf(block);
      g_record << "text " << block.dwData << " from " << sender << ": " << ToUtf8(g_output) << '\n';
      return TRUE;
    }
    case kServerMessage:
      g_record << "message from " << sender << '\n' << std::flush;
      if (g_mode == u"hang") return 0;
      std::ofstream(std::filesystem::path(g_output)) << "a database";
      PostQuitMessage(0);
      return 0;
    case WM_TIMER:
      PostQuitMessage(kGaveUp);
      return 0;
    default:
      return DefWindowProcW(window, message, sender, argument);
  }
}

int RunWindow(HINSTANCE instance) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = OnMessage;
  windowClass.hInstance = instance;
  windowClass.lpszClassName = L"TolvaneStandIn";
  RegisterClassW(&windowClass);
  const std::wstring title(kServerWindowTitle.begin(), kServerWindowTitle.end());
  const HWND window = CreateWindowW(windowClass.lpszClassName, title.c_str(), WS_OVERLAPPEDWINDOW, 0, 0, 100,
                                    100, nullptr, nullptr, instance, nullptr);
  if (!window) return kGaveUp;
  SetTimer(window, 1, kPatience, nullptr);
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  return static_cast<int>(message.wParam);
}

int Run(HINSTANCE instance, int showMode) {
  g_mode = GetEnvironment(u"TOLVANE_STAND_IN");
  g_record.open(std::filesystem::path(GetEnvironment(u"TOLVANE_STAND_IN_RECORD")), std::ios::binary);
  int count = 0;
  LPWSTR* arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  g_record << (showMode == SW_SHOWMAXIMIZED ? "maximised" : "another size") << ", " << count - 1
           << " argument\n";
  if (count == 2) g_record << "file of " << std::filesystem::file_size(arguments[1]) << " bytes\n";
  g_record << std::flush;
  LocalFree(arguments);
  if (g_mode == u"killed") TerminateProcess(GetCurrentProcess(), kKilled);
  return g_mode == u"no-window" ? 0 : RunWindow(instance);
}

}  // namespace
}  // namespace tolvane::test

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int showMode) {
  return tolvane::test::Run(instance, showMode);
}
