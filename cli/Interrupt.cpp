#include "cli/Interrupt.h"

#include <atomic>

#include "platform/Process.h"
#include "status/Status.h"

namespace tolvane {

namespace {
std::atomic<bool> g_isInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);
}  // namespace

void ListenForInterrupt() {
  SetInterruptHandler([] { g_isInterrupted.store(true); });
}

bool IsInterrupted() {
  return g_isInterrupted.load();
}

void PassInterruptOn() {
  if (!IsInterrupted()) return;
  CRepairingFileStatus::Instance().SetRunning(false);
  CSavingStatus::Instance().SetSaving(false);
  CPreviewThreadStatus::Instance().SetAbort(1);
}

}  // namespace tolvane
