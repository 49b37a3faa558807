#include "ui/win/DarkMenu.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "ui/win/Theme.h"

namespace tolvane {

namespace {

// Pixels at 96 DPI.
constexpr int kMarkWidth = 26;
constexpr int kEndWidth = 18;
constexpr int kBetweenTexts = 24;
constexpr int kBarPadding = 2;  // the system adds the rest
constexpr int kLinePadding = 4;
constexpr int kSeparatorHeight = 7;
constexpr wchar_t kMark[] = L"\x2022";

std::wstring TextOf(HMENU menu, UINT index) {
  wchar_t text[300] = L"";
  GetMenuStringW(menu, index, text, static_cast<int>(std::size(text)), MF_BYPOSITION);
  return text;
}

// "Left\tRight", without the mark of the access key.
SIZE SizeOf(HDC context, std::wstring_view text) {
  SIZE size{};
  RECT area{};
  const std::wstring shown(text);
  DrawTextW(context, shown.c_str(), static_cast<int>(shown.size()), &area, DT_CALCRECT | DT_SINGLELINE);
  size.cx = area.right;
  size.cy = area.bottom;
  return size;
}

}  // namespace

void CDarkMenu::ApplyToBar(HWND window, CDpi dpi) {
  m_dpi = dpi;
  m_font = CFont(dpi.GetMessageFont());
  Apply(GetMenu(window), true);
  DrawMenuBar(window);
}

// Only what is drawn otherwise is touched: a menu of the system's stays the system's.
void CDarkMenu::Apply(HMENU menu, bool isBar) {
  const CTheme& theme = CTheme::Get();
  MENUINFO look{};
  look.cbSize = sizeof(look);
  look.fMask = MIM_BACKGROUND;
  look.hbrBack = theme.IsDark() ? theme.GetBrush(COLOR_MENU) : nullptr;
  SetMenuInfo(menu, &look);
  const std::vector<std::unique_ptr<SItem>> before = std::exchange(m_items[menu], {});
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    const auto index = static_cast<UINT>(i);
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_DATA;
    GetMenuItemInfoW(menu, index, TRUE, &info);
    const bool isOurs = (info.fType & MFT_OWNERDRAW) != 0 && info.dwItemData != 0;
    if (!theme.IsDark() && !isOurs) continue;
    auto item = std::make_unique<SItem>();
    item->text = isOurs ? reinterpret_cast<const SItem*>(info.dwItemData)->text : TextOf(menu, index);
    item->accessible = {MSAA_MENU_SIG, static_cast<DWORD>(item->text.size()), item->text.data()};
    item->isInBar = isBar;
    item->isLine = (info.fType & MFT_SEPARATOR) != 0;
    item->isMarked = (info.fState & MFS_CHECKED) != 0;
    info.fMask = MIIM_FTYPE | MIIM_DATA | (item->isLine ? 0U : MIIM_STRING);
    info.dwTypeData = item->text.data();
    info.fType = theme.IsDark() ? info.fType | MFT_OWNERDRAW : info.fType & ~static_cast<UINT>(MFT_OWNERDRAW);
    info.dwItemData = theme.IsDark() ? reinterpret_cast<ULONG_PTR>(item.get()) : 0;
    SetMenuItemInfoW(menu, index, TRUE, &info);
    if (theme.IsDark()) m_items[menu].push_back(std::move(item));
  }
}

void CDarkMenu::Measure(MEASUREITEMSTRUCT& measure) const {
  const auto& item = *reinterpret_cast<const SItem*>(measure.itemData);
  if (item.isLine) {
    measure.itemHeight = static_cast<UINT>(m_dpi.Scale(kSeparatorHeight));
    return;
  }
  const HDC context = GetDC(nullptr);
  const HGDIOBJ font = SelectObject(context, m_font.GetHandle());
  const size_t tab = item.text.find(L'\t');
  const SIZE left = SizeOf(context, std::wstring_view(item.text).substr(0, tab));
  int width = left.cx;
  if (tab != std::wstring::npos)
    width += m_dpi.Scale(kBetweenTexts) + SizeOf(context, std::wstring_view(item.text).substr(tab + 1)).cx;
  SelectObject(context, font);
  ReleaseDC(nullptr, context);
  width += item.isInBar ? 2 * m_dpi.Scale(kBarPadding) : m_dpi.Scale(kMarkWidth) + m_dpi.Scale(kEndWidth);
  measure.itemWidth = static_cast<UINT>(width);
  measure.itemHeight = static_cast<UINT>(left.cy + 2 * m_dpi.Scale(kLinePadding));
}

void CDarkMenu::Draw(const DRAWITEMSTRUCT& draw) const {
  const auto& item = *reinterpret_cast<const SItem*>(draw.itemData);
  const CTheme& theme = CTheme::Get();
  const bool isOff = (draw.itemState & (ODS_GRAYED | ODS_DISABLED)) != 0;
  const bool isChosen = (draw.itemState & (ODS_SELECTED | ODS_HOTLIGHT)) != 0 && !isOff;
  RECT area = draw.rcItem;
  FillRect(draw.hDC, &area, theme.GetBrush(isChosen ? COLOR_HIGHLIGHT : COLOR_MENU));
  if (item.isLine) {
    area.top = (area.top + area.bottom) / 2;
    area.bottom = area.top + 1;
    FillRect(draw.hDC, &area, theme.GetBrush(COLOR_BTNSHADOW));
    return;
  }
  const HGDIOBJ font = SelectObject(draw.hDC, m_font.GetHandle());
  SetBkMode(draw.hDC, TRANSPARENT);
  SetTextColor(draw.hDC, theme.GetColour(isOff      ? COLOR_GRAYTEXT
                                         : isChosen ? COLOR_HIGHLIGHTTEXT
                                                    : COLOR_MENUTEXT));
  const UINT format = DT_SINGLELINE | DT_VCENTER | ((draw.itemState & ODS_NOACCEL) != 0 ? DT_HIDEPREFIX : 0U);
  const size_t tab = item.text.find(L'\t');
  const auto left = static_cast<int>(tab == std::wstring::npos ? item.text.size() : tab);
  if (item.isInBar) {
    DrawTextW(draw.hDC, item.text.c_str(), left, &area, format | DT_CENTER);
  } else {
    RECT mark{area.left, area.top, area.left + m_dpi.Scale(kMarkWidth), area.bottom};
    if (item.isMarked) DrawTextW(draw.hDC, kMark, 1, &mark, DT_SINGLELINE | DT_VCENTER | DT_CENTER);
    area.left = mark.right;
    area.right -= m_dpi.Scale(kEndWidth);
    DrawTextW(draw.hDC, item.text.c_str(), left, &area, format);
    if (tab != std::wstring::npos)
      DrawTextW(draw.hDC, &item.text[tab + 1], -1, &area,
                DT_SINGLELINE | DT_VCENTER | DT_RIGHT | DT_NOPREFIX);
  }
  SelectObject(draw.hDC, font);
}

void CDarkMenu::PaintBar(HWND window) const {
  MENUBARINFO bar{};
  bar.cbSize = sizeof(bar);
  const auto found = m_items.find(GetMenu(window));
  if (!CTheme::Get().IsDark() || found == m_items.end() || !GetMenuBarInfo(window, OBJID_MENU, 0, &bar))
    return;
  RECT frame{};
  GetWindowRect(window, &frame);
  const auto toWindow = [&frame](RECT area) {
    OffsetRect(&area, -frame.left, -frame.top);
    return area;
  };
  const HDC context = GetWindowDC(window);
  RECT area = toWindow(bar.rcBar);
  ++area.bottom;  // the line below it
  FillRect(context, &area, CTheme::Get().GetBrush(COLOR_MENU));
  for (size_t i = 0; i < found->second.size(); ++i) {
    MENUBARINFO place{};
    place.cbSize = sizeof(place);
    if (!GetMenuBarInfo(window, OBJID_MENU, static_cast<LONG>(i + 1), &place)) continue;
    DRAWITEMSTRUCT draw{};
    draw.CtlType = ODT_MENU;
    draw.hDC = context;
    draw.rcItem = toWindow(place.rcBar);
    draw.itemData = reinterpret_cast<ULONG_PTR>(found->second[i].get());
    if ((SendMessageW(window, WM_QUERYUISTATE, 0, 0) & UISF_HIDEACCEL) != 0) draw.itemState |= ODS_NOACCEL;
    if (place.fFocused) draw.itemState |= ODS_SELECTED;
    Draw(draw);
  }
  ReleaseDC(window, context);
}

// The system looks for access keys in the items that it draws.
std::optional<LRESULT> CDarkMenu::FindKey(wchar_t key, HMENU menu) const {
  const auto found = m_items.find(menu);
  if (found == m_items.end()) return std::nullopt;
  const auto fold = [](wchar_t unit) {
    return CharUpperW(reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(unit)));
  };
  for (size_t index = 0; index < found->second.size(); ++index) {
    const std::wstring& text = found->second[index]->text;
    for (size_t at = text.find(L'&'); at != std::wstring::npos && at + 1 < text.size();
         at = text.find(L'&', at + 2))
      if (text[at + 1] != L'&' && fold(text[at + 1]) == fold(key)) return MAKELRESULT(index, MNC_EXECUTE);
  }
  return std::nullopt;
}

std::optional<LRESULT> CDarkMenu::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_MEASUREITEM: {
      auto& measure = *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam);
      if (measure.CtlType != ODT_MENU || measure.itemData == 0) return std::nullopt;
      Measure(measure);
      return TRUE;
    }
    case WM_DRAWITEM: {
      const auto& draw = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
      if (draw.CtlType != ODT_MENU || draw.itemData == 0) return std::nullopt;
      Draw(draw);
      return TRUE;
    }
    case WM_MENUCHAR:
      if (!CTheme::Get().IsDark() || (HIWORD(wParam) & MF_SYSMENU) != 0) return std::nullopt;
      return FindKey(static_cast<wchar_t>(LOWORD(wParam)), reinterpret_cast<HMENU>(lParam));
    default:
      return std::nullopt;
  }
}

}  // namespace tolvane
