// The choice between the two ways to repair.
#pragma once

#include "ui/win/Window.h"

namespace tolvane {

class CModeButton : public CWnd {
 public:
  void Choose(bool isChosen) const { Send(BM_SETCHECK, isChosen ? BST_CHECKED : BST_UNCHECKED); }

 protected:
  bool CreateButton(HWND parent, UINT identifier, const wchar_t* caption, DWORD groupStyle);
};

class CRdBtnStandardMode : public CModeButton {
 public:
  bool Create(HWND parent, UINT identifier);
};

class CRdBtnAdvanceMode : public CModeButton {
 public:
  bool Create(HWND parent, UINT identifier);
};

}  // namespace tolvane
