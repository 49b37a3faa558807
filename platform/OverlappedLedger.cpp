#include "platform/OverlappedLedger.h"

#include <algorithm>
#include <chrono>

namespace tolvane {

namespace {
// A write of another thread completes in that thread: look again this often.
constexpr std::chrono::milliseconds kSlice{10};
}  // namespace

COverlappedLedger& COverlappedLedger::Instance() {
  static COverlappedLedger ledger;
  return ledger;
}

void COverlappedLedger::Issue(const SOverlappedWrite& write) {
  const std::lock_guard lock(m_mutex);
  m_counters.pendingWrites++;
  m_counters.outstandingBytes += write.buffer.size();
  if (write.filePending) ++*write.filePending;
}

void COverlappedLedger::Complete(const SOverlappedWrite& write, uint32_t error) {
  {
    const std::lock_guard lock(m_mutex);
    m_counters.pendingWrites--;
    m_counters.outstandingBytes -= write.buffer.size();
    if (error != kNoSystemError) m_counters.lastError = error;
    if (write.filePending) --*write.filePending;
    if (write.event) write.event->m_isSignalled = true;
  }
  m_changed.notify_all();
}

SOverlappedCounters COverlappedLedger::GetCounters() const {
  const std::lock_guard lock(m_mutex);
  return m_counters;
}

bool COverlappedLedger::WaitUntil(uint32_t milliseconds, const std::function<bool()>& isReached) {
  using CClock = std::chrono::steady_clock;
  const auto end = CClock::now() + std::chrono::milliseconds(milliseconds);
  RunCompletions(0);
  std::unique_lock lock(m_mutex);
  while (!isReached()) {
    const auto now = CClock::now();
    if (now >= end) return false;
    const auto slice = std::min(std::chrono::ceil<std::chrono::milliseconds>(end - now), kSlice);
    lock.unlock();
    const bool hasRun = RunCompletions(static_cast<uint32_t>(slice.count()));
    lock.lock();
    if (!hasRun) m_changed.wait_until(lock, end, isReached);
  }
  return true;
}

bool COverlappedLedger::WaitForRoom(uint32_t milliseconds) {
  return WaitUntil(milliseconds, [this] { return m_counters.outstandingBytes < kRoomToWriteBytes; });
}

bool COverlappedLedger::WaitForAll(uint32_t milliseconds) {
  return WaitUntil(milliseconds, [this] { return m_counters.pendingWrites == 0; });
}

bool COverlappedLedger::WaitForFile(const uint32_t& filePending, uint32_t milliseconds) {
  return WaitUntil(milliseconds, [&filePending] { return filePending == 0; });
}

bool COverlappedLedger::WaitForEvent(const COverlappedEvent& event, uint32_t milliseconds) {
  return WaitUntil(milliseconds, [&event] { return event.IsSignalled(); });
}

bool COverlappedEvent::Wait(uint32_t milliseconds) {
  return COverlappedLedger::Instance().WaitForEvent(*this, milliseconds);
}

SOverlappedCounters GetOverlappedCounters() {
  return COverlappedLedger::Instance().GetCounters();
}

bool WaitForRoomToWrite(uint32_t milliseconds) {
  return COverlappedLedger::Instance().WaitForRoom(milliseconds);
}

bool CFileCust::WaitForOverlapped(uint32_t milliseconds) {
  return COverlappedLedger::Instance().WaitForAll(milliseconds);
}

}  // namespace tolvane
