// What a job gives to the workers that do it: the stop request, progress, status line, log and pauses. Its
// owner keeps it for as long as a worker may use it; workers get it by reference and know no other.
//
// The process-wide status objects, for front ends only, are views of one job, the shown one:
// CProgressStatus::Instance() is ShownJob().progress, and so with all of them.
#pragma once

#include "status/Status.h"

namespace tolvane {

class CJobContext {
 public:
  CRepairThreadCounter workers;
  CRepairingFileStatus repairing;
  CSavingStatus saving;
  CProgressStatus progress;
  // Pages of rows that were read, of those that the tables have: what is still to do, whatever the
  // definitions say about numbers of rows.
  CProgressStatus pages;
  CStatusProgress status;
  CRepairLog log;
  CPreviewThreadStatus preview;
  CDisplayPause pause;

  // How many threads the work may take; 0, the default: as many as the machine has processors. Set before the
  // work begins.
  void SetThreads(uint32_t threads) { m_threads.Set(threads); }
  [[nodiscard]] uint32_t GetThreads() const;
  // Whether anybody will read the rows of the users' tables; without, large tables are decoded and counted
  // only. Set before the work begins.
  void SetWantsRows(bool wantsRows) { m_wantsRows.Set(wantsRows); }
  [[nodiscard]] bool WantsRows() const { return m_wantsRows.Get(); }

  // A repair or a save runs and was not told to stop. Any thread.
  [[nodiscard]] bool IsRunning() const { return repairing.IsRunning() || saving.IsSaving(); }
  // Asks every worker of the job to leave at its next check. Any thread.
  void Stop();
  // Lets a full bar be seen, for the length of `pause` or until the job is told to stop. Worker threads.
  void Pause() const;

 private:
  CLocked<uint32_t> m_threads{0};
  CLocked<bool> m_wantsRows{true};
};

// The job that the process shows; until one is chosen, an idle one. The front end's thread chooses, and no
// worker that reports through the process-wide objects may run meanwhile.
CJobContext& ShownJob();

// Shows a job while this object lives.
class CShownJob {
 public:
  explicit CShownJob(CJobContext& context);
  ~CShownJob();
  CShownJob(const CShownJob&) = delete;
  CShownJob& operator=(const CShownJob&) = delete;

 private:
  CJobContext& m_context;
};

}  // namespace tolvane
