// What the system draws in light colours only: buttons, headings of lists and the status bar, drawn anew
// where the theme is dark.
#pragma once

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>

#include "ui/win/Window.h"

namespace tolvane {

// From NM_CUSTOMDRAW of a push button; for everything else, and in other themes, the system's own drawing.
LRESULT DrawDarkButton(const NMCUSTOMDRAW& draw);
// The same of a list's headings.
LRESULT DrawDarkHeading(const NMCUSTOMDRAW& draw);

class CStatusBar : public CWnd {
 public:
  bool Create(HWND parent, UINT identifier);

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void Paint() const;
};

// Colours of lists, trees and bars that they are told once.
void ColourList(HWND list);
void ColourTree(HWND tree);
void ColourBar(HWND bar);

}  // namespace tolvane
