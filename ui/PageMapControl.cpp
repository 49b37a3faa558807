#include "ui/PageMapControl.h"

#include <windowsx.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "ui/win/Theme.h"

namespace tolvane {

namespace {

// Pixels at 96 DPI.
constexpr int kCell = 12;

// How a look is drawn: its colours on a light and on a dark page, the same as in reports, and a mark that is
// told without colours.
enum class EMark : uint8_t { None, Dot, Lines, Grid, Slashes, Bars, Letter, Dots, Ring, Corner, Cross, Call };
struct SLookStyle {
  COLORREF light, dark;
  EMark mark;
};
constexpr std::array<SLookStyle, static_cast<size_t>(EPageLook::Count_)> kStyles{{
    {RGB(255, 255, 255), RGB(15, 19, 24), EMark::None},
    {RGB(238, 241, 244), RGB(35, 42, 51), EMark::Dot},
    {RGB(182, 211, 240), RGB(53, 89, 126), EMark::Lines},
    {RGB(207, 195, 234), RGB(91, 77, 134), EMark::Grid},
    {RGB(243, 200, 155), RGB(149, 96, 42), EMark::Slashes},
    {RGB(124, 192, 138), RGB(47, 125, 69), EMark::None},
    {RGB(79, 143, 214), RGB(63, 134, 216), EMark::Bars},
    {RGB(107, 119, 133), RGB(138, 150, 163), EMark::Letter},
    {RGB(231, 227, 176), RGB(124, 119, 56), EMark::Dots},
    {RGB(242, 208, 75), RGB(201, 162, 39), EMark::Ring},
    {RGB(124, 192, 138), RGB(47, 125, 69), EMark::Corner},
    {RGB(209, 36, 47), RGB(240, 80, 79), EMark::Cross},
    {RGB(17, 17, 17), RGB(0, 0, 0), EMark::Call},
}};

void Line(HDC context, const RECT& area, int left, int top, int right, int bottom) {
  // In elevenths of the cell.
  const auto x = [&](int at) { return area.left + at * (area.right - area.left) / 11; };
  const auto y = [&](int at) { return area.top + at * (area.bottom - area.top) / 11; };
  MoveToEx(context, x(left), y(top), nullptr);
  LineTo(context, x(right), y(bottom));
}

void Mark(HDC context, const RECT& area, EMark mark) {
  struct SStroke {
    EMark mark;
    int left, top, right, bottom;
  };
  static constexpr SStroke kStrokes[] = {
      {EMark::Dot, 5, 5, 6, 5},      {EMark::Lines, 1, 3, 10, 3},    {EMark::Lines, 1, 6, 10, 6},
      {EMark::Lines, 1, 9, 10, 9},   {EMark::Grid, 4, 1, 4, 10},     {EMark::Grid, 7, 1, 7, 10},
      {EMark::Grid, 1, 4, 10, 4},    {EMark::Grid, 1, 7, 10, 7},     {EMark::Slashes, 1, 9, 10, 0},
      {EMark::Slashes, 1, 5, 6, 0},  {EMark::Slashes, 5, 10, 10, 5}, {EMark::Bars, 3, 1, 3, 10},
      {EMark::Bars, 6, 1, 6, 10},    {EMark::Bars, 9, 1, 9, 10},     {EMark::Letter, 3, 2, 3, 10},
      {EMark::Letter, 8, 2, 8, 10},  {EMark::Letter, 3, 6, 8, 6},    {EMark::Dots, 3, 5, 4, 5},
      {EMark::Dots, 7, 5, 8, 5},     {EMark::Ring, 3, 3, 8, 3},      {EMark::Ring, 8, 3, 8, 8},
      {EMark::Ring, 8, 8, 3, 8},     {EMark::Ring, 3, 8, 3, 3},      {EMark::Corner, 2, 10, 10, 2},
      {EMark::Corner, 5, 10, 10, 5}, {EMark::Corner, 8, 10, 10, 8},  {EMark::Cross, 2, 2, 10, 10},
      {EMark::Cross, 9, 2, 1, 10},   {EMark::Call, 5, 2, 5, 7},      {EMark::Call, 5, 8, 5, 10}};
  for (const SStroke& stroke : kStrokes)
    if (stroke.mark == mark) Line(context, area, stroke.left, stroke.top, stroke.right, stroke.bottom);
}

}  // namespace

bool CPageMapControl::Create(HWND parent, UINT identifier,
                             std::function<void(const std::u16string&)> onChosen) {
  m_onChosen = std::move(onChosen);
  return CreateControl(L"STATIC", L"Page map", {WS_TABSTOP | WS_GROUP | SS_NOTIFY | SS_OWNERDRAW, 0}, parent,
                       identifier);
}

void CPageMapControl::SetPages(const CFilePages* pages) {
  m_pages = pages;
  m_current = 0;
  m_isChosen = false;
  Fit();
  Tell();
}

// Cells of the size that shows the marks; where there are too many pages, several share one.
void CPageMapControl::Fit() {
  m_blocks = {};
  const CPageBlocks* const blocks = m_pages ? m_pages->GetBlocks() : nullptr;
  const RECT area = GetClientArea();
  m_cell = m_dpi.Scale(kCell);
  m_columns = static_cast<size_t>(std::max<LONG>(1, area.right / m_cell));
  const auto lines = static_cast<size_t>(std::max<LONG>(1, area.bottom / m_cell));
  if (blocks) m_blocks = blocks->Reduce(m_columns * lines);
  m_current = std::min(m_current, GetCellCount() > 0 ? GetCellCount() - 1 : 0);
  Invalidate();
}

RECT CPageMapControl::AreaOf(size_t cell) const {
  const auto left = static_cast<LONG>(cell % m_columns) * m_cell;
  const auto top = static_cast<LONG>(cell / m_columns) * m_cell;
  return {left, top, left + m_cell - 1, top + m_cell - 1};
}

void CPageMapControl::PaintCell(HDC context, size_t cell) const {
  const SLookStyle& style = kStyles[static_cast<size_t>(m_blocks.GetLooks()[cell])];
  RECT area = AreaOf(cell);
  const bool isPlain = CTheme::Get().IsHighContrast();
  const COLORREF own = CTheme::Get().IsDark() ? style.dark : style.light;
  SetDCBrushColor(context, isPlain ? CTheme::Get().GetColour(COLOR_WINDOW) : own);
  FillRect(context, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
  const int brightness = GetRValue(own) * 3 + GetGValue(own) * 6 + GetBValue(own);
  SetDCPenColor(context, isPlain             ? CTheme::Get().GetColour(COLOR_WINDOWTEXT)
                         : brightness > 1100 ? RGB(0, 0, 0)
                                             : RGB(255, 255, 255));
  Mark(context, area, style.mark);
  FrameRect(context, &area, CTheme::Get().GetBrush(COLOR_BTNSHADOW));
}

void CPageMapControl::Paint(HDC context) const {
  const RECT area = GetClientArea();
  const HDC memory = CreateCompatibleDC(context);
  const HBITMAP picture = CreateCompatibleBitmap(context, area.right, area.bottom);
  const HGDIOBJ previous = SelectObject(memory, picture);
  FillRect(memory, &area, CTheme::Get().GetBrush(COLOR_WINDOW));
  SelectObject(memory, GetStockObject(DC_PEN));
  for (size_t cell = 0; cell < GetCellCount(); ++cell) PaintCell(memory, cell);
  if (GetCellCount() > 0 && (m_isChosen || GetFocus() == m_window)) {
    RECT current = AreaOf(m_current);
    FrameRect(memory, &current, CTheme::Get().GetBrush(COLOR_WINDOWTEXT));
    InflateRect(&current, -1, -1);
    FrameRect(memory, &current, CTheme::Get().GetBrush(COLOR_WINDOW));
    InflateRect(&current, 2, 2);
    if (GetFocus() == m_window) FrameRect(memory, &current, CTheme::Get().GetBrush(COLOR_HIGHLIGHT));
  }
  BitBlt(context, 0, 0, area.right, area.bottom, memory, 0, 0, SRCCOPY);
  SelectObject(memory, previous);
  DeleteObject(picture);
  DeleteDC(memory);
}

void CPageMapControl::Choose(size_t cell) {
  if (cell >= GetCellCount()) return;
  m_current = cell;
  m_isChosen = true;
  Invalidate();
  Tell();
}

void CPageMapControl::Tell() const {
  if (GetCellCount() == 0) {
    SetText(u"Page map");
    m_onChosen(m_pages && m_pages->IsWorking() ? u"The pages are being looked at." : u"");
    return;
  }
  std::u16string text = m_pages->DescribeAll();
  if (m_isChosen) {
    const uint64_t first = m_current * m_blocks.GetPagesPerBlock();
    text = m_pages->Describe(first, std::min(m_blocks.GetPagesPerBlock(), m_blocks.GetPageCount() - first),
                             m_blocks.GetLooks()[m_current]);
  }
  SetText(u"Page map, " + text);
  m_onChosen(text);
}

void CPageMapControl::Click(POINT point) {
  SetFocus(m_window);
  if (point.x < 0 || point.y < 0 || static_cast<size_t>(point.x / m_cell) >= m_columns) return;
  Choose(static_cast<size_t>(point.y / m_cell) * m_columns + static_cast<size_t>(point.x / m_cell));
}

bool CPageMapControl::OnKey(WPARAM key) {
  // In front of the first cell numbers are beyond the last one, where nothing can be chosen.
  const std::pair<WPARAM, size_t> targets[] = {{VK_LEFT, m_current - 1},
                                               {VK_RIGHT, m_current + 1},
                                               {VK_UP, m_current - m_columns},
                                               {VK_DOWN, m_current + m_columns},
                                               {VK_HOME, 0},
                                               {VK_END, GetCellCount() - 1}};
  const auto* const target = std::ranges::find(targets, key, &std::pair<WPARAM, size_t>::first);
  if (target == std::end(targets)) return false;
  Choose(target->second);
  return true;
}

LRESULT CPageMapControl::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT: {
      PAINTSTRUCT paint{};
      Paint(BeginPaint(m_window, &paint));
      EndPaint(m_window, &paint);
      return 0;
    }
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      Fit();
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS;
    case WM_NCHITTEST:
      return HTCLIENT;
    case WM_LBUTTONDOWN:
      Click({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
      return 0;
    case WM_KEYDOWN:
      return OnKey(wParam) ? 0 : Default(message, wParam, lParam);
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      Invalidate();
      return 0;
    default:
      return Default(message, wParam, lParam);
  }
}

}  // namespace tolvane
