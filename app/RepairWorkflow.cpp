#include "app/RepairWorkflow.h"

#include "app/InputCheck.h"
#include "app/ViewTexts.h"

namespace tolvane {

namespace {

SCommandSwitches SwitchesOf(EPageState page) {
  switch (page) {
    case EPageState::Repairing:
    case EPageState::Saving:
      return {.canRepair = false, .canStop = true, .canSave = false};
    case EPageState::Repaired:
    case EPageState::Saved:
      return {.canRepair = true, .canStop = false, .canSave = true};
    default:
      return {.canRepair = true, .canStop = false, .canSave = false};
  }
}

// Of the result, whatever the next repair goes by.
ERules ChosenRules(const COvRepairFileManager& manager) {
  const CAccessData* const data = manager.GetData();
  return data && data->GetRules().recordsHoldTexts ? ERules::Standard : ERules::Exact;
}

constexpr SCommandSwitches kAllOff{.canRepair = false, .canStop = false, .canSave = false};

}  // namespace

CRepairWorkflow::CRepairWorkflow(const SWorkflowParts& parts)
    : m_dialogs(parts.dialogs),
      m_view(parts.view),
      m_frame(parts.frame),
      m_processes(parts.processes),
      m_engine(&parts.engine),
      m_recentFiles(parts.recentFiles),
      m_job(std::make_unique<CJob>()),
      m_watch(parts.view, parts.frame, *m_job, parts.clock),
      m_output(parts.dialogs, parts.frame, parts.version, [this] { ShowSwitches(); }),
      m_result(parts.view, *m_job, [this](const auto& condition) { m_watch.WaitWhile(condition); }) {
  Context().pause.SetLength(parts.displayPause);
  m_page.SetView(&m_view);
}

CRepairWorkflow::~CRepairWorkflow() = default;

void CRepairWorkflow::Start() {
  SetPage(EPageState::ModeSelection);
}

void CRepairWorkflow::SetEngine(CDaoEngine& engine) {
  m_engine = &engine;
}

bool CRepairWorkflow::IsTemplateMode() const {
  return Manager().GetMode().IsAdvance();
}

bool CRepairWorkflow::IsWorking() const {
  // A worker that has just ended is told by the next timer message; until then its page is still at work.
  return GetPage() == EPageState::Repairing || GetPage() == EPageState::Saving || m_watch.AreWorkersBusy() ||
         m_output.IsWorking();
}

// --- pages ---

void CRepairWorkflow::SetPage(EPageState page) {
  m_page.SetState(page);
  m_page.UpdatePages(IsTemplateMode());
  ShowSwitches();
  ShowHint();
}

void CRepairWorkflow::ShowSwitches() {
  m_frame.EnableCommands(m_output.IsWorking() ? SwitchesOf(EPageState::Saving) : SwitchesOf(GetPage()));
}

void CRepairWorkflow::ShowHint() {
  switch (GetPage()) {
    case EPageState::ModeSelection:
      return m_view.SetHint(kChooseFileHint);
    case EPageState::FileSelected:
      return m_view.SetHint(Manager().GetCorruptedPath().empty() ? kChooseFileHint : kFileSelectedHint);
    case EPageState::Saved:
      if (LastSave().IsWorking()) return m_view.SetHint(kSavedHint);
      if (!LastSave().GetProblem().empty()) return m_view.SetHint(kBrokenSaveHint);
      if (LacksRoom(Manager().GetData())) return m_view.SetHint(kPartSavedHint);
      return m_view.SetHint(LastSave().GetSummary().tablesSaved > 0 ? kSavedHint : kEmptySaveHint);
    case EPageState::Repaired:
      if (!HasFindings()) return m_view.SetHint(ExplainNothing(Manager()).hint);
      return m_view.SetHint(LacksRoom(Manager().GetData()) ? kLittleRoomHint : std::u16string_view());
    default:
      return m_view.SetHint({});
  }
}

bool CRepairWorkflow::HasFindings() const {
  return !IsNothingFound(Manager().GetData());
}

bool CRepairWorkflow::HasResult() const {
  return GetPage() >= EPageState::Repaired && !m_job->IsRepairing() && Manager().GetData() != nullptr;
}

std::u16string CRepairWorkflow::DescribeResult() const {
  if (!HasResult()) return {};
  const COvFileSave& save = LastSave();
  const bool isSaved = GetPage() == EPageState::Saved && !save.IsWorking();
  return DescribeWhole(Manager(), isSaved ? &save.GetSummary() : nullptr, save.GetProblem());
}

bool CRepairWorkflow::IsResultHeld() const {
  return GetPage() <= EPageState::FileSelected && !IsWorking() && HasFindings();
}

void CRepairWorkflow::Next() {
  switch (GetPage()) {
    case EPageState::ModeSelection:
      if (ChooseCorruptedFile()) Next();
      break;
    case EPageState::FileSelected:
      BeginRepair();
      break;
    case EPageState::Repairing:
      SetPage(EPageState::Repaired);
      break;
    case EPageState::Repaired:
      BeginSave();
      break;
    case EPageState::Saving:
      SetPage(EPageState::Saved);
      break;
    case EPageState::Saved:
      break;
  }
}

void CRepairWorkflow::Back() {
  m_page.Back();
  SetPage(GetPage());
  if (GetPage() == EPageState::Repaired) m_result.ShowSummary();
}

bool CRepairWorkflow::MayLeaveResult() {
  if (m_mayLeaveResult || GetPage() < EPageState::Repaired || !HasFindings()) return true;
  return m_mayLeaveResult = m_dialogs.AskYesNo(kLeaveQuestion);
}

void CRepairWorkflow::ShowHeldResult() {
  if (!IsResultHeld()) return;
  Manager().GetMode().SetMode(m_resultOrigin.isTemplateMode ? CRepairModeStatus::kAdvance
                                                            : CRepairModeStatus::kStandard);
  Manager().SetCorruptedPath(m_resultOrigin.corruptedFile);
  Manager().SetTemplatePath(m_resultOrigin.templateFile);
  m_view.SetSelectedFile(m_resultOrigin.corruptedFile);
  m_view.SetTemplateFile(m_resultOrigin.templateFile);
  SetPage(EPageState::Repaired);
  m_result.ShowSummary();
}

void CRepairWorkflow::ChooseMode(bool isTemplateMode) {
  if (IsWorking()) return;
  Manager().GetMode().SetMode(isTemplateMode ? CRepairModeStatus::kAdvance : CRepairModeStatus::kStandard);
  m_page.UpdatePages(isTemplateMode);
}

void CRepairWorkflow::SetRules(ERules rules) {
  if (!IsWorking()) Manager().SetRules(rules);
}

// --- files ---

bool CRepairWorkflow::ChooseCorruptedFile() {
  if (IsWorking()) return false;
  const std::u16string path = m_dialogs.ChooseOpenFile(AskForCorruptedFile(EAskedFrom::MainView));
  SelectCorruptedFile(path);
  return !path.empty();
}

bool CRepairWorkflow::ChooseTemplateFile() {
  if (IsWorking()) return false;
  const std::u16string path = m_dialogs.ChooseOpenFile(AskForTemplateFile(EAskedFrom::MainView));
  SelectTemplateFile(path);
  return !path.empty();
}

void CRepairWorkflow::SelectCorruptedFile(std::u16string_view path) {
  if (path.empty() || IsWorking()) return;
  Manager().SetCorruptedPath(path);
  m_view.SetSelectedFile(path);
  SetPage(EPageState::FileSelected);
}

void CRepairWorkflow::SelectTemplateFile(std::u16string_view path) {
  if (path.empty() || IsWorking()) return;
  Manager().SetTemplatePath(path);
  m_view.SetTemplateFile(path);
}

// --- repair ---

void CRepairWorkflow::BeginRepair() {
  // Nothing is selected after a stop.
  if (Manager().GetCorruptedPath().empty() && !ChooseCorruptedFile()) return;
  if (!CanRepair() || IsWorking()) return;
  if (m_recentFiles) m_recentFiles->Add(Manager().GetCorruptedPath());
  SetPage(EPageState::Repairing);
  StartRepair();
}

bool CRepairWorkflow::CanRepair() {
  const auto problem = CheckInput(Manager());
  if (problem) m_dialogs.ShowMessage(problem->message, problem->icon);
  return !problem;
}

void CRepairWorkflow::StartRepair() {
  EndExternalEngine(m_processes);
  DiscardResult();
  m_resultOrigin = {IsTemplateMode(), Manager().GetCorruptedPath(), Manager().GetTemplatePath()};
  if (m_job->StartRepair([this] { m_watch.StartRepairTimer(); })) return;
  m_watch.StopRepairTimer();
  SetPage(EPageState::FileSelected);
  m_dialogs.ShowMessage(u"The system has no room for another thread.", EMessageIcon::Warning);
}

void CRepairWorkflow::OnRepairTimer() {
  m_frame.StepProgressBar();
  if (!Context().repairing.IsRunning()) {
    m_watch.StopRepairTimer();
    m_watch.WaitForWorkers();
    SetPage(EPageState::Repaired);
    m_mayLeaveResult = false;
    m_result.Show(m_resultOrigin.corruptedFile);
  }
  m_watch.CopyTexts();
}

// The worker deletes the earlier result: nothing may show or read it any more.
void CRepairWorkflow::DiscardResult() {
  m_result.Discard();
  m_mayLeaveResult = true;
}

bool CRepairWorkflow::StopRepair() {
  if (GetPage() != EPageState::Repairing) return true;
  if (!m_dialogs.AskYesNo(kStopQuestion)) return false;
  // It may have ended while the question was open.
  if (GetPage() != EPageState::Repairing) return true;
  m_view.SetStatusLine(kPleaseWait);
  m_frame.EnableCommands(kAllOff);
  m_watch.StopRepairTimer();
  Context().repairing.SetRunning(false);
  m_watch.WaitForWorkers();
  Manager().SetRepair(nullptr);
  DiscardResult();
  Manager().SetCorruptedPath({});
  m_view.SetSelectedFile({});
  m_view.SetStatusLine({});
  m_view.ClearLog();
  SetPage(EPageState::FileSelected);
  m_dialogs.ShowMessage(kStopped, EMessageIcon::Information);
  return true;
}

// --- save ---

void CRepairWorkflow::BeginSave() {
  if (IsWorking()) return;
  if (!HasFindings()) {
    m_dialogs.ShowMessage(u"There is nothing to save.", EMessageIcon::Information);
    return;
  }
  const std::u16string path = m_job->GetSave().ChooseOutputPath(m_dialogs, m_processes, Manager());
  if (path.empty()) return;
  m_view.SetOutputPath(path);
  SetPage(EPageState::Saving);
  if (m_job->StartSave(*m_engine, {}, [this] { m_watch.StartSaveTimer(); })) return;
  m_watch.StopSaveTimer();
  Back();
  m_dialogs.ShowMessage(u"The system has no room for another thread.", EMessageIcon::Warning);
}

void CRepairWorkflow::OnSaveTimer() {
  m_frame.StepProgressBar();
  CSavingStatus& status = Context().saving;
  if (!status.IsSaving()) {
    m_watch.WaitForWorkers();
    if (GetPage() == EPageState::Saving) {
      if (status.GetLaunchFailed()) {
        Back();
      } else {
        m_mayLeaveResult = m_mayLeaveResult || LastSave().IsComplete();
        ShowSaved();
        Next();
      }
    }
    status.SetLaunchFailed(false);
    m_watch.StopSaveTimer();
  }
  m_watch.CopyTexts();
}

void CRepairWorkflow::ShowSaved() {
  const CAccessData* data = Manager().GetData();
  if (data) m_view.SetSummary(DescribeSave(LastSave().GetSummary(), *data, LastSave().GetProblem()));
}

bool CRepairWorkflow::StopSave() {
  if (GetPage() != EPageState::Saving) return true;
  if (!m_dialogs.AskYesNo(kStopQuestion)) return false;
  if (GetPage() != EPageState::Saving) return true;
  m_frame.EnableCommands(kAllOff);
  m_watch.StopRepairTimer();
  m_watch.StopSaveTimer();
  m_job->Stop();
  EndExternalEngine(m_processes);
  m_watch.WaitForWorkers();
  TellUnfinished();
  Back();
  m_watch.PauseAfterStop();
  m_dialogs.ShowMessage(kStopped, EMessageIcon::Information);
  return true;
}

// A database that lacks tables must not be taken for the repaired one.
void CRepairWorkflow::TellUnfinished() {
  if (LastSave().IsComplete()) return;
  Context().log.Set(u"Stopped. Nothing was saved.");
  Context().status.SetText({});
  m_watch.CopyTexts();
}

// --- beside the save ---

SExportChoice CRepairWorkflow::OfferExport(std::u16string_view table) const {
  SExportChoice choice{.source = Manager().GetCorruptedPath(),
                       .rules = ChosenRules(Manager()),
                       .table = std::u16string(table),
                       .path = {}};
  choice.path = DefaultExportPath(choice);
  return choice;
}

void CRepairWorkflow::ExportTables(const SExportChoice& choice) {
  if (!IsWorking()) m_output.ExportTables(Manager(), choice);
}

bool CRepairWorkflow::SaveValue(CRecordStore::SPlace place) {
  if (IsWorking()) return true;
  std::vector<SSavedObject> objects = m_result.ListObjects(place);
  if (objects.empty()) return false;
  m_output.SaveObjects(std::move(objects));
  return true;
}

void CRepairWorkflow::SaveReport() {
  if (!IsWorking()) m_output.SaveReport(*m_job);
}

// --- timers ---

void CRepairWorkflow::OnTimer(uint32_t identifier) {
  if (identifier == kOutputTimer) m_output.OnTimer();
  if (!m_job || !m_watch.IsDue(identifier)) return;
  if (identifier == kRepairTimer) OnRepairTimer();
  if (identifier == kSaveTimer) OnSaveTimer();
}

// --- the end ---

bool CRepairWorkflow::Close() {
  m_frame.RestoreIfMinimised();
  if (!StopRepair() || !StopSave()) return false;
  if (!m_dialogs.AskYesNo(kCloseQuestion)) return false;
  if (GetPage() == EPageState::Saved) SetPage(EPageState::Repaired);
  if (GetPage() > EPageState::FileSelected) Back();
  m_result.Abort();
  m_output.Abort();
  m_job->Stop();
  m_watch.WaitForWorkers();
  m_result.GetRecords().Clear();
  m_job.reset();
  m_frame.EndProcess();
  return true;
}

}  // namespace tolvane
