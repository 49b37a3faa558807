#include "ui/ModeButtons.h"

namespace tolvane {

bool CModeButton::CreateButton(HWND parent, UINT identifier, const wchar_t* caption, DWORD groupStyle) {
  return CreateControl(L"BUTTON", caption, {BS_AUTORADIOBUTTON | groupStyle, 0}, parent, identifier);
}

bool CRdBtnStandardMode::Create(HWND parent, UINT identifier) {
  return CreateButton(parent, identifier, L"&Standard Mode", WS_GROUP | WS_TABSTOP);
}

bool CRdBtnAdvanceMode::Create(HWND parent, UINT identifier) {
  return CreateButton(parent, identifier, L"&Template Mode", 0);
}

}  // namespace tolvane
