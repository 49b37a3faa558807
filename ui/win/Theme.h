// The colours of the program's windows: the system's, or dark ones when the user has chosen dark programs.
// In high contrast every colour is the system's.
#pragma once

#include <windows.h>

namespace tolvane {

class CTheme {
 public:
  // Of the process; main thread only.
  static CTheme& Get();
  // What the user has chosen since. True when something is drawn otherwise now.
  bool Refresh();
  [[nodiscard]] bool IsDark() const { return m_isDark; }
  [[nodiscard]] bool IsHighContrast() const { return m_isHighContrast; }

  // By the system's number of the colour, COLOR_WINDOW and the like.
  [[nodiscard]] COLORREF GetColour(int index) const;
  // Stays until the next Refresh; not the caller's.
  [[nodiscard]] HBRUSH GetBrush(int index) const;

  // A top window's frame and caption.
  void ApplyToFrame(HWND window) const;
  // A control's scroll bars and own parts.
  void ApplyToControl(HWND control) const;
  // For WM_CTLCOLOR messages: text and background of the control that asks, which lies on that colour.
  LRESULT ColourControl(HDC context, int background, int text = COLOR_WINDOWTEXT) const;

 private:
  CTheme() { Refresh(); }

  bool m_isDark = false;
  bool m_isHighContrast = false;
};

}  // namespace tolvane
