#include "app/FrontEnd.h"
#include "platform/Process.h"

namespace tolvane {

double CWaitClock::GetSeconds() {
  return GetMonotonicSeconds();
}

void CWaitClock::Sleep(uint32_t milliseconds) {
  SleepMilliseconds(milliseconds);
}

}  // namespace tolvane
