// One save: where to, and the worker thread that writes. The new database lies under a partial name until it
// is whole; a save that fails, is stopped or killed leaves nothing under the final one, and what was there
// stays.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/FrontEnd.h"
#include "app/OutputFile.h"
#include "app/RepairFileManager.h"
#include "app/WorkerThread.h"
#include "platform/ProcessManager.h"
#include "status/JobContext.h"
#include "writer/AccessSaveRepairedFile.h"

namespace tolvane {

// The program of an external save engine that may still be at work on an older output.
inline constexpr std::u16string_view kExternalEngineName = u"AccdbSaveEngine.exe";
void EndExternalEngine(CProcessManager& processes);

class COvFileSaveThread : public CWorkerThread {};

struct SSaveOptions {
  EOutputFormat format = EOutputFormat::ByRules;
  std::shared_ptr<CIdentity> identity = {};  // see CAccessSaveRepairedFile; null is the clock and chance
};

// Main thread only, but for the worker that it starts. The manager's result must stay until IsWorking is
// false.
class COvFileSave {
 public:
  explicit COvFileSave(CJobContext& job) : m_job(job) {}
  ~COvFileSave();  // stops a running save and waits for it

  // Asks the user, see ChooseOutput. The path is kept for StartSave, which replaces what is there.
  std::u16string ChooseOutputPath(CDialogs& dialogs, CProcessManager& processes,
                                  const COvRepairFileManager& manager);
  // Without a question: refuses or reserves the output of the next save.
  SOutputVerdict ReserveOutput(const SOutputRequest& request);

  // Returns at once. `startTimer` is called between setting the job's saving flag and starting the worker.
  // False when the system gives no thread; nothing is saving then.
  bool StartSave(CDaoEngine& engine, const COvRepairFileManager& manager, const SSaveOptions& options,
                 const std::function<void()>& startTimer);

  [[nodiscard]] bool IsWorking() const { return m_thread.IsWorking(); }
  bool WaitFor(uint32_t milliseconds) { return m_thread.WaitFor(milliseconds); }
  void Join() { m_thread.Join(); }
  [[nodiscard]] const std::u16string& GetOutputPath() const { return m_outputPath; }
  // Of partial files that killed runs had left and ReserveOutput or the save removed.
  [[nodiscard]] const std::vector<std::u16string>& GetRemoved() const { return m_output.GetRemoved(); }

  // After Join:
  // Why nothing was saved; empty when all was written or the user stopped it.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }
  // The output's part in that; Ok when something else was the matter.
  [[nodiscard]] EOutputState GetOutputState() const { return m_verdict.state; }
  // The database is whole and has its name.
  [[nodiscard]] bool IsComplete() const { return m_isComplete; }
  [[nodiscard]] bool HasRun() const { return m_writer != nullptr; }
  // Of a save that has run.
  [[nodiscard]] const SSaveSummary& GetSummary() const { return m_writer->GetSummary(); }

 private:
  void RunSaveWorker(CDaoEngine& engine, const SOutputRequest& request);
  void Save(CDaoEngine& engine, const SOutputRequest& request);
  bool Write(CDaoEngine& engine);

  CJobContext& m_job;
  std::unique_ptr<CAccessSaveRepairedFile> m_writer;
  COutputFile m_output;
  SOutputVerdict m_verdict;
  std::u16string m_outputPath;
  std::u16string m_lastOutputPath;  // what the user chose last, before an extension was added
  std::u16string m_problem;
  bool m_isComplete = false;
  COvFileSaveThread m_thread;
};

}  // namespace tolvane
