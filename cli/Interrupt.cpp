#include "cli/Interrupt.h"

#include <atomic>

#include "platform/Process.h"

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

}  // namespace tolvane
