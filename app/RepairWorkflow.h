// The way of the user through the pages: choose, repair, look, save. Every decision and every message of the
// window program is here; a front end draws, asks and forwards. Main thread only; the workers that it starts
// report through the status objects, which its two timers read.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/FrontEnd.h"
#include "app/Job.h"
#include "app/JobWatch.h"
#include "app/RecentFiles.h"
#include "app/ResultOutput.h"
#include "app/ResultView.h"
#include "app/ShowPageState.h"
#include "app/StartChoice.h"
#include "dao/dao.h"
#include "platform/ProcessManager.h"

namespace tolvane {

// What the workflow works with; nothing is owned and all must outlive it.
struct SWorkflowParts {
  CDialogs& dialogs;
  CMainViewWindow& view;
  CMainFrameWindow& frame;
  CProcessManager& processes;
  CDaoEngine& engine;
  CWaitClock* clock = nullptr;          // null: the system's
  CRecentFiles* recentFiles = nullptr;  // null: nothing is remembered
  uint32_t displayPause = 0;            // milliseconds for which a full bar can be seen
  std::string_view version = {};        // of the program, for reports
};

class CRepairWorkflow {
 public:
  explicit CRepairWorkflow(const SWorkflowParts& parts);
  // Stops what runs and waits for it, without a question.
  ~CRepairWorkflow();

  // Shows the first page.
  void Start();
  // For the next save. Must outlive it.
  void SetEngine(CDaoEngine& engine);

  // Commands.
  void Next();
  void Back();
  // The choice of the two mode buttons, for the next repair. Ignored while a worker runs.
  void ChooseMode(bool isTemplateMode);
  // The rules of the next repair.
  void SetRules(ERules rules);
  // Asks for a file with the dialog; false when cancelled.
  bool ChooseCorruptedFile();
  bool ChooseTemplateFile();
  // A file that was dropped, given on the command line or chosen from the recent files: it is selected, and
  // nothing starts. Ignored while a worker runs.
  void SelectCorruptedFile(std::u16string_view path);
  void SelectTemplateFile(std::u16string_view path);
  // Before a command leads away from a result that was not saved: asks, once for each result. False when the
  // user wants to stay.
  bool MayLeaveResult();
  // From choosing files back to the result that is still held, with the files that it came from.
  void ShowHeldResult();
  // Ask first. False when the user said No; on pages where nothing is to be stopped nothing happens.
  bool StopRepair();
  bool StopSave();
  // From the window's close button. False: the program stays open. True is only seen in tests: before, the
  // process ends. Nothing but the destructor may be called then.
  bool Close();
  void OnTimer(uint32_t identifier);
  // Beside the repaired database; nothing happens without a result or while something works.
  void ExportTables(const SExportChoice& choice);
  void SaveReport();
  void StopOutput() { m_output.Stop(); }
  // The choice that the export dialog begins with; the table's name, or empty for all.
  [[nodiscard]] SExportChoice OfferExport(std::u16string_view table) const;
  // Of an OLE object or attached files: asks where to and saves the bytes. False for other values.
  bool SaveValue(CRecordStore::SPlace place);

  // Views.
  [[nodiscard]] EPageState GetPage() const { return m_page.GetState(); }
  [[nodiscard]] bool IsTemplateMode() const;
  [[nodiscard]] bool IsWorking() const;  // a repair or a save runs
  // On the pages of a result: there is one, it holds what can be saved, and this page offers to save it.
  [[nodiscard]] bool HasResult() const;
  [[nodiscard]] bool HasFindings() const;
  [[nodiscard]] bool CanSave() const { return GetPage() == EPageState::Repaired && HasFindings(); }
  // On the last page: nothing was written.
  [[nodiscard]] bool HasSaveFailed() const {
    return GetPage() == EPageState::Saved && !LastSave().IsWorking() && !LastSave().GetProblem().empty();
  }
  // Of the held result, in full: the summary, and every place of damage.
  [[nodiscard]] std::u16string DescribeResult() const;
  // Whether ShowHeldResult leads anywhere.
  [[nodiscard]] bool IsResultHeld() const;
  [[nodiscard]] const COvRepairFileManager& GetManager() const { return m_job->GetManager(); }
  [[nodiscard]] const std::u16string& GetOutputPath() const { return m_job->GetSave().GetOutputPath(); }
  // What is looked at in the held result.
  [[nodiscard]] CResultView& GetResultView() { return m_result; }

 private:
  [[nodiscard]] CJobContext& Context() const { return m_job->GetContext(); }
  [[nodiscard]] COvRepairFileManager& Manager() const { return m_job->GetManager(); }
  [[nodiscard]] const COvFileSave& LastSave() const { return m_job->GetSave(); }
  void SetPage(EPageState page);
  void ShowSwitches();
  void ShowHint();

  // Repair.
  void BeginRepair();
  [[nodiscard]] bool CanRepair();
  void StartRepair();
  void OnRepairTimer();
  void DiscardResult();

  // Save.
  void BeginSave();
  void OnSaveTimer();
  void ShowSaved();
  void TellUnfinished();

  CDialogs& m_dialogs;
  CMainViewWindow& m_view;
  CMainFrameWindow& m_frame;
  CProcessManager& m_processes;
  CDaoEngine* m_engine;
  CRecentFiles* m_recentFiles;

  CShowPageState m_page;
  // Where the held result came from; the manager's paths are those of the next repair.
  SStartChoice m_resultOrigin;
  bool m_mayLeaveResult = true;  // it was saved, or the user does not want it
  std::unique_ptr<CJob> m_job;   // gone once the program is closed
  CJobWatch m_watch;
  CResultOutput m_output;
  CResultView m_result;  // last, so that its threads end before what it works on
};

}  // namespace tolvane
