#include "ui/win/DarkParts.h"

#include <string>

#include "ui/win/Theme.h"

namespace tolvane {

namespace {

constexpr int kTextPadding = 6;

void DrawLine(HDC context, RECT area, const std::wstring& text, UINT format, int colour) {
  SetBkMode(context, TRANSPARENT);
  SetTextColor(context, CTheme::Get().GetColour(colour));
  DrawTextW(context, text.c_str(), static_cast<int>(text.size()), &area, format | DT_SINGLELINE | DT_VCENTER);
}

std::wstring TextOf(HWND window) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

}  // namespace

LRESULT DrawDarkButton(const NMCUSTOMDRAW& draw) {
  if (!CTheme::Get().IsDark() || draw.dwDrawStage != CDDS_PREPAINT) return CDRF_DODEFAULT;
  const HWND button = draw.hdr.hwndFrom;
  const LONG_PTR kind = GetWindowLongPtrW(button, GWL_STYLE) & BS_TYPEMASK;
  if (kind != BS_PUSHBUTTON && kind != BS_DEFPUSHBUTTON) return CDRF_DODEFAULT;
  const bool isDown = (draw.uItemState & CDIS_SELECTED) != 0;
  const bool isOff = !IsWindowEnabled(button);
  RECT area = draw.rc;
  FillRect(draw.hdc, &area, CTheme::Get().GetBrush(isDown ? COLOR_BTNSHADOW : COLOR_3DLIGHT));
  const bool isDefault = kind == BS_DEFPUSHBUTTON && !isOff;
  FrameRect(draw.hdc, &area, CTheme::Get().GetBrush(isDefault ? COLOR_WINDOWTEXT : COLOR_BTNSHADOW));
  const bool hidesKeys = (SendMessageW(button, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) != 0;
  DrawLine(draw.hdc, area, TextOf(button), DT_CENTER | (hidesKeys ? DT_HIDEPREFIX : 0U),
           isOff ? COLOR_GRAYTEXT : COLOR_BTNTEXT);
  if (GetFocus() == button) {
    InflateRect(&area, -3, -3);
    FrameRect(draw.hdc, &area, CTheme::Get().GetBrush(COLOR_BTNTEXT));
  }
  return CDRF_SKIPDEFAULT;
}

LRESULT DrawDarkHeading(const NMCUSTOMDRAW& draw) {
  if (!CTheme::Get().IsDark()) return CDRF_DODEFAULT;
  if (draw.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (draw.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  wchar_t text[300] = L"";
  HDITEMW item{};
  item.mask = HDI_TEXT | HDI_FORMAT;
  item.pszText = text;
  item.cchTextMax = 300;
  SendMessageW(draw.hdr.hwndFrom, HDM_GETITEMW, draw.dwItemSpec, reinterpret_cast<LPARAM>(&item));
  RECT area = draw.rc;
  FillRect(draw.hdc, &area, CTheme::Get().GetBrush(COLOR_BTNFACE));
  RECT edge{area.right - 1, area.top, area.right, area.bottom};
  FillRect(draw.hdc, &edge, CTheme::Get().GetBrush(COLOR_BTNSHADOW));
  InflateRect(&area, -kTextPadding, 0);
  const bool isRight = (item.fmt & HDF_JUSTIFYMASK) == HDF_RIGHT;
  DrawLine(draw.hdc, area, text, (isRight ? DT_RIGHT : DT_LEFT) | DT_END_ELLIPSIS | DT_NOPREFIX,
           COLOR_BTNTEXT);
  return CDRF_SKIPDEFAULT;
}

bool CStatusBar::Create(HWND parent, UINT identifier) {
  return CreateControl(STATUSCLASSNAMEW, L"", {WS_VISIBLE | SBARS_SIZEGRIP, 0}, parent, identifier);
}

void CStatusBar::Paint() const {
  PAINTSTRUCT paint{};
  const HDC context = BeginPaint(m_window, &paint);
  RECT area = GetClientArea();
  FillRect(context, &area, CTheme::Get().GetBrush(COLOR_BTNFACE));
  RECT line{area.left, area.top, area.right, area.top + 1};
  FillRect(context, &line, CTheme::Get().GetBrush(COLOR_BTNSHADOW));
  const auto length = static_cast<size_t>(LOWORD(Send(SB_GETTEXTLENGTHW)));
  std::wstring text(length + 1, L'\0');
  Send(SB_GETTEXTW, 0, reinterpret_cast<LPARAM>(text.data()));
  text.resize(length);
  Send(SB_GETRECT, 0, reinterpret_cast<LPARAM>(&area));
  const HGDIOBJ font = SelectObject(context, reinterpret_cast<HFONT>(Send(WM_GETFONT)));
  DrawLine(context, area, text, DT_LEFT | DT_END_ELLIPSIS | DT_NOPREFIX, COLOR_BTNTEXT);
  SelectObject(context, font);
  EndPaint(m_window, &paint);
}

LRESULT CStatusBar::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (!CTheme::Get().IsDark()) return Default(message, wParam, lParam);
  if (message == WM_PAINT) {
    Paint();
    return 0;
  }
  return message == WM_ERASEBKGND ? 1 : Default(message, wParam, lParam);
}

void ColourList(HWND list) {
  const CTheme& theme = CTheme::Get();
  SendMessageW(list, LVM_SETBKCOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_WINDOW)));
  SendMessageW(list, LVM_SETTEXTBKCOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_WINDOW)));
  SendMessageW(list, LVM_SETTEXTCOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_WINDOWTEXT)));
  // The system draws them in light colours only.
  SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_GRIDLINES, theme.IsDark() ? 0 : LVS_EX_GRIDLINES);
}

void ColourTree(HWND tree) {
  const CTheme& theme = CTheme::Get();
  SendMessageW(tree, TVM_SETBKCOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_WINDOW)));
  SendMessageW(tree, TVM_SETTEXTCOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_WINDOWTEXT)));
  SendMessageW(tree, TVM_SETLINECOLOR, 0, static_cast<LPARAM>(theme.GetColour(COLOR_GRAYTEXT)));
}

void ColourBar(HWND bar) {
  const CTheme& theme = CTheme::Get();
  const bool isDark = theme.IsDark();
  SendMessageW(bar, PBM_SETBKCOLOR, 0,
               static_cast<LPARAM>(isDark ? theme.GetColour(COLOR_3DLIGHT) : CLR_DEFAULT));
  SendMessageW(bar, PBM_SETBARCOLOR, 0,
               static_cast<LPARAM>(isDark ? theme.GetColour(COLOR_HIGHLIGHT) : CLR_DEFAULT));
}

}  // namespace tolvane
