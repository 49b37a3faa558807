#include "status/JobContext.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "platform/Process.h"

namespace tolvane {

namespace {

constexpr uint32_t kPauseSlice = 20;  // milliseconds; nobody notices that a stop waits for it

std::atomic<CJobContext*>& Shown() {
  static CJobContext idle;
  static std::atomic<CJobContext*> shown{&idle};
  return shown;
}

CJobContext& Idle() {
  static CJobContext& idle = *Shown().load();
  return idle;
}

}  // namespace

uint32_t CJobContext::GetThreads() const {
  const uint32_t threads = m_threads.Get();
  return threads != 0 ? threads : std::max(std::thread::hardware_concurrency(), 1U);
}

void CJobContext::Stop() {
  repairing.SetRunning(false);
  saving.SetSaving(false);
  preview.SetAbort(1);
}

void CJobContext::Pause() const {
  const double end = GetMonotonicSeconds() + pause.GetLength() / 1000.0;
  while (IsRunning()) {
    const double left = (end - GetMonotonicSeconds()) * 1000.0;
    if (left <= 0) return;
    SleepMilliseconds(std::min(kPauseSlice, static_cast<uint32_t>(left) + 1));
  }
}

CJobContext& ShownJob() {
  return *Shown().load();
}

CShownJob::CShownJob(CJobContext& context) : m_context(context) {
  Idle();  // known before it is hidden for the first time
  Shown().store(&context);
}

CShownJob::~CShownJob() {
  CJobContext* mine = &m_context;
  Shown().compare_exchange_strong(mine, &Idle());
}

CRepairThreadCounter& CRepairThreadCounter::Instance() {
  return ShownJob().workers;
}
CRepairingFileStatus& CRepairingFileStatus::Instance() {
  return ShownJob().repairing;
}
CSavingStatus& CSavingStatus::Instance() {
  return ShownJob().saving;
}
CProgressStatus& CProgressStatus::Instance() {
  return ShownJob().progress;
}
CStatusProgress& CStatusProgress::Instance() {
  return ShownJob().status;
}
CRepairLog& CRepairLog::Instance() {
  return ShownJob().log;
}
CPreviewThreadStatus& CPreviewThreadStatus::Instance() {
  return ShownJob().preview;
}
CDisplayPause& CDisplayPause::Instance() {
  return ShownJob().pause;
}

void CDisplayPause::Pause() {
  ShownJob().Pause();
}

}  // namespace tolvane
