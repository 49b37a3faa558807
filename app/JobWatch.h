// A job while it runs, as the window sees it: the timer that looks at it, the texts that are copied from it,
// and the waits for its end, which poll and keep painting. Main thread only.
#pragma once

#include <cstdint>
#include <functional>

#include "app/FrontEnd.h"
#include "app/Job.h"

namespace tolvane {

inline constexpr uint32_t kRepairTimer = 61462;
inline constexpr uint32_t kSaveTimer = 61463;
inline constexpr uint32_t kTimerPeriod = 1000;  // milliseconds

class CJobWatch {
 public:
  // All must outlive the watch. `clock`: null is the system's.
  CJobWatch(CMainViewWindow& view, CMainFrameWindow& frame, CJob& job, CWaitClock* clock)
      : m_view(view), m_frame(frame), m_job(job), m_clock(clock ? *clock : m_systemClock) {}
  CJobWatch(const CJobWatch&) = delete;
  CJobWatch& operator=(const CJobWatch&) = delete;

  // One timer at a time; the progress bar is shown while it runs.
  void StartRepairTimer() { StartTimer(kRepairTimer); }
  void StartSaveTimer() { StartTimer(kSaveTimer); }
  void StopRepairTimer() { StopTimer(kRepairTimer); }
  void StopSaveTimer();
  // Of a timer's message: one of another timer is late.
  [[nodiscard]] bool IsDue(uint32_t identifier) const { return identifier == m_timer; }
  void CopyTexts();

  [[nodiscard]] bool AreWorkersBusy() const;
  void WaitWhile(const std::function<bool()>& condition);
  void WaitForWorkers();
  void PauseAfterStop();

 private:
  void StartTimer(uint32_t identifier);
  void StopTimer(uint32_t identifier);

  CMainViewWindow& m_view;
  CMainFrameWindow& m_frame;
  CJob& m_job;
  CWaitClock m_systemClock;
  CWaitClock& m_clock;
  uint32_t m_timer = 0;  // the one that runs
};

}  // namespace tolvane
