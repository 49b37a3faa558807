// The progress in the window's button on the taskbar. Nothing happens where there is no such taskbar.
#pragma once

#include <windows.h>
// After windows.h, whose types these need.
#include <shobjidl.h>

namespace tolvane {

class CTaskbarButton {
 public:
  CTaskbarButton() = default;
  CTaskbarButton(const CTaskbarButton&) = delete;
  CTaskbarButton& operator=(const CTaskbarButton&) = delete;
  ~CTaskbarButton();

  // The message that tells a window that its button is there.
  static UINT GetCreatedMessage();
  void OnCreated(HWND window);
  void ShowPercent(int percent);
  void Clear();

 private:
  HWND m_window = nullptr;
  ITaskbarList3* m_taskbar = nullptr;  // a reference of our own
};

}  // namespace tolvane
