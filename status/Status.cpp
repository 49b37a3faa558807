#include "status/Status.h"

#include <algorithm>

#include "platform/Process.h"

namespace tolvane {

namespace {

constexpr uint32_t kPreviewPoll = 1;  // long enough to cost nothing, short enough that nobody notices

}  // namespace

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

}  // namespace tolvane
