#include "ui/FrameCommands.h"

#include <windows.h>
// After windows.h, whose types it needs.
#include <shellapi.h>

#include "app/InstalledEngines.h"
#include "platform/Files.h"
#include "platform/Wide_win.h"
#include "status/Status.h"
#include "ui/DlgSettings.h"
#include "ui/ExportDialog.h"
#include "ui/Resource.h"
#include "ui/StartRecoverDlg.h"
#include "ui/win/Dialog.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kLogFilter = u"Text Files (*.txt)|*.txt||";
constexpr std::u16string_view kGuideName = u"TolvaneForAccess.html";

class CAboutDialog : public CDialog {
 public:
  CAboutDialog() : CDialog(IDD_ABOUT) {}
};

}  // namespace

void CFrameCommands::Start(HWND frame, CRepairWorkflow& workflow, CDaoEngine& engine,
                           std::function<void(std::u16string_view)> notice) {
  m_ownEngine = &engine;
  m_frame = frame;
  m_workflow = &workflow;
  m_notice = std::move(notice);
  m_settings = m_profile.LoadSettings(m_settings);
  m_workflow->SetRules(m_settings.rules);
  TakeEngine();
  FollowRegion();
}

bool CFrameCommands::IsChoosing() const {
  return m_workflow->GetPage() <= EPageState::FileSelected;
}

void CFrameCommands::Run(UINT identifier) {
  switch (identifier) {
    case ID_NEW_REPAIR:
      return AskForNewRepair();
    case ID_CHOOSE_FILE:
      if (m_switches.canRepair && m_workflow->MayLeaveResult()) m_workflow->ChooseCorruptedFile();
      return;
    case ID_CHOOSE_TEMPLATE:
      if (IsChoosing()) m_workflow->ChooseTemplateFile();
      return;
    case ID_MODE_STANDARD:
    case ID_MODE_TEMPLATE:
      if (IsChoosing()) m_workflow->ChooseMode(identifier == ID_MODE_TEMPLATE);
      return;
    case IDC_RECENT_LIST:
      return SelectRecentFile(m_view.GetChosenRecentFile());
    case ID_REPAIR:
      if (IsChoosing()) GoOn();
      return;
    case ID_SAVE_RESULT:
      if (!IsChoosing()) GoOn();
      return;
    case ID_NEXT:
      return GoOn();
    case ID_BACK:
      return GoBack();
    case ID_FORWARD:
      return m_workflow->ShowHeldResult();
    case ID_STOP:
      return Stop();
    case ID_EXIT:
      SendMessageW(m_frame, WM_CLOSE, 0, 0);
      return;
    case ID_SETTINGS:
      return AskForSettings();
    case ID_SAVE_LOG:
      return SaveLog();
    case ID_EXPORT:
      return Export();
    case ID_SAVE_REPORT:
      return m_workflow->SaveReport();
    case ID_OPEN_FOLDER:
      return OpenFolder();
    case ID_HELP_GUIDE:
      return ShowHelp();
    case ID_ABOUT:
      return ShowAbout();
    default:
      break;
  }
  if (identifier < ID_RECENT_FIRST || identifier > ID_RECENT_LAST) return RunInView(identifier);
  const size_t index = identifier - ID_RECENT_FIRST;
  if (index < m_recentFiles.Get().size()) SelectRecentFile(std::u16string(m_recentFiles.Get()[index]));
}

void CFrameCommands::RunInView(UINT identifier) {
  switch (identifier) {
    case ID_COPY:
      return m_view.GetCommands().Copy();
    case ID_COPY_LOG:
      return m_view.GetCommands().CopyLog();
    case ID_SELECT_ALL:
      return m_view.GetCommands().SelectAll();
    default:
      if (m_view.HasRecords()) RunOnRecords(identifier);
  }
}

void CFrameCommands::RunOnRecords(UINT identifier) {
  CRecordPane& records = m_view.GetRecords();
  switch (identifier) {
    case ID_COPY_ROWS:
      return records.CopyRows();
    case ID_FIND:
      return records.BeginFind();
    case ID_FIND_NEXT:
      return records.FindNext();
    case ID_SHOW_CELL:
      return records.ShowWholeCell();
    case ID_SAVE_VALUE:
      return records.SaveValue();
    default:
      return;
  }
}

// While a worker runs, going on is the timers' business.
void CFrameCommands::GoOn() {
  m_view.TakeTypedPaths();
  if (IsChoosing() ? m_switches.canRepair : CanSave()) m_workflow->Next();
}

bool CFrameCommands::CanSave() const {
  return m_switches.canSave && m_workflow->CanSave();
}

// From the last page to the result is no way off it.
void CFrameCommands::GoBack() {
  if (!m_switches.canRepair) return;
  if (m_workflow->GetPage() != EPageState::Repaired || m_workflow->MayLeaveResult()) m_workflow->Back();
}

void CFrameCommands::Stop() {
  if (!m_switches.canStop) return;
  m_workflow->StopRepair();
  m_workflow->StopSave();
  m_workflow->StopOutput();
}

void CFrameCommands::SelectFile(std::u16string_view path) {
  if (path.empty()) return;
  if (!m_switches.canRepair)
    m_notice(u"Stop the work first, then choose another database.");
  else if (m_workflow->MayLeaveResult())
    m_workflow->SelectCorruptedFile(GetAbsolutePath(path));
}

void CFrameCommands::SelectRecentFile(const std::u16string& path) {
  if (path.empty()) return;
  if (GetFileKind(path) != EFileKind::Missing) return SelectFile(path);
  m_dialogs.ShowMessage(u"File '" + path + u"' does not exist or access is denied.", EMessageIcon::None);
  m_recentFiles.Remove(path);
  m_view.SetRecentFiles(m_recentFiles.Get());
}

// Values that are shown already, too.
void CFrameCommands::FollowRegion() const {
  m_workflow->GetResultView().SetLocalText(m_settings.showsLocally ? CLocalText(ReadLocaleFacts())
                                                                   : CLocalText());
  m_view.GetRecords().ShowAgain();
}

void CFrameCommands::AskForNewRepair() {
  if (m_workflow->IsWorking() || !m_workflow->MayLeaveResult()) return;
  const COvRepairFileManager& manager = m_workflow->GetManager();
  const bool isChoosing = m_workflow->GetPage() <= EPageState::FileSelected;
  CStartRecoverDlg dialog({.isTemplateMode = m_workflow->IsTemplateMode(),
                           .corruptedFile = isChoosing ? manager.GetCorruptedPath() : std::u16string(),
                           .templateFile = manager.GetTemplatePath()});
  if (dialog.DoModal(m_frame) != IDOK) return;
  const SStartChoice& choice = dialog.GetChoice();
  m_workflow->ChooseMode(choice.isTemplateMode);
  m_workflow->SelectTemplateFile(choice.templateFile);
  m_workflow->SelectCorruptedFile(choice.corruptedFile);
  if (m_workflow->GetPage() == EPageState::FileSelected) m_workflow->Next();
}

void CFrameCommands::AskForSettings() {
  CDlgSettings dialog(m_settings);
  if (dialog.DoModal(m_frame) != IDOK) return;
  m_settings = dialog.GetSettings();
  m_profile.SaveSettings(m_settings);
  m_workflow->SetRules(m_settings.rules);
  TakeEngine();
  FollowRegion();
}

void CFrameCommands::TakeEngine() {
  if (!m_settings.usesInstalledEngine) return m_workflow->SetEngine(*m_ownEngine);
  std::unique_ptr<CDaoEngine>& engine = m_installed[m_settings.rules];
  if (!engine)
    engine = MakeInstalledEngine(m_settings.rules, [] { return CSavingStatus::Instance().IsSaving(); });
  m_workflow->SetEngine(*engine);
}

// What the pane shows, and behind it what the file held and every place of damage.
void CFrameCommands::SaveLog() {
  const std::u16string path = m_dialogs.ChooseSaveFile({.title = u"Save log",
                                                        .filter = std::u16string(kLogFilter),
                                                        .defaultExtension = u"txt",
                                                        .defaultName = u"Tolvane log.txt"});
  if (path.empty()) return;
  const std::u16string problem = m_view.GetLog().SaveLog(path, m_workflow->DescribeResult());
  if (problem.empty())
    m_notice(u"The log was saved: " + path);
  else
    m_dialogs.ShowMessage(path + u": " + problem, EMessageIcon::Warning);
}

// Of the table that is looked at, or of all.
void CFrameCommands::Export() {
  if (m_workflow->IsWorking() || !m_workflow->HasFindings()) return;
  CExportDialog dialog(*m_workflow, m_view.GetSelectedTable());
  if (dialog.DoModal(m_frame) == IDOK) m_workflow->ExportTables(dialog.GetChoice());
}

// With the file selected in it.
void CFrameCommands::OpenFolder() const {
  const std::u16string& path = m_workflow->GetOutputPath();
  if (m_workflow->GetPage() != EPageState::Saved || path.empty()) return;
  const std::wstring parameters =
      FileExists(path) ? L"/select,\"" + ToWide(path) + L"\"" : L"\"" + ToWide(FolderOf(path)) + L"\"";
  ShellExecuteW(m_frame, nullptr, L"explorer.exe", parameters.c_str(), nullptr, SW_SHOWNORMAL);
}

// The guide lies beside the program; without it the About box says what the program does.
void CFrameCommands::ShowHelp() const {
  const std::u16string guide = GetExecutableFolder() + std::u16string(kGuideName);
  if (FileExists(guide))
    ShellExecuteW(m_frame, L"open", ToWide(guide).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  else
    ShowAbout();
}

void CFrameCommands::ShowAbout() const {
  CAboutDialog().DoModal(m_frame);
}

}  // namespace tolvane
