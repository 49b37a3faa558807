#include "ui/OrlinVexaFileScanApp.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>
#include <ole2.h>

#include "platform/Arguments.h"
#include "platform/Files.h"
#include "ui/CrashNote.h"

namespace tolvane {

COrlinVexaFileScanApp::COrlinVexaFileScanApp(SStartWords words) : m_words(std::move(words)) {}

COrlinVexaFileScanApp::~COrlinVexaFileScanApp() {
  m_frame.reset();
  if (m_hasOle) OleUninitialize();
}

bool COrlinVexaFileScanApp::InitInstance() {
  return tolvane::InitInstance(*this, m_dialogs, m_words.file);
}

bool COrlinVexaFileScanApp::InitialiseOle() {
  m_hasOle = SUCCEEDED(OleInitialize(nullptr));
  return m_hasOle;
}

void COrlinVexaFileScanApp::LoadProfile(std::u16string_view registryKey, size_t) {
  m_profile.SetKey(registryKey);
  m_recentFiles.Load();
}

void COrlinVexaFileScanApp::SetVisualStyle() {
  INITCOMMONCONTROLSEX classes{};
  classes.dwSize = sizeof(classes);
  classes.dwICC = ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_BAR_CLASSES | ICC_PROGRESS_CLASS |
                  ICC_STANDARD_CLASSES;
  InitCommonControlsEx(&classes);
}

void COrlinVexaFileScanApp::RegisterDocument() {
  CMainFrame::RegisterFrameClass();
}

bool COrlinVexaFileScanApp::IsAlreadyRunning(std::u16string_view name) {
  return m_instanceChecker.IsAlreadyRunning(name);
}

bool COrlinVexaFileScanApp::MakeWorkFolder(std::u16string& problem) {
  CRunFolder::RemoveStale({});
  const bool isMade = m_runFolder.Create({});
  if (!isMade) problem = m_runFolder.GetProblem();
  // Beside the run's own folder, which the next start sweeps.
  std::u16string_view run = m_runFolder.GetPath();
  if (!run.empty()) run.remove_suffix(1);
  InstallCrashNote(isMade ? FolderOf(run) : std::u16string_view(GetTempFolder()));
  return isMade;
}

bool COrlinVexaFileScanApp::OpenMainWindow(std::u16string_view path) {
  m_frame = std::make_unique<CMainFrame>(m_profile, m_recentFiles, m_runFolder);
  if (!m_frame->Create(path)) return false;
  if (!m_words.notice.empty()) m_frame->ShowNotice(m_words.notice);
  return true;
}

void COrlinVexaFileScanApp::UpdateMainWindow() {
  STARTUPINFOW start{};
  GetStartupInfoW(&start);
  int show = (start.dwFlags & STARTF_USESHOWWINDOW) != 0 ? start.wShowWindow : SW_SHOWDEFAULT;
  if (m_frame->IsToBeMaximised() && (show == SW_SHOWNORMAL || show == SW_SHOWDEFAULT))
    show = SW_SHOWMAXIMIZED;
  ShowWindow(m_frame->GetHandle(), show);
  UpdateWindow(m_frame->GetHandle());
}

int COrlinVexaFileScanApp::Run() {
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (m_frame->TranslateKeys(message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return static_cast<int>(message.wParam);
}

}  // namespace tolvane

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  const tolvane::SStartWords words = tolvane::ReadStartWords(tolvane::GetProgramArguments(__argc, nullptr));
  if (!words.message.empty()) {
    tolvane::CWindowDialogs().ShowMessage(words.message, tolvane::EMessageIcon::Information);
    return 0;
  }
  tolvane::COrlinVexaFileScanApp app(words);
  return app.InitInstance() ? app.Run() : 1;
}
