#include "status/Status.h"

#include <algorithm>

#include "platform/Process.h"

namespace tolvane {

namespace {

// Long enough to cost nothing, short enough that nobody notices the wait.
constexpr uint32_t kPreviewPoll = 1;
constexpr uint32_t kPauseSlice = 20;

// Made at its first use, gone with the process.
template <class T>
T& TheOnly() {
  static T object;
  return object;
}

bool IsAnythingRunning() {
  return CRepairingFileStatus::Instance().IsRunning() || CSavingStatus::Instance().IsSaving();
}

}  // namespace

CRepairThreadCounter& CRepairThreadCounter::Instance() {
  return TheOnly<CRepairThreadCounter>();
}
CRepairingFileStatus& CRepairingFileStatus::Instance() {
  return TheOnly<CRepairingFileStatus>();
}
CSavingStatus& CSavingStatus::Instance() {
  return TheOnly<CSavingStatus>();
}
CProgressStatus& CProgressStatus::Instance() {
  return TheOnly<CProgressStatus>();
}
CStatusProgress& CStatusProgress::Instance() {
  return TheOnly<CStatusProgress>();
}
CRepairLog& CRepairLog::Instance() {
  return TheOnly<CRepairLog>();
}
CPreviewThreadStatus& CPreviewThreadStatus::Instance() {
  return TheOnly<CPreviewThreadStatus>();
}
CDisplayPause& CDisplayPause::Instance() {
  return TheOnly<CDisplayPause>();
}

CRepairThreadCounter CRepairThreadCounter::operator++(int) {
  return CRepairThreadCounter(m_count.Change([](int32_t& count) { return count++; }));
}

CRepairThreadCounter CRepairThreadCounter::operator--(int) {
  return CRepairThreadCounter(m_count.Change([](int32_t& count) { return count--; }));
}

void CProgressStatus::IncrementPos() {
  m_pos.Change([](int32_t& pos) { pos++; });
}

void CProgressStatus::SetMax(int32_t max) {
  m_max.Set(std::max(max, 1));
}

void CRepairLog::Append(std::u16string_view text) {
  m_text.Change([text](std::u16string& log) {
    if (!log.empty()) log += u"\r\n";
    log += text;
  });
}

void CPreviewThreadStatus::WaitUntilFinished(void (*keepPainting)()) {
  while (IsBusy()) {
    if (keepPainting) keepPainting();
    SleepMilliseconds(kPreviewPoll);
  }
}

void CDisplayPause::Pause() {
  const double end = GetMonotonicSeconds() + GetLength() / 1000.0;
  while (IsAnythingRunning()) {
    const double left = (end - GetMonotonicSeconds()) * 1000.0;
    if (left <= 0) return;
    SleepMilliseconds(std::min(kPauseSlice, static_cast<uint32_t>(left) + 1));
  }
}

}  // namespace tolvane
