#include "ui/ModeButtons.h"

#include "app/StartChoice.h"
#include "platform/Wide_win.h"

namespace tolvane {

bool CModeButton::CreateButton(HWND parent, UINT identifier, std::u16string_view caption, DWORD groupStyle) {
  return CreateControl(L"BUTTON", ToWide(caption).c_str(), {BS_AUTORADIOBUTTON | groupStyle, 0}, parent,
                       identifier);
}

bool CRdBtnStandardMode::Create(HWND parent, UINT identifier) {
  return CreateButton(parent, identifier, kStandardModeCaption, WS_GROUP | WS_TABSTOP);
}

bool CRdBtnAdvanceMode::Create(HWND parent, UINT identifier) {
  return CreateButton(parent, identifier, kTemplateModeCaption, 0);
}

}  // namespace tolvane
