#include "ui/RecordList.h"

#include <algorithm>
#include <limits>

#include "platform/Wide_win.h"
#include "ui/Clipboard.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Theme.h"

namespace tolvane {

namespace {

// The list draws no more of a cell.
constexpr size_t kDrawnUnits = 259;
// Widths of columns, in pixels at 96 DPI, and the cells that are measured for them.
constexpr int kNarrowestColumn = 48;
constexpr int kWidestColumn = 320;
constexpr int kColumnPadding = 16;
constexpr size_t kCellsMeasured = 2000;
constexpr size_t kRowsMeasured = 30;

constexpr DWORD kExtendedStyle =
    LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER | LVS_EX_HEADERDRAGDROP | LVS_EX_LABELTIP;

}  // namespace

bool CRecordList::Create(HWND parent, UINT identifier, SActions actions) {
  m_actions = std::move(actions);
  constexpr DWORD kStyle = WS_TABSTOP | WS_GROUP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS;
  if (!CreateControl(WC_LISTVIEWW, L"Records", {kStyle, WS_EX_CLIENTEDGE}, parent, identifier)) return false;
  Send(LVM_SETEXTENDEDLISTVIEWSTYLE, 0, kExtendedStyle);
  return true;
}

// The list lays itself out anew with every column that comes or goes, unless it is told that nobody looks.
class CRecordList::CPauseDrawing {
 public:
  explicit CPauseDrawing(const CRecordList& list) : m_list(list) { m_list.Send(WM_SETREDRAW, FALSE); }
  CPauseDrawing(const CPauseDrawing&) = delete;
  CPauseDrawing& operator=(const CPauseDrawing&) = delete;
  ~CPauseDrawing() {
    m_list.Send(WM_SETREDRAW, TRUE);
    m_list.Invalidate();
  }

 private:
  const CRecordList& m_list;
};

void CRecordList::Reset() {
  const CPauseDrawing pause(*this);
  Send(LVM_SETITEMCOUNT, 0);
  for (size_t i = m_columns.size(); i-- > 0;) Send(LVM_DELETECOLUMN, i);
  m_columns.clear();
  m_rows = 0;
  m_column = 0;
}

void CRecordList::Refresh() {
  if (!m_records) return;
  if (m_records->GetGeneration() != m_generation) {
    m_generation = m_records->GetGeneration();
    Reset();
  }
  AddColumns();
  const size_t rows =
      std::min(m_records->GetItemCount(), static_cast<size_t>(std::numeric_limits<int>::max()));
  if (rows == m_rows) return;
  if (m_rows == 0) FitColumns(rows);
  m_rows = rows;
  Send(LVM_SETITEMCOUNT, rows, LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
}

void CRecordList::AddColumns() {
  const std::vector<CRecordStore::SColumn> columns = m_records->GetColumns();
  if (columns.size() == m_columns.size()) return;
  const CPauseDrawing pause(*this);
  for (size_t i = m_columns.size(); i < columns.size(); ++i) {
    std::wstring heading = ToWide(columns[i].heading);
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM | LVCF_FMT;
    column.fmt = columns[i].isNumber ? LVCFMT_RIGHT : LVCFMT_LEFT;
    column.cx = m_dpi.Scale(std::clamp(columns[i].width, kNarrowestColumn, kWidestColumn));
    column.pszText = heading.data();
    column.iSubItem = static_cast<int>(i);
    Send(LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    // The first one is put to the left when it comes.
    column.mask = LVCF_FMT;
    if (i == 0) Send(LVM_SETCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
    m_columns.push_back(columns[i]);
  }
  WidenLastColumn();
}

// To what the first rows hold.
void CRecordList::FitColumns(size_t rows) {
  if (m_columns.empty()) return;
  const CPauseDrawing pause(*this);
  rows = std::min({rows, kRowsMeasured, kCellsMeasured / m_columns.size() + 1});
  for (size_t column = 0; column < m_columns.size(); ++column) {
    LRESULT widest = WidthOf(m_columns[column].heading);
    for (size_t row = 0; row < rows; ++row)
      widest = std::max(widest, WidthOf(m_records->GetCell(row, column, kDrawnUnits)));
    const auto width = static_cast<int>(widest) + m_dpi.Scale(kColumnPadding);
    Send(LVM_SETCOLUMNWIDTH, column,
         std::clamp(width, m_dpi.Scale(kNarrowestColumn), m_dpi.Scale(kWidestColumn)));
  }
  WidenLastColumn();
}

LRESULT CRecordList::WidthOf(std::u16string_view text) const {
  std::u16string line;
  AppendInOneLine(line, text);
  return Send(LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(ToWide(line).c_str()));
}

// Into what is left of the list.
void CRecordList::WidenLastColumn() const {
  LRESULT others = GetSystemMetrics(SM_CXVSCROLL);
  for (size_t i = 0; i + 1 < m_columns.size(); ++i) others += Send(LVM_GETCOLUMNWIDTH, i);
  const size_t last = m_columns.size() - 1;
  const LRESULT room = GetClientArea().right - others;
  if (room > Send(LVM_GETCOLUMNWIDTH, last)) Send(LVM_SETCOLUMNWIDTH, last, room);
}

void CRecordList::Rescale(CDpi dpi) {
  for (size_t i = 0; i < m_columns.size(); ++i) {
    const auto width = static_cast<int>(Send(LVM_GETCOLUMNWIDTH, i));
    Send(LVM_SETCOLUMNWIDTH, i, dpi.Scale(m_dpi.Unscale(width)));
  }
  m_dpi = dpi;
}

int CRecordList::GetFocusedRow() const {
  return static_cast<int>(Send(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED));
}

std::optional<CRecordStore::SPlace> CRecordList::GetPlace() const {
  const int row = GetFocusedRow();
  if (row < 0 || m_column >= m_columns.size()) return std::nullopt;
  return CRecordStore::SPlace{static_cast<size_t>(row), m_column};
}

void CRecordList::GoTo(CRecordStore::SPlace place) {
  Refresh();
  if (place.item >= m_rows) return;
  LVITEMW state{};
  state.stateMask = LVIS_SELECTED;
  Send(LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
  state.stateMask = state.state = LVIS_SELECTED | LVIS_FOCUSED;
  Send(LVM_SETITEMSTATE, place.item, reinterpret_cast<LPARAM>(&state));
  Send(LVM_ENSUREVISIBLE, place.item, FALSE);
  SetColumn(place.column);
}

std::u16string CRecordList::GetHeading(size_t column) const {
  return column < m_columns.size() ? m_columns[column].heading : std::u16string();
}

void CRecordList::SetColumn(size_t column) {
  if (column >= m_columns.size()) return;
  m_column = column;
  ShowColumn();
  const int row = GetFocusedRow();
  if (row >= 0) Send(LVM_REDRAWITEMS, static_cast<WPARAM>(row), row);
  m_actions.onCellChanged();
}

void CRecordList::ShowColumn() const {
  RECT cell{};
  const HWND header = reinterpret_cast<HWND>(Send(LVM_GETHEADER));
  if (!SendMessageW(header, HDM_GETITEMRECT, m_column, reinterpret_cast<LPARAM>(&cell))) return;
  const int scrolled = GetScrollPos(m_window, SB_HORZ);
  const LONG width = GetClientArea().right;
  LONG distance = 0;
  if (cell.right > scrolled + width) distance = cell.right - scrolled - width;
  if (cell.left < scrolled + distance) distance = cell.left - scrolled;
  if (distance != 0) Send(LVM_SCROLL, static_cast<WPARAM>(distance), 0);
}

bool CRecordList::CopyCell() const {
  const auto place = GetPlace();
  return m_records && place &&
         CopyTextToClipboard(m_window, m_records->GetPlainCell(place->item, place->column));
}

size_t CRecordList::GetSelectedCount() const {
  return static_cast<size_t>(Send(LVM_GETSELECTEDCOUNT));
}

void CRecordList::BeginCopy(CRecordCopy& copy, bool hasHeadings) const {
  std::u16string headings;
  for (size_t column = 0; hasHeadings && column < m_columns.size(); ++column) {
    AppendInOneLine(headings, m_columns[column].heading);
    headings += column + 1 < m_columns.size() ? u"\t" : u"\r\n";
  }
  copy.Begin(m_window, *m_records, m_columns.size(), std::move(headings));
}

void CRecordList::SelectAll() const {
  const CPauseDrawing pause(*this);
  LVITEMW state{};
  state.stateMask = state.state = LVIS_SELECTED;
  Send(LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
}

LRESULT CRecordList::OnNotify(NMHDR* header) {
  switch (header->code) {
    case LVN_GETDISPINFOW:
      OnGetDisplayInfo(*reinterpret_cast<NMLVDISPINFOW*>(header));
      return 0;
    case NM_CLICK:
    case NM_RCLICK:
      OnClick(*reinterpret_cast<NMITEMACTIVATE*>(header));
      return 0;
    case NM_DBLCLK:
      OnClick(*reinterpret_cast<NMITEMACTIVATE*>(header));
      if (GetPlace()) m_actions.onCellOpened();
      return 0;
    case LVN_ITEMCHANGED: {
      const auto& change = *reinterpret_cast<NMLISTVIEW*>(header);
      if ((change.uNewState & ~change.uOldState & LVIS_FOCUSED) != 0) m_actions.onCellChanged();
      return 0;
    }
    case LVN_ODFINDITEMW:
      return -1;  // typing searches nothing; Find does
    case NM_CUSTOMDRAW:
      return OnCustomDraw(*reinterpret_cast<NMLVCUSTOMDRAW*>(header));
    default:
      return 0;
  }
}

void CRecordList::OnGetDisplayInfo(NMLVDISPINFOW& info) const {
  if ((info.item.mask & LVIF_TEXT) == 0 || info.item.cchTextMax < 1) return;
  info.item.pszText[0] = L'\0';
  if (!m_records || info.item.iItem < 0 || info.item.iSubItem < 0) return;
  const auto limit = std::min(kDrawnUnits, static_cast<size_t>(info.item.cchTextMax) - 1);
  std::u16string shown;
  AppendInOneLine(shown, m_records->GetCell(static_cast<size_t>(info.item.iItem),
                                            static_cast<size_t>(info.item.iSubItem), limit));
  shown.resize(std::min(shown.size(), limit));
  std::ranges::copy(shown, info.item.pszText);
  info.item.pszText[shown.size()] = L'\0';
}

void CRecordList::OnClick(const NMITEMACTIVATE& click) {
  LVHITTESTINFO hit{};
  hit.pt = click.ptAction;
  if (Send(LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit)) >= 0 && hit.iSubItem >= 0)
    SetColumn(static_cast<size_t>(hit.iSubItem));
}

LRESULT CRecordList::OnCustomDraw(NMLVCUSTOMDRAW& draw) const {
  switch (draw.nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
      return CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT:
      // As strong without the keyboard as with it; the frame of the current cell tells the two apart.
      if ((Send(LVM_GETITEMSTATE, draw.nmcd.dwItemSpec, LVIS_SELECTED) & LVIS_SELECTED) == 0)
        return CDRF_NOTIFYPOSTPAINT;
      draw.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
      draw.clrText = CTheme::Get().GetColour(COLOR_HIGHLIGHTTEXT);
      draw.clrTextBk = CTheme::Get().GetColour(COLOR_HIGHLIGHT);
      return CDRF_NOTIFYPOSTPAINT | CDRF_NEWFONT;
    case CDDS_ITEMPOSTPAINT:
      FrameCell(draw.nmcd.hdc, static_cast<int>(draw.nmcd.dwItemSpec));
      return CDRF_DODEFAULT;
    default:
      return CDRF_DODEFAULT;
  }
}

RECT CRecordList::GetCellArea(int row) const {
  RECT column{};
  RECT line{};
  line.left = LVIR_BOUNDS;
  const HWND header = reinterpret_cast<HWND>(Send(LVM_GETHEADER));
  SendMessageW(header, HDM_GETITEMRECT, m_column, reinterpret_cast<LPARAM>(&column));
  Send(LVM_GETITEMRECT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&line));
  const int scrolled = GetScrollPos(m_window, SB_HORZ);
  return {column.left - scrolled, line.top, column.right - scrolled - 1, line.bottom - 1};
}

POINT CRecordList::GetCellPoint() const {
  const int row = GetFocusedRow();
  const RECT cell = row < 0 ? RECT{} : GetCellArea(row);
  POINT point{cell.left, cell.bottom};
  ClientToScreen(m_window, &point);
  return point;
}

// Inside the cell, in a colour that is seen on selected rows and on others.
void CRecordList::FrameCell(HDC context, int row) const {
  if (row != GetFocusedRow()) return;
  RECT cell = GetCellArea(row);
  FrameRect(context, &cell, CTheme::Get().GetBrush(COLOR_WINDOWTEXT));
  InflateRect(&cell, -1, -1);
  FrameRect(context, &cell, CTheme::Get().GetBrush(COLOR_WINDOW));
}

bool CRecordList::OnKey(WPARAM key) {
  if (GetKeyState(VK_CONTROL) < 0) return false;
  switch (key) {
    case VK_LEFT:
      if (m_column > 0) SetColumn(m_column - 1);
      return true;
    case VK_RIGHT:
      SetColumn(m_column + 1);
      return true;
    case VK_RETURN:
      if (GetPlace()) m_actions.onCellOpened();
      return true;
    default:
      return false;
  }
}

LRESULT CRecordList::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_KEYDOWN && OnKey(wParam)) return 0;
  if (message == WM_NOTIFY && reinterpret_cast<NMHDR*>(lParam)->code == NM_CUSTOMDRAW)
    if (const LRESULT drawn = DrawDarkHeading(*reinterpret_cast<NMCUSTOMDRAW*>(lParam))) return drawn;
  // Enter opens the cell instead of pressing the window's default button.
  if (message == WM_GETDLGCODE) {
    const auto* const asked = reinterpret_cast<const MSG*>(lParam);
    const bool isEnter = asked && asked->message == WM_KEYDOWN && asked->wParam == VK_RETURN;
    return Default(message, wParam, lParam) | (isEnter ? DLGC_WANTMESSAGE : 0);
  }
  return Default(message, wParam, lParam);
}

}  // namespace tolvane
