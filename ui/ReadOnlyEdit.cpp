#include "ui/ReadOnlyEdit.h"

namespace tolvane {

bool CReadOnlyEdit::Create(HWND parent, UINT identifier, EEditForm form) {
  constexpr DWORD kLines = ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL;
  SStyle style{WS_TABSTOP | WS_GROUP, WS_EX_CLIENTEDGE};
  switch (form) {
    case EEditForm::Line:
      style.style |= ES_AUTOHSCROLL | ES_READONLY;
      break;
    case EEditForm::LineToType:
      style.style |= ES_AUTOHSCROLL;
      break;
    case EEditForm::Lines:
      style.style |= kLines;
      break;
  }
  if (!CreateControl(L"EDIT", L"", style, parent, identifier)) return false;
  Send(EM_SETLIMITTEXT, 0);
  return true;
}

LRESULT CReadOnlyEdit::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  constexpr WPARAM kControlA = 1;
  if (message == WM_GETDLGCODE) return DLGC_WANTARROWS | DLGC_WANTCHARS;
  if (message == WM_CHAR && wParam == kControlA) {
    SelectAll();
    return 0;
  }
  return Default(message, wParam, lParam);
}

std::u16string ToEditText(std::u16string_view text) {
  std::u16string shown;
  shown.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    const bool hasReturn = i > 0 && text[i - 1] == u'\r';
    const bool hasFeed = i + 1 < text.size() && text[i + 1] == u'\n';
    if (unit == u'\n' && !hasReturn) shown += u'\r';
    shown += unit == 0 ? u' ' : unit;
    if (unit == u'\r' && !hasFeed) shown += u'\n';
  }
  return shown;
}

}  // namespace tolvane
