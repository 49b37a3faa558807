// One job at a time, for every front end: a repair, the save of its result, or another piece of work that
// reports in the same way. A front end starts it, watches its context and stops it; polling, drawing and
// asking are the front end's own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "app/FileSave.h"
#include "app/RepairFileManager.h"
#include "app/WorkerThread.h"
#include "dao/dao.h"
#include "status/JobContext.h"

namespace tolvane {

// Main thread only, but for the workers that it starts. The process-wide status objects show this job while
// it lives.
class CJob {
 public:
  ~CJob();  // stops what runs and waits for it

  [[nodiscard]] CJobContext& GetContext() { return m_context; }
  // What the next repair works on, and the result of the last one. A running repair owns the result.
  [[nodiscard]] COvRepairFileManager& GetManager() { return m_manager; }
  [[nodiscard]] const COvRepairFileManager& GetManager() const { return m_manager; }
  [[nodiscard]] COvFileSave& GetSave() { return m_save; }
  [[nodiscard]] const COvFileSave& GetSave() const { return m_save; }

  // Each starts a worker and returns at once; false when the system gives no thread. Nothing else may be
  // working. `onRunning` is called between the running flag and the start.
  bool StartRepair(const std::function<void()>& onRunning = {});
  bool StartSave(CDaoEngine& engine, const SSaveOptions& options, const std::function<void()>& onRunning);
  // Runs while the context says that a repair runs.
  bool Start(std::function<void()> work);

  [[nodiscard]] bool IsRepairing() const { return m_isRepairing && m_thread.IsWorking(); }
  [[nodiscard]] bool IsWorking() const { return m_thread.IsWorking() || m_save.IsWorking(); }
  // Waits for the end of what runs, this long at most; true when nothing runs (any more).
  bool WaitFor(uint32_t milliseconds);
  void Join();
  // Asks what runs to leave at its next check; Join waits for that.
  void Stop() { m_context.Stop(); }

  // After Join: why the last StartRepair or Start ended early; empty when it ended well or was stopped.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  void ResetContext();

  CJobContext m_context;
  CShownJob m_shown{m_context};
  COvRepairFileManager m_manager;
  std::u16string m_problem;
  bool m_isRepairing = false;  // the work of m_thread is a repair
  // Last, so that the threads end before what they work on.
  CWorkerThread m_thread;
  COvFileSave m_save{m_context};
};

}  // namespace tolvane
