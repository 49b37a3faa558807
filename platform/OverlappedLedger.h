// The counting rules of overlapped writes, one for all systems: how many are pending, how many bytes they
// hold, which error came last, and the waits for these. Only the file classes report here.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/FileCust.h"

namespace tolvane {

// One write from its issue to its completion, which destroys it.
struct SOverlappedWrite {
  std::vector<uint8_t> buffer;
  uint64_t offset = 0;
  std::shared_ptr<COverlappedEvent> event;  // null when nobody waits for just this write
  std::shared_ptr<uint32_t> filePending;    // pending writes of its file, changed by the ledger only
};

// Lets completion routines of this thread run, for at most this long. False, at once, where they need no
// help.
bool RunCompletions(uint32_t milliseconds);

class COverlappedLedger {
 public:
  static COverlappedLedger& Instance();

  void Issue(const SOverlappedWrite& write);
  // The write ended; `error` is 0 when all of it was written.
  void Complete(const SOverlappedWrite& write, uint32_t error);
  [[nodiscard]] SOverlappedCounters GetCounters() const;

  // Each false when the time is over.
  bool WaitForRoom(uint32_t milliseconds);
  bool WaitForAll(uint32_t milliseconds);
  bool WaitForFile(const uint32_t& filePending, uint32_t milliseconds);
  bool WaitForEvent(const COverlappedEvent& event, uint32_t milliseconds);

 private:
  // `isReached` is called under the lock.
  bool WaitUntil(uint32_t milliseconds, const std::function<bool()>& isReached);

  mutable std::mutex m_mutex;
  std::condition_variable m_changed;
  SOverlappedCounters m_counters;
};

}  // namespace tolvane
