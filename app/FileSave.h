// One save: where to, and the worker thread that writes.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/FrontEnd.h"
#include "app/RepairFileManager.h"
#include "app/WorkerThread.h"
#include "platform/ProcessManager.h"
#include "writer/AccessSaveRepairedFile.h"

namespace tolvane {

// The program of an external save engine that may still be at work on an older output.
inline constexpr std::u16string_view kExternalEngineName = u"AccdbSaveEngine.exe";
void EndExternalEngine(CProcessManager& processes);

class COvFileSaveThread : public CWorkerThread {};

// Main thread only, but for the worker that it starts. The manager's result must stay until IsWorking is
// false.
class COvFileSave {
 public:
  COvFileSave() = default;
  ~COvFileSave();  // stops a running save and waits for it
  COvFileSave(const COvFileSave&) = delete;
  COvFileSave& operator=(const COvFileSave&) = delete;

  // Asks the user, see ChooseOutput. The path is kept for StartSave.
  std::u16string ChooseOutputPath(CDialogs& dialogs, CProcessManager& processes,
                                  const COvRepairFileManager& manager);
  // Returns at once. `startTimer` is called between setting CSavingStatus and starting the worker. False when
  // the system gives no thread; nothing is saving then.
  bool StartSave(CMainViewWindow& view, CDaoEngine& engine, const COvRepairFileManager& manager,
                 const std::function<void()>& startTimer);

  [[nodiscard]] bool IsWorking() const { return m_thread.IsWorking(); }
  void Join() { m_thread.Join(); }
  [[nodiscard]] const std::u16string& GetOutputPath() const { return m_outputPath; }
  // What the user chose last, before an extension was added.
  [[nodiscard]] const std::u16string& GetLastOutputPath() const { return m_lastOutputPath; }

  // After Join:
  // Why the save ended early; empty when all was written or the user stopped it.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }
  // The database is whole.
  [[nodiscard]] bool IsComplete() const { return m_isComplete; }
  [[nodiscard]] const SSaveSummary& GetSummary() const { return m_writer->GetSummary(); }
  // Deletes what a stopped save left. False when there was nothing to delete.
  bool RemoveUnfinished();

 private:
  void RunSaveWorker(CDaoEngine& engine);
  void Write(CDaoEngine& engine);

  std::unique_ptr<CAccessSaveRepairedFile> m_writer;
  std::u16string m_outputPath;
  CMainViewWindow* m_view = nullptr;
  std::u16string m_lastOutputPath;
  std::u16string m_problem;
  bool m_isComplete = false;
  COvFileSaveThread m_thread;
};

}  // namespace tolvane
