#include "app/OverallProgress.h"

#include <algorithm>

namespace tolvane {

namespace {

struct SStep {
  std::u16string_view start;  // of the status text
  int first;                  // percent of the whole
  int last;
};

// The two scans share one bar, of which each fills a half.
constexpr SStep kSteps[] = {
    {u"(Step 1/4)", 0, 40},  {u"(Step 2/4)", 0, 40}, {u"(Step 3/4)", 40, 98},
    {u"(Step 4/4)", 98, 99}, {u"(Step 1/2)", 0, 5},  {u"(Step 2/2)", 5, 99},
};

}  // namespace

int COverallProgress::Update(std::u16string_view status, int32_t position, int32_t maximum) {
  const auto* const step = std::ranges::find_if(
      kSteps, [status](const SStep& candidate) { return status.starts_with(candidate.start); });
  if (step == std::end(kSteps) || maximum < 1) return m_percent;
  const int64_t done = std::clamp(position, 0, maximum);
  const auto percent = static_cast<int>(step->first + done * (step->last - step->first) / maximum);
  return m_percent = std::max(m_percent, percent);
}

}  // namespace tolvane
