#include "app/FileSave.h"

#include "app/OutputChoice.h"
#include "format/HeaderLayout.h"
#include "platform/DiskRoom.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// What the system says about a write that a full disk ended may be another thing. Asked when nothing of the
// new database is left there.
std::u16string DescribeRoom(const SOutputRequest& request) {
  const auto free = GetFreeBytes(FolderOf(request.path));
  if (!free || *free >= GetFileLength(request.source)) return {};
  return u" The disk of " + request.path + u" has room for " + Counted(*free, u"byte", ToGroupedDecimal) +
         u" only, and the new database needs about as much as the damaged one takes. Save it to another "
         u"disk, or free some space.";
}

}  // namespace

void EndExternalEngine(CProcessManager& processes) {
  if (processes.IsRunning(kExternalEngineName)) processes.Terminate(kExternalEngineName);
}

COvFileSave::~COvFileSave() {
  if (m_thread.IsWorking()) m_job.saving.SetSaving(false);
}

std::u16string COvFileSave::ChooseOutputPath(CDialogs& dialogs, CProcessManager& processes,
                                             const COvRepairFileManager& manager) {
  EndExternalEngine(processes);
  SOutputOrigin origin;
  origin.corruptedPath = manager.GetCorruptedPath();
  if (manager.GetMode().IsAdvance()) origin.templatePath = manager.GetTemplatePath();
  origin.isAce = manager.GetData() && manager.GetData()->source.versionByte >= kVersionAce12;
  const std::u16string path = ChooseOutput(dialogs, origin, m_lastOutputPath);
  if (path.empty()) return path;
  m_output.Discard();
  m_outputPath = path;
  return path;
}

SOutputVerdict COvFileSave::ReserveOutput(const SOutputRequest& request) {
  m_outputPath = request.path;
  return m_output.Reserve(request);
}

bool COvFileSave::StartSave(CDaoEngine& engine, const COvRepairFileManager& manager,
                            const SSaveOptions& options, const std::function<void()>& startTimer) {
  Join();
  m_problem.clear();
  m_verdict = {};
  m_isComplete = false;
  m_writer = std::make_unique<CAccessSaveRepairedFile>(engine, m_job);
  m_writer->SetData(manager.GetData());
  m_writer->SetFormat(options.format);
  if (options.identity) m_writer->SetIdentity(options.identity);
  SOutputRequest request{.path = m_outputPath, .source = manager.GetCorruptedPath(), .mayReplace = true};
  if (manager.GetMode().IsAdvance()) request.templatePath = manager.GetTemplatePath();
  m_job.saving.SetSaving(true);
  if (startTimer) startTimer();
  if (m_thread.Start([this, &engine, request = std::move(request)] { RunSaveWorker(engine, request); }))
    return true;
  m_job.saving.SetSaving(false);
  return false;
}

void COvFileSave::RunSaveWorker(CDaoEngine& engine, const SOutputRequest& request) {
  m_job.log.Set({});
  Save(engine, request);
  if (!m_problem.empty()) m_job.log.Append(u"The new database could not be written: " + m_problem);
  m_job.log.Append(u"Location: \r\n" + m_outputPath);
  m_job.status.SetText(u"Database saved location : " + m_outputPath);
  m_job.saving.SetSaving(false);
}

void COvFileSave::Save(CDaoEngine& engine, const SOutputRequest& request) {
  if (!m_output.IsReserved()) m_verdict = m_output.Reserve(request);
  if (m_verdict.state == EOutputState::Ok && Write(engine) && m_job.saving.IsSaving()) {
    m_verdict = m_output.Complete();
    m_isComplete = m_verdict.state == EOutputState::Ok;
  }
  if (m_problem.empty()) m_problem = m_verdict.reason;
  m_output.Discard();
  if (!m_problem.empty()) m_problem += DescribeRoom(request);
}

// The engine is the worker's own from here to the end.
bool COvFileSave::Write(CDaoEngine& engine) {
  bool isWritten = false;
  m_writer->SetOutputPath(m_output.GetPartialPath());
  engine.Terminate();
  m_problem = RunGuarded([&] {
    RestoreWorkFolder();
    isWritten = m_writer->Save();
  });
  engine.Terminate();
  if (m_problem.empty()) m_problem = m_writer->GetSummary().failure;
  if (m_problem.empty() && !isWritten && m_job.saving.IsSaving()) m_problem = u"There is nothing to save.";
  return isWritten && m_problem.empty();
}

}  // namespace tolvane
