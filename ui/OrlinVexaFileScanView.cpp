#include "ui/OrlinVexaFileScanView.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "app/StartChoice.h"
#include "platform/Files.h"
#include "status/Status.h"
#include "ui/Resource.h"
#include "ui/ViewControls.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Theme.h"

namespace tolvane {

namespace {

constexpr UINT_PTR kWatchTimer = 1;
constexpr UINT kWatchPeriod = 150;
constexpr UINT kFirstRows = 20;  // until the list looks for the rows of another table

}  // namespace

// --- creation ---

bool COrlinVexaFileScanView::Create(HWND frame) {
  if (!RegisterWindowClass(TOLVANE_VIEW_CLASS, COLOR_WINDOW, 0)) return false;
  constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN;
  if (!CreateOwn(TOLVANE_VIEW_CLASS, L"", {kStyle, WS_EX_CONTROLPARENT}, frame,
                 reinterpret_cast<HMENU>(static_cast<UINT_PTR>(IDC_VIEW))))
    return false;
  m_pageFocus.Attach(m_window);
  m_commands.Attach(m_window);
  return m_parts.Create(m_window);
}

void COrlinVexaFileScanView::SetWorkflow(CRepairWorkflow& workflow) {
  m_workflow = &workflow;
  m_parts.records.SetWorkflow(workflow);
}

void COrlinVexaFileScanView::SetNotice(std::function<void(std::u16string_view)> notice) {
  m_parts.records.SetNotice(notice);
  m_commands.SetNotice(std::move(notice));
}

void COrlinVexaFileScanView::SetDpi(CDpi dpi) {
  m_dpi = dpi;
  SFonts previous = std::exchange(m_fonts, SFonts(dpi));
  SViewParts::ApplyFonts(m_window, m_fonts, GetPageTexts(m_state.page).step);
  m_parts.records.SetFonts(m_fonts, dpi);
  m_parts.map.SetDpi(dpi);
  Arrange();
}

// --- pages ---

void COrlinVexaFileScanView::ShowPage(EPageState page, bool isTemplateMode) {
  const bool isNewPage = page != m_state.page || !IsWindowVisible(GetDlgItem(m_window, IDC_TITLE));
  m_state.page = page;
  m_state.isTemplateMode = isTemplateMode;
  m_parts.standardMode.Choose(!isTemplateMode);
  m_parts.advanceMode.Choose(isTemplateMode);
  m_state.review = GetReview();
  Send(WM_SETREDRAW, FALSE);
  UpdateTexts();
  UpdateVisibility();
  SViewParts::ApplyFonts(m_window, m_fonts, GetPageTexts(m_state.page).step);
  Send(WM_SETREDRAW, TRUE);
  Arrange();
  m_parts.output.ShowEnd();  // a line without a width had shown none of its text
  if (isNewPage) m_pageFocus.ExpectPage();
  if (page != EPageState::Repairing && page != EPageState::Saving) return;
  if (isNewPage) SetStatusLine({});
  SetTimer(m_window, kWatchTimer, kWatchPeriod, nullptr);
}

void COrlinVexaFileScanView::UpdateTexts() {
  const SPageTexts& texts = GetPageTexts(m_state.page);
  GetItem(IDC_TITLE).SetText(m_workflow && m_workflow->HasSaveFailed() ? kBrokenSaveTitle : texts.title);
  GetItem(ID_NEXT).SetText(texts.next);
}

bool COrlinVexaFileScanView::IsShownHere(UINT identifier) const {
  const std::span<const SControl> controls = GetViewControls();
  const auto control = std::ranges::find(controls, identifier, &SControl::identifier);
  if (control == controls.end() || !control->IsOn(m_state.page)) return false;
  const bool isReview = m_state.page == EPageState::Repaired;
  switch (control->when) {
    case EWhen::Template:
      return m_state.isTemplateMode;
    case EWhen::Recent:
      return !m_parts.recentFiles.IsEmpty();
    case EWhen::Table:
      return isReview && IsTableShown();
    case EWhen::Overview:
      return !isReview || m_state.review == EReview::Overview;
    case EWhen::Held:
      return m_workflow && m_workflow->IsResultHeld();
    case EWhen::Always:
      break;
  }
  return true;
}

void COrlinVexaFileScanView::UpdateVisibility() {
  for (const SControl& control : GetViewControls())
    GetItem(control.identifier).Show(IsShownHere(control.identifier));
}

void COrlinVexaFileScanView::Arrange(bool isPageTheSame) {
  if (IsRectEmpty(std::array{GetClientArea()}.data())) return;
  CViewLayout layout(m_window, m_dpi, m_fonts, m_state, isPageTheSame);
  layout.Arrange();
  m_splitters.Take(layout);
  m_commandTop = layout.GetCommandTop();
  ShowSummaryScroller();
  if (m_state.page <= EPageState::FileSelected) m_parts.recentFiles.Show(m_dpi, m_fonts.message);
  // What only moves a little takes its picture along.
  if (!isPageTheSame)
    RedrawWindow(m_window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

EReview COrlinVexaFileScanView::GetReview() const {
  if (m_parts.tree.GetSelectedObject()) return EReview::Object;
  return m_parts.tree.IsTableSelected() ? EReview::Table : EReview::Overview;
}

std::u16string COrlinVexaFileScanView::GetSelectedTable() const {
  return m_state.page == EPageState::Repaired && m_parts.tree.IsTableSelected()
             ? m_parts.tree.GetSelectedName()
             : std::u16string();
}

void COrlinVexaFileScanView::ShowReview() {
  const EReview review = GetReview();
  if (review == m_state.review) return;
  m_state.review = review;
  UpdateVisibility();
  Arrange();
}

// The few lines about one table need none.
void COrlinVexaFileScanView::ShowSummaryScroller() const {
  ShowScrollBar(m_parts.summary.GetHandle(), SB_VERT,
                m_state.page != EPageState::Repaired || !IsTableShown());
}

UINT COrlinVexaFileScanView::GetDefaultButton() const {
  const HWND focus = GetFocus();
  if (m_parts.records.IsFind(focus)) return ID_FIND_NEXT;
  if (focus == GetDlgItem(m_window, IDC_RECENT_LIST)) return IDC_RECENT_LIST;
  if (m_state.page == EPageState::Saved) return m_workflow->HasSaveFailed() ? ID_BACK : ID_OPEN_FOLDER;
  return IsShownHere(ID_NEXT) ? ID_NEXT : 0;
}

void COrlinVexaFileScanView::EnableCommands(const SCommandSwitches& switches) {
  m_switches = switches;
  const bool isReview = m_state.page == EPageState::Repaired;
  GetItem(ID_NEXT).Enable(isReview ? switches.canSave && m_workflow->HasFindings() : switches.canRepair);
  GetItem(ID_STOP).Enable(switches.canStop);
  GetItem(ID_BACK).Enable(switches.canRepair);
  GetItem(ID_OPEN_FOLDER).Enable(!m_workflow->HasSaveFailed());
  // Only now the button that it goes to can be pressed.
  m_pageFocus.GoToPage(m_state.page, m_workflow->HasSaveFailed());
}

void COrlinVexaFileScanView::SetSelectedFile(std::u16string_view path) {
  m_parts.file.SetText(path);
  m_parts.file.ShowEnd();
}

void COrlinVexaFileScanView::SetTemplateFile(std::u16string_view path) {
  m_parts.templateFile.SetText(path);
  m_parts.templateFile.ShowEnd();
}

void COrlinVexaFileScanView::SetHint(std::u16string_view text) {
  GetItem(IDC_HINT).SetText(text.empty() ? GetPageTexts(m_state.page).hint : text);
}

void COrlinVexaFileScanView::SetStatusLine(std::u16string_view text) {
  GetItem(IDC_STATUS_LINE).SetText(text);
}

void COrlinVexaFileScanView::SetSummary(std::u16string_view text) {
  m_parts.summary.SetText(text);
  ShowSummaryScroller();
}

void COrlinVexaFileScanView::SetOutputPath(std::u16string_view path) {
  m_parts.output.SetText(path);
  m_parts.output.ShowEnd();
}

void COrlinVexaFileScanView::SetTables(const std::vector<STableItem>& tables) {
  m_parts.tree.SetTables(tables);
  ShowReview();
  m_isMapDue = m_workflow != nullptr;  // of a file without tables, too
  m_parts.map.SetPages(m_workflow ? &m_workflow->GetResultView().GetPages() : nullptr);
  SetTimer(m_window, kWatchTimer, kWatchPeriod, nullptr);
}

void COrlinVexaFileScanView::SetRecentFiles(const std::vector<std::u16string>& paths) {
  m_parts.recentFiles.SetPaths(paths);
  m_parts.recentFiles.Show(m_dpi, m_fonts.message);
  UpdateVisibility();
}

// The bar and what it is about, together.
void COrlinVexaFileScanView::RefreshProgress() {
  m_parts.progress.Refresh();
  SetStatusLine(CStatusProgress::Instance().GetText());
}

void COrlinVexaFileScanView::ShowOverall(int percent, std::u16string_view text) const {
  GetItem(IDC_OVERALL).Send(PBM_SETPOS, static_cast<WPARAM>(percent));
  GetItem(IDC_OVERALL).SetText(text);
  GetItem(IDC_OVERALL_NOTE).SetText(text);
}

// A path that was typed or pasted is chosen when the keyboard leaves it or the user goes on.
void COrlinVexaFileScanView::TakeTypedPaths() {
  if (!m_workflow || m_state.page > EPageState::FileSelected) return;
  const auto take = [](const CReadOnlyEdit& edit, const std::u16string& known, auto select) {
    const std::u16string typed = ReadTypedPath(edit.GetText());
    if (!typed.empty() && typed != known)
      select(GetAbsolutePath(typed));
    else if (edit.GetText() != known)
      edit.SetText(known);
  };
  const COvRepairFileManager& manager = m_workflow->GetManager();
  take(m_parts.templateFile, manager.GetTemplatePath(),
       [this](const std::u16string& path) { m_workflow->SelectTemplateFile(path); });
  take(m_parts.file, manager.GetCorruptedPath(),
       [this](const std::u16string& path) { m_workflow->SelectCorruptedFile(path); });
}

// --- preview ---

void COrlinVexaFileScanView::RefreshRecords() {
  m_parts.records.Refresh();
  m_parts.records.ShowCell();
  WatchRecords();
}

// Until the preview's thread has ended, the rows that have come since are added now and then.
void COrlinVexaFileScanView::WatchRecords() {
  m_parts.records.Refresh();
  SetTimer(m_window, kWatchTimer, kFirstRows, nullptr);
}

void COrlinVexaFileScanView::OnTreeChanged() {
  if (!m_workflow || m_parts.tree.IsFilling()) return;
  m_parts.records.Cancel();
  ShowReview();
  if (const auto object = m_parts.tree.GetSelectedObject())
    m_workflow->GetResultView().SelectObject(*object);
  else
    m_workflow->GetResultView().SelectItem(m_parts.tree.GetSelectedName());
  WatchRecords();
}

void COrlinVexaFileScanView::OnTimer(UINT_PTR timer) {
  if (timer == CRecordPane::kFindTimer) return m_parts.records.ContinueFind();
  if (timer == CRecordPane::kCopyTimer) return m_parts.records.ContinueCopy();
  if (timer != kWatchTimer) return;
  const bool isBusy = CPreviewThreadStatus::Instance().IsBusy();
  const bool isWorking = m_state.page == EPageState::Repairing || m_state.page == EPageState::Saving;
  if (isWorking && m_watch) m_watch();
  m_parts.records.Refresh();
  const bool isMapDue = m_workflow && m_workflow->GetResultView().GetPages().IsWorking();
  if (m_isMapDue && !isMapDue) m_parts.map.SetPages(&m_workflow->GetResultView().GetPages());
  m_isMapDue = isMapDue;
  if (isBusy || isWorking || isMapDue)
    SetTimer(m_window, kWatchTimer, kWatchPeriod, nullptr);
  else
    KillTimer(m_window, kWatchTimer);
}

// --- commands ---

void COrlinVexaFileScanView::OnCommand(UINT identifier, UINT notification) {
  switch (identifier) {
    case IDC_MODE_STANDARD:
    case IDC_MODE_TEMPLATE:
      if (notification == BN_CLICKED && m_workflow) m_workflow->ChooseMode(identifier == IDC_MODE_TEMPLATE);
      return;
    case IDC_RECENT_LIST:
      if (notification == LBN_DBLCLK || notification == BN_CLICKED) break;
      return;
    case IDC_FILE:
    case IDC_TEMPLATE_FILE:
      if (notification == EN_KILLFOCUS) TakeTypedPaths();
      return;
    case IDCANCEL:
      if (m_parts.records.Cancel() || !m_switches.canStop) return;
      identifier = ID_STOP;
      break;
    default:
      if (identifier < ID_NEW_REPAIR) return;
      break;
  }
  SendMessageW(GetParent(m_window), WM_COMMAND, identifier, 0);
}

LRESULT COrlinVexaFileScanView::OnNotify(NMHDR* header) {
  if (header->code == NM_CUSTOMDRAW && header->idFrom >= ID_NEW_REPAIR)
    return DrawDarkButton(*reinterpret_cast<NMCUSTOMDRAW*>(header));
  if (header->idFrom == IDC_RECORDS) return m_parts.records.OnNotify(header);
  if (header->idFrom == IDC_TREE && header->code == NM_CUSTOMDRAW)
    return CTreeControl::OnCustomDraw(*reinterpret_cast<NMTVCUSTOMDRAW*>(header));
  if (header->idFrom == IDC_TREE && header->code == TVN_SELCHANGEDW) OnTreeChanged();
  return 0;
}

// --- drawing and splitting ---

LRESULT COrlinVexaFileScanView::OnControlColour(HDC context, HWND control) const {
  const auto identifier = static_cast<UINT>(GetDlgCtrlID(control));
  const bool isStep = identifier >= IDC_STEP_CHOOSE && identifier <= IDC_STEP_SAVE;
  const bool isOther = isStep && identifier != GetPageTexts(m_state.page).step;
  return CTheme::Get().ColourControl(context, COLOR_WINDOW, isOther ? COLOR_GRAYTEXT : COLOR_WINDOWTEXT);
}

void COrlinVexaFileScanView::Paint() {
  PAINTSTRUCT paint{};
  const HDC context = BeginPaint(m_window, &paint);
  RECT bar = GetClientArea();
  FillRect(context, &bar, CTheme::Get().GetBrush(COLOR_WINDOW));
  bar.top = m_commandTop;
  FillRect(context, &bar, CTheme::Get().GetBrush(COLOR_BTNFACE));
  bar.bottom = bar.top + 1;
  FillRect(context, &bar, CTheme::Get().GetBrush(COLOR_BTNSHADOW));
  EndPaint(m_window, &paint);
}

LRESULT COrlinVexaFileScanView::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  const POINT point{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  switch (message) {
    case WM_SIZE:
      Arrange();
      return 0;
    case WM_PAINT:
      Paint();
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam), HIWORD(wParam));
      return 0;
    case WM_NOTIFY:
      return OnNotify(reinterpret_cast<NMHDR*>(lParam));
    case WM_TIMER:
      OnTimer(wParam);
      return 0;
    case WM_ERASEBKGND:
      return 1;  // Paint covers everything
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
      return OnControlColour(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    case WM_NEXTDLGCTL:  // to a control, or else to the next or the one before
      SetFocus(LOWORD(lParam) != 0 ? reinterpret_cast<HWND>(wParam)
                                   : GetNextDlgTabItem(m_window, GetFocus(), wParam != 0));
      return 0;
    case DM_GETDEFID:
      return GetDefaultButton() != 0 ? MAKELRESULT(GetDefaultButton(), DC_HASDEFID) : 0;
    case WM_CONTEXTMENU:
      return m_commands.ShowMenu(reinterpret_cast<HWND>(wParam), point) ? 0
                                                                        : Default(message, wParam, lParam);
    case WM_SETCURSOR:
      return m_splitters.ShowCursor(m_window) ? TRUE : Default(message, wParam, lParam);
    case WM_LBUTTONDOWN:
      m_splitters.Begin(m_window, point);
      return 0;
    case WM_MOUSEMOVE:
      if (m_splitters.Drag(point, m_dpi, m_state)) Arrange(true);
      return 0;
    case WM_LBUTTONUP:
      ReleaseCapture();
      return 0;
    case WM_CAPTURECHANGED:
      m_splitters.End();
      return 0;
    default:
      return Default(message, wParam, lParam);
  }
}

}  // namespace tolvane
