#include "status/Status.h"

#include <algorithm>
#include <limits>

#include "platform/Process.h"

namespace tolvane {

namespace {

constexpr uint32_t kPreviewPoll = 1;  // long enough to cost nothing, short enough that nobody notices

}  // namespace

void CProgressStatus::SetMax(uint64_t max) {
  m_max.Set(static_cast<int32_t>(std::clamp<uint64_t>(max, 1, std::numeric_limits<int32_t>::max())));
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
