#include "app/JobWatch.h"

namespace tolvane {

namespace {

constexpr uint32_t kPollPeriod = 5;      // milliseconds
constexpr double kPauseAfterStop = 3.0;  // seconds
constexpr uint32_t kPauseSlice = 20;     // milliseconds

}  // namespace

void CJobWatch::StartTimer(uint32_t identifier) {
  m_timer = identifier;
  m_view.ClearLog();
  m_frame.ShowProgressBar(true);
  m_frame.SetTimer(identifier, kTimerPeriod);
}

void CJobWatch::StopTimer(uint32_t identifier) {
  m_timer = 0;
  m_frame.KillTimer(identifier);
  m_frame.ShowProgressBar(false);
  m_frame.ResetProgressBar();
}

void CJobWatch::StopSaveTimer() {
  StopTimer(kSaveTimer);
  m_view.SetStatusLine(m_job.GetContext().status.GetText());
}

void CJobWatch::CopyTexts() {
  m_view.SetLogText(m_job.GetContext().log.Get());
  m_view.SetStatusLine(m_job.GetContext().status.GetText());
  m_frame.RefreshProgress();
}

bool CJobWatch::AreWorkersBusy() const {
  return m_job.GetContext().workers.GetCount() != 0 || m_job.IsWorking();
}

void CJobWatch::WaitWhile(const std::function<bool()>& condition) {
  while (condition()) {
    m_frame.KeepPainting();
    m_clock.Sleep(kPollPeriod);
  }
}

// The counter does not count saves; their thread itself is asked.
void CJobWatch::WaitForWorkers() {
  WaitWhile([this] { return AreWorkersBusy(); });
  m_job.Join();
}

void CJobWatch::PauseAfterStop() {
  const double end = m_clock.GetSeconds() + kPauseAfterStop;
  while (m_clock.GetSeconds() < end) {
    m_frame.KeepPainting();
    m_clock.Sleep(kPauseSlice);
  }
}

}  // namespace tolvane
