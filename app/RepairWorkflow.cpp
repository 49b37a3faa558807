#include "app/RepairWorkflow.h"

#include "app/InputCheck.h"
#include "app/ViewTexts.h"

namespace tolvane {

namespace {

constexpr uint32_t kPollPeriod = 5;      // milliseconds
constexpr double kPauseAfterStop = 3.0;  // seconds
constexpr uint32_t kPauseSlice = 20;     // milliseconds

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
      m_clock(parts.clock ? *parts.clock : m_systemClock),
      m_recentFiles(parts.recentFiles),
      m_job(std::make_unique<CJob>()),
      m_output(parts.dialogs, parts.frame, parts.version, [this] { ShowSwitches(); }),
      m_result(parts.view, *m_job, [this](const std::function<bool()>& condition) { WaitWhile(condition); }) {
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
  return GetPage() == EPageState::Repairing || GetPage() == EPageState::Saving || AreWorkersBusy() ||
         m_output.IsWorking();
}

bool CRepairWorkflow::AreWorkersBusy() const {
  return Context().workers.GetCount() != 0 || m_job->IsWorking();
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
  if (m_job->StartRepair([this] { StartRepairTimer(); })) return;
  StopRepairTimer();
  SetPage(EPageState::FileSelected);
  m_dialogs.ShowMessage(u"The system has no room for another thread.", EMessageIcon::Warning);
}

void CRepairWorkflow::OnRepairTimer() {
  m_frame.StepProgressBar();
  if (!Context().repairing.IsRunning()) {
    StopRepairTimer();
    WaitForWorkers();
    SetPage(EPageState::Repaired);
    m_mayLeaveResult = false;
    m_result.Show(m_resultOrigin.corruptedFile);
  }
  CopyTexts();
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
  StopRepairTimer();
  Context().repairing.SetRunning(false);
  WaitForWorkers();
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
  if (m_job->StartSave(*m_engine, {}, [this] { StartSaveTimer(); })) return;
  StopSaveTimer();
  Back();
  m_dialogs.ShowMessage(u"The system has no room for another thread.", EMessageIcon::Warning);
}

void CRepairWorkflow::OnSaveTimer() {
  m_frame.StepProgressBar();
  CSavingStatus& status = Context().saving;
  if (!status.IsSaving()) {
    WaitForWorkers();
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
    StopSaveTimer();
  }
  CopyTexts();
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
  StopRepairTimer();
  StopSaveTimer();
  m_job->Stop();
  EndExternalEngine(m_processes);
  WaitForWorkers();
  TellUnfinished();
  Back();
  PauseAfterStop();
  m_dialogs.ShowMessage(kStopped, EMessageIcon::Information);
  return true;
}

// A database that lacks tables must not be taken for the repaired one.
void CRepairWorkflow::TellUnfinished() {
  if (LastSave().IsComplete()) return;
  Context().log.Set(u"Stopped. Nothing was saved.");
  Context().status.SetText({});
  CopyTexts();
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
  if (!m_job || identifier != m_timer) return;
  if (identifier == kRepairTimer) OnRepairTimer();
  if (identifier == kSaveTimer) OnSaveTimer();
}

void CRepairWorkflow::StartTimer(uint32_t identifier) {
  m_timer = identifier;
  m_view.ClearLog();
  m_frame.ShowProgressBar(true);
  m_frame.SetTimer(identifier, kTimerPeriod);
}

void CRepairWorkflow::StopTimer(uint32_t identifier) {
  m_timer = 0;
  m_frame.KillTimer(identifier);
  m_frame.ShowProgressBar(false);
  m_frame.ResetProgressBar();
}

void CRepairWorkflow::StopSaveTimer() {
  StopTimer(kSaveTimer);
  m_view.SetStatusLine(Context().status.GetText());
}

void CRepairWorkflow::CopyTexts() {
  m_view.SetLogText(Context().log.Get());
  m_view.SetStatusLine(Context().status.GetText());
  m_frame.RefreshProgress();
}

// --- waiting ---

void CRepairWorkflow::WaitWhile(const std::function<bool()>& condition) {
  while (condition()) {
    m_frame.KeepPainting();
    m_clock.Sleep(kPollPeriod);
  }
}

// The counter does not count saves; their thread itself is asked.
void CRepairWorkflow::WaitForWorkers() {
  WaitWhile([this] { return AreWorkersBusy(); });
  m_job->Join();
}

void CRepairWorkflow::PauseAfterStop() {
  const double end = m_clock.GetSeconds() + kPauseAfterStop;
  while (m_clock.GetSeconds() < end) {
    m_frame.KeepPainting();
    m_clock.Sleep(kPauseSlice);
  }
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
  WaitForWorkers();
  m_result.GetRecords().Clear();
  m_job.reset();
  m_frame.EndProcess();
  return true;
}

}  // namespace tolvane
