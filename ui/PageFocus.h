// Where the keyboard is in the view: on a new page at the control that leads on, and after another window was
// active where it was before.
#pragma once

#include <windows.h>

#include "app/ShowPageState.h"

namespace tolvane {

class CPageFocus {
 public:
  void Attach(HWND view) { m_view = view; }
  // When the window becomes inactive, and active again.
  void Keep();
  void Restore();
  // The page's first control gets the keyboard with the next GoToPage, once: it must be enabled then.
  void ExpectPage() { m_isPageNew = true; }
  void GoToPage(EPageState page, bool hasSaveFailed);

 private:
  HWND m_view = nullptr;
  HWND m_focus = nullptr;
  bool m_isPageNew = false;
};

}  // namespace tolvane
