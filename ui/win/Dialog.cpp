#include "ui/win/Dialog.h"

#include "platform/Wide_win.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Theme.h"

namespace tolvane {

const wchar_t* const kProgramName = L"Tolvane for Access";

INT_PTR CDialog::DoModal(HWND parent) {
  return DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(m_template), parent, Procedure,
                         reinterpret_cast<LPARAM>(this));
}

void CDialog::ShowMessage(std::u16string_view text) const {
  MessageBoxW(m_window, ToWide(text).c_str(), kProgramName, MB_OK | MB_ICONINFORMATION);
}

INT_PTR CALLBACK CDialog::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(window, DWLP_USER, lParam);
    reinterpret_cast<CDialog*>(lParam)->m_window = window;
  }
  auto* const self = reinterpret_cast<CDialog*>(GetWindowLongPtrW(window, DWLP_USER));
  return self ? self->OnDialogMessage(message, wParam, lParam) : FALSE;
}

// A long text to read lies on the background of one to write.
INT_PTR CDialog::OnControlColour(HDC context, HWND control) {
  constexpr LONG_PTR kText = ES_MULTILINE | ES_READONLY;
  const bool isText = (SendMessageW(control, WM_GETDLGCODE, 0, 0) & DLGC_STATIC) == 0 &&
                      (GetWindowLongPtrW(control, GWL_STYLE) & kText) == kText;
  if (!isText && !CTheme::Get().IsDark()) return FALSE;
  return CTheme::Get().ColourControl(context, isText ? COLOR_WINDOW : COLOR_BTNFACE);
}

void CDialog::ApplyTheme() const {
  CTheme::Get().ApplyToFrame(m_window);
  for (HWND control = GetWindow(m_window, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT))
    CTheme::Get().ApplyToControl(control);
}

INT_PTR CDialog::OnDialogMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      if (CTheme::Get().IsDark()) ApplyTheme();
      OnInitDialog();
      return TRUE;
    case WM_SIZE:
      OnSize();
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == IDOK)
        OnOk();
      else if (LOWORD(wParam) == IDCANCEL)
        OnCancel();
      else
        OnCommand(LOWORD(wParam), HIWORD(wParam));
      return TRUE;
    case WM_CTLCOLORDLG:
      return CTheme::Get().IsDark() ? reinterpret_cast<INT_PTR>(CTheme::Get().GetBrush(COLOR_BTNFACE))
                                    : FALSE;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
      return OnControlColour(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
      return CTheme::Get().ColourControl(reinterpret_cast<HDC>(wParam), COLOR_WINDOW);
    case WM_NOTIFY: {
      const auto* const header = reinterpret_cast<const NMHDR*>(lParam);
      if (header->code != NM_CUSTOMDRAW) return FALSE;
      SetWindowLongPtrW(m_window, DWLP_MSGRESULT, DrawDarkButton(*reinterpret_cast<NMCUSTOMDRAW*>(lParam)));
      return TRUE;
    }
    default:
      return FALSE;
  }
}

}  // namespace tolvane
