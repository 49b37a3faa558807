#include "ui/MainFrame.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>
#include <shellapi.h>

#include <VersionNumbers.h>
#include <algorithm>

#include "embedded/EmbeddedEngine.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"
#include "status/JobContext.h"
#include "ui/CrashNote.h"
#include "ui/FrameMenu.h"
#include "ui/Resource.h"
#include "ui/win/Area.h"
#include "ui/win/Dialog.h"
#include "ui/win/Screen.h"
#include "ui/win/Theme.h"

namespace tolvane {

namespace {

// Pixels at 96 DPI.
constexpr int kWidth = 1000;
constexpr int kHeight = 720;
constexpr int kLeastWidth = 640;
constexpr int kLeastHeight = 400;
constexpr int kActivityWidth = 160;

// The bar that only shows that something goes on begins anew after so many steps.
constexpr int kActivitySteps = 10;

// How long a full bar stays before the next step begins.
constexpr uint32_t kDisplayPause = 1000;

double GetSeconds() {
  return static_cast<double>(GetTickCount64()) / 1000;
}

}  // namespace

// --- creation ---

CMainFrame::CMainFrame(CProfile& profile, CRecentFiles& recentFiles, CRunFolder& runFolder)
    : m_profile(profile),
      m_recentFiles(recentFiles),
      m_runFolder(runFolder),
      m_commands(profile, recentFiles, m_dialogs, m_view) {}

bool CMainFrame::RegisterFrameClass() {
  return RegisterWindowClass(TOLVANE_FRAME_CLASS, COLOR_BTNFACE, IDR_MAINFRAME);
}

bool CMainFrame::Create(std::u16string_view path) {
  const HINSTANCE program = GetModuleHandleW(nullptr);
  const HMENU menu = LoadMenuW(program, MAKEINTRESOURCEW(IDR_MAINFRAME));
  m_keys = LoadAcceleratorsW(program, MAKEINTRESOURCEW(IDR_MAINFRAME));
  if (!CreateOwn(TOLVANE_FRAME_CLASS, kProgramName,
                 {WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, WS_EX_ACCEPTFILES}, nullptr, menu))
    return false;
  if (!CreateChildren() || !CreateWorkflow()) return false;
  ApplyDpi(CDpi::Of(m_window));
  ApplyTheme();
  TakeFirstPlace();
  m_workflow->Start();
  m_view.SetRecentFiles(m_recentFiles.Get());
  ShowNotice({});
  m_commands.SelectFile(path);
  return true;
}

// Where it was, or where the system puts it; never beyond the screen. Put there before its size is decided:
// the resolution is that screen's.
void CMainFrame::TakeFirstPlace() {
  RECT first{};
  GetWindowRect(m_window, &first);
  first.right = first.left + m_dpi.Scale(kWidth);
  first.bottom = first.top + m_dpi.Scale(kHeight);
  const auto remembered = m_profile.LoadPlace();
  const SWindowPlace place = remembered.value_or(SWindowPlace{ToScreenArea(first), m_dpi.GetValue()});
  MoveTo(m_window, place.area);
  ApplyDpi(CDpi::Of(m_window));
  MoveTo(m_window, FitIntoScreen(place, m_dpi.GetValue(), GetWorkArea(m_window)));
  m_isMaximised = place.isMaximised;
}

bool CMainFrame::CreateChildren() {
  m_dialogs.SetOwner(m_window);
  if (!m_statusPane.Create(m_window, IDC_STATUS_BAR)) return false;
  m_statusBar = m_statusPane.GetHandle();
  m_activityBar = CreateWindowExW(0, PROGRESS_CLASSW, L"Activity", WS_CHILD, 0, 0, 0, 0, m_statusBar,
                                  reinterpret_cast<HMENU>(static_cast<UINT_PTR>(IDC_ACTIVITY_BAR)),
                                  GetModuleHandleW(nullptr), nullptr);
  SendMessageW(m_activityBar, PBM_SETRANGE32, 0, kActivitySteps);
  SendMessageW(m_activityBar, PBM_SETSTEP, 1, 0);
  m_view.SetWatch([this] { RefreshProgress(); });
  m_view.SetNotice([this](std::u16string_view text) { ShowNotice(text); });
  return m_statusBar && m_activityBar && m_view.Create(m_window);
}

bool CMainFrame::CreateWorkflow() {
  m_engine = MakeEmbeddedEngine({.tempFolder = GetWorkFolder()});
  m_workflow = std::make_unique<CRepairWorkflow>(SWorkflowParts{.dialogs = m_dialogs,
                                                                .view = m_view,
                                                                .frame = *this,
                                                                .processes = m_processes,
                                                                .engine = *m_engine,
                                                                .recentFiles = &m_recentFiles,
                                                                .displayPause = kDisplayPause,
                                                                .version = TOLVANE_VERSION_TEXT});
  m_commands.Start(m_window, *m_workflow, *m_engine, [this](std::u16string_view text) { ShowNotice(text); });
  m_view.SetWorkflow(*m_workflow);
  return true;
}

bool CMainFrame::TranslateKeys(MSG& message) {
  if (message.hwnd != m_window && !IsChild(m_window, message.hwnd)) return false;
  return TranslateAcceleratorW(m_window, m_keys, &message) != 0 ||
         IsDialogMessageW(m_view.GetHandle(), &message) != FALSE;
}

// --- what the workflow asks ---

void CMainFrame::SetTimer(uint32_t identifier, uint32_t milliseconds) {
  ::SetTimer(m_window, identifier, milliseconds, nullptr);
}

void CMainFrame::KillTimer(uint32_t identifier) {
  ::KillTimer(m_window, identifier);
}

void CMainFrame::ShowProgressBar(bool isShown) {
  if (isShown && !m_isBusy) m_progress.Start(GetSeconds());
  if (!isShown && m_isBusy) CallUser();
  m_isBusy = isShown;
  m_view.ShowOverall(m_progress.GetPercent(), m_progress.GetText());
  ShowWindow(m_activityBar, isShown ? SW_SHOWNA : SW_HIDE);
  SetThreadExecutionState(isShown ? ES_CONTINUOUS | ES_SYSTEM_REQUIRED : ES_CONTINUOUS);
  if (isShown)
    ShutdownBlockReasonCreate(m_window, L"A database is being repaired.");
  else
    ShutdownBlockReasonDestroy(m_window);
  UpdateTitle();
}

// The button on the taskbar blinks when the work has ended and the user is elsewhere.
void CMainFrame::CallUser() const {
  if (GetActiveWindow()) return;
  FLASHWINFO call{};
  call.cbSize = sizeof(call);
  call.hwnd = m_window;
  call.dwFlags = FLASHW_TRAY | FLASHW_TIMERNOFG;
  FlashWindowEx(&call);
}

void CMainFrame::StepProgressBar() {
  SendMessageW(m_activityBar, PBM_STEPIT, 0, 0);
}

void CMainFrame::ResetProgressBar() {
  SendMessageW(m_activityBar, PBM_SETPOS, 0, 0);
}

// Bar, title and taskbar show the same figure, at the same moment.
void CMainFrame::RefreshProgress() {
  m_view.RefreshProgress();
  if (!m_isBusy) return;
  m_progress.Update(LookAt(ShownJob()), GetSeconds());
  m_view.ShowOverall(m_progress.GetPercent(), m_progress.GetText());
  UpdateTitle();
}

void CMainFrame::UpdateTitle() {
  std::u16string title;
  if (m_isBusy) {
    title = ToDecimal(m_progress.GetPercent()) + u"% - ";
    m_taskbar.ShowPercent(m_progress.GetPercent());
  } else {
    m_taskbar.Clear();
  }
  const std::u16string path = m_workflow ? m_workflow->GetManager().GetCorruptedPath() : std::u16string();
  if (!path.empty()) title += std::u16string(FileNameOf(path)) + u" - ";
  SetText(title + FromWide(kProgramName));
}

void CMainFrame::EnableCommands(const SCommandSwitches& switches) {
  m_commands.SetSwitches(switches);
  m_view.EnableCommands(switches);
  if (!m_workflow) return;
  ShowNotice({});
  UpdateTitle();
  m_view.SetRecentFiles(m_recentFiles.Get());
  SetCrashContext(u"page " +
                  std::u16string(1, static_cast<char16_t>(u'0' + static_cast<int>(m_workflow->GetPage()))));
}

void CMainFrame::RestoreIfMinimised() {
  if (IsIconic(m_window)) ShowWindow(m_window, SW_RESTORE);
}

void CMainFrame::EndProcess() {
  m_profile.SavePlace(GetPlaceOf(m_window));
  m_runFolder.Remove();
  const HANDLE self = OpenProcess(PROCESS_TERMINATE, FALSE, GetCurrentProcessId());
  TerminateProcess(self ? self : GetCurrentProcess(), 0);
}

// --- files ---

void CMainFrame::OnDrop(WPARAM drop) {
  const auto files = reinterpret_cast<HDROP>(drop);
  std::wstring path(DragQueryFileW(files, 0, nullptr, 0) + 1, L'\0');
  path.resize(DragQueryFileW(files, 0, path.data(), static_cast<UINT>(path.size())));
  const UINT count = DragQueryFileW(files, static_cast<UINT>(-1), nullptr, 0);
  DragFinish(files);
  m_commands.SelectFile(FromWide(path));
  if (count > 1) ShowNotice(u"Only the first of the dropped files was chosen.");
}

// --- the window ---

void CMainFrame::ShowNotice(std::u16string_view text) {
  SendMessageW(m_statusBar, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(ToWide(text).c_str()));
}

void CMainFrame::Arrange() {
  if (IsIconic(m_window)) return;
  SendMessageW(m_statusBar, WM_SIZE, 0, 0);
  RECT status{};
  GetWindowRect(m_statusBar, &status);
  const RECT client = GetClientArea();
  const int width = client.right;
  const int parts[] = {width - m_dpi.Scale(kActivityWidth), -1};
  SendMessageW(m_statusBar, SB_SETPARTS, std::size(parts), reinterpret_cast<LPARAM>(parts));
  RECT part{};
  SendMessageW(m_statusBar, SB_GETRECT, 1, reinterpret_cast<LPARAM>(&part));
  CArea activity = CArea(part).Inset(m_dpi.Scale(4), m_dpi.Scale(3));
  activity.CutRight(m_dpi.Scale(16));
  MoveWindow(m_activityBar, activity.GetRect().left, activity.GetRect().top, activity.GetWidth(),
             activity.GetHeight(), TRUE);
  MoveWindow(m_view.GetHandle(), 0, 0, width, client.bottom - (status.bottom - status.top), TRUE);
}

void CMainFrame::ApplyDpi(CDpi dpi) {
  m_dpi = dpi;
  m_statusFont = CFont(dpi.GetMessageFont());
  SendMessageW(m_statusBar, WM_SETFONT, reinterpret_cast<WPARAM>(m_statusFont.GetHandle()), TRUE);
  m_view.SetDpi(dpi);
}

// Colours, fonts and themes, changed by the user while the program runs.
void CMainFrame::FollowAppearance(UINT message) {
  CTheme::Get().Refresh();
  if (message == WM_SYSCOLORCHANGE)
    for (const HWND control : {m_statusBar, m_activityBar}) SendMessageW(control, message, 0, 0);
  ApplyDpi(m_dpi);
  ApplyTheme();
  m_commands.FollowRegion();
}

void CMainFrame::ApplyTheme() {
  CTheme::Get().ApplyToFrame(m_window);
  CTheme::Get().ApplyToControl(m_activityBar);
  ColourBar(m_activityBar);
  m_menus.ApplyToBar(m_window, m_dpi);
  m_view.ApplyTheme();
  RedrawWindow(m_window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void CMainFrame::OnDpiChanged(UINT dpi, const RECT& area) {
  ApplyDpi(CDpi(dpi));
  m_menus.ApplyToBar(m_window, m_dpi);
  MoveToSuggested(m_window, area);
}

void CMainFrame::OnGetMinMaxInfo(MINMAXINFO& info) const {
  const SScreenArea work = GetWorkArea(m_window);
  info.ptMinTrackSize = {std::min<LONG>(m_dpi.Scale(kLeastWidth), work.GetWidth()),
                         std::min<LONG>(m_dpi.Scale(kLeastHeight), work.GetHeight())};
}

LRESULT CMainFrame::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == CTaskbarButton::GetCreatedMessage()) {
    m_taskbar.OnCreated(m_window);
    return 0;
  }
  if (const auto answer = m_menus.OnMessage(message, wParam, lParam)) return *answer;
  // While a question is open, nothing else begins.
  const bool isRequest = message == WM_COMMAND || message == WM_CLOSE || message == WM_DROPFILES;
  if (isRequest && !IsWindowEnabled(m_window)) return 0;
  switch (message) {
    case WM_NCPAINT:
    case WM_NCACTIVATE: {
      const LRESULT answer = Default(message, wParam, lParam);
      m_menus.PaintBar(m_window);
      return answer;
    }
    case WM_SIZE:
      Arrange();
      return 0;
    case WM_GETMINMAXINFO:
      OnGetMinMaxInfo(*reinterpret_cast<MINMAXINFO*>(lParam));
      return 0;
    case WM_DISPLAYCHANGE:
      KeepOnScreen(m_window);
      return 0;
    case WM_SETTINGCHANGE:
      if (wParam == SPI_SETWORKAREA)
        KeepOnScreen(m_window);
      else
        FollowAppearance(message);
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      FollowAppearance(message);
      return 0;
    case WM_DPICHANGED:
      OnDpiChanged(LOWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
      return 0;
    case WM_INITMENUPOPUP:
      PrepareMenu(reinterpret_cast<HMENU>(wParam),
                  {*m_workflow, m_view, m_recentFiles, m_commands.GetSwitches()});
      if (HIWORD(lParam) == FALSE) m_menus.ApplyToMenu(reinterpret_cast<HMENU>(wParam));
      return 0;
    case WM_COMMAND:
      m_commands.Run(LOWORD(wParam));
      return 0;
    case WM_TIMER:
      m_workflow->OnTimer(static_cast<uint32_t>(wParam));
      return 0;
    case WM_DROPFILES:
      OnDrop(wParam);
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wParam) == WA_INACTIVE) m_view.KeepFocus();
      return 0;
    case WM_SETFOCUS:
      m_view.RestoreFocus();
      return 0;
    case WM_CLOSE:
      m_workflow->Close();
      return 0;
    case WM_QUERYENDSESSION:
      return m_workflow->IsWorking() ? FALSE : TRUE;
    case WM_ENDSESSION:
      if (wParam != FALSE) m_profile.SavePlace(GetPlaceOf(m_window));
      return 0;
    default:
      return Default(message, wParam, lParam);
  }
}

}  // namespace tolvane
