#include "app/FileSave.h"

#include "app/OutputChoice.h"
#include "platform/Files.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr uint8_t kFirstAceVersion = 2;

}  // namespace

void EndExternalEngine(CProcessManager& processes) {
  if (processes.IsRunning(kExternalEngineName)) processes.Terminate(kExternalEngineName);
}

COvFileSave::~COvFileSave() {
  if (m_thread.IsWorking()) CSavingStatus::Instance().SetSaving(false);
}

std::u16string COvFileSave::ChooseOutputPath(CDialogs& dialogs, CProcessManager& processes,
                                             const COvRepairFileManager& manager) {
  EndExternalEngine(processes);
  SOutputOrigin origin;
  origin.corruptedPath = manager.GetCorruptedPath();
  if (manager.GetMode().IsAdvance()) origin.templatePath = manager.GetTemplatePath();
  origin.isAce = manager.GetData() && manager.GetData()->source.versionByte >= kFirstAceVersion;
  const std::u16string path = ChooseOutput(dialogs, origin, m_lastOutputPath);
  if (!path.empty()) m_outputPath = path;
  return path;
}

bool COvFileSave::StartSave(CMainViewWindow& view, CDaoEngine& engine, const COvRepairFileManager& manager,
                            const std::function<void()>& startTimer) {
  Join();
  m_view = &view;
  m_problem.clear();
  m_isComplete = false;
  m_writer = std::make_unique<CAccessSaveRepairedFile>(engine);
  m_writer->SetOutputPath(m_outputPath);
  m_writer->SetData(manager.GetData());
  // Nothing of the repair's last step is left to be taken for the save's.
  CStatusProgress::Instance().SetText({});
  CProgressStatus::Instance().SetPos(0);
  CSavingStatus::Instance().SetSaving(true);
  startTimer();
  if (m_thread.Start([this, &engine] { RunSaveWorker(engine); })) return true;
  CSavingStatus::Instance().SetSaving(false);
  return false;
}

void COvFileSave::RunSaveWorker(CDaoEngine& engine) {
  CRepairLog::Instance().Set({});
  Write(engine);
  CRepairLog::Instance().Append(u"Location: \r\n" + m_outputPath);
  CStatusProgress::Instance().SetText(u"Database saved location : " + m_outputPath);
  CSavingStatus::Instance().SetSaving(false);
}

// The engine is the worker's own from here to the end.
void COvFileSave::Write(CDaoEngine& engine) {
  engine.Terminate();
  m_problem = RunGuarded([this] { m_isComplete = m_writer->Save(); });
  engine.Terminate();
  if (m_problem.empty()) m_problem = m_writer->GetSummary().failure;
  if (m_problem.empty() && !m_isComplete && CSavingStatus::Instance().IsSaving())
    m_problem = u"There is nothing to save.";
  if (!m_problem.empty())
    CRepairLog::Instance().Append(u"The new database could not be written: " + m_problem);
}

bool COvFileSave::RemoveUnfinished() {
  return !m_isComplete && FileExists(m_outputPath) && RemoveFile(m_outputPath);
}

}  // namespace tolvane
