#include "app/OverallProgress.h"

#include <algorithm>
#include <cmath>

#include "platform/Text.h"
#include "status/JobContext.h"

namespace tolvane {

namespace {

struct SStep {
  std::u16string_view start;  // of the status text
  double first;               // share of the whole
  double last;
  bool countsPages = false;  // rows are counted by definitions that may lie; pages are there
};

// The two scans share one bar, of which each fills a half.
constexpr SStep kSteps[] = {
    {u"Looking for the pages", 0, 0.1}, {u"(Step 1/4)", 0, 0.4},     {u"(Step 2/4)", 0, 0.4},
    {u"(Step 3/4)", 0.4, 0.97, true},   {u"(Step 4/4)", 0.97, 0.99}, {u"(Step 1/2)", 0, 0.05},
    {u"(Step 2/2)", 0.05, 0.99},
};

// Before so much is done an estimate is a guess.
constexpr double kShareNeeded = 0.05;
constexpr double kSecondsNeeded = 5;
// An estimate that differs by more begins anew.
constexpr double kSteady = 0.2;

double Part(int32_t position, int32_t maximum) {
  return maximum < 1 ? 0 : std::clamp(static_cast<double>(position) / maximum, 0.0, 1.0);
}

}  // namespace

SJobLook LookAt(const CJobContext& job) {
  return {job.status.GetText(), job.progress.GetPos(), job.progress.GetMax(), job.pages.GetPos(),
          job.pages.GetMax()};
}

void COverallProgress::Start(double now) {
  *this = {};
  m_start = m_steadySince = now;
}

void COverallProgress::Update(const SJobLook& job, double now) {
  const auto* const step = std::ranges::find_if(
      kSteps, [&job](const SStep& candidate) { return job.status.starts_with(candidate.start); });
  if (step != std::end(kSteps)) {
    const double part = step->countsPages ? Part(job.pages, job.allPages) : Part(job.position, job.maximum);
    m_share = std::max(m_share, step->first + part * (step->last - step->first));
  }
  Estimate(now);
}

void COverallProgress::Estimate(double now) {
  if (m_share < kShareNeeded || now <= m_start) return;
  const double expected = (now - m_start) / m_share;
  if (std::abs(expected - m_expected) > kSteady * m_expected) {
    m_expected = expected;
    m_steadySince = now;
    return;
  }
  if (now - m_steadySince < kSecondsNeeded) return;
  const int minutes = static_cast<int>(std::lround(expected * (1 - m_share) / 60));
  // A minute more for a moment is no news.
  if (!m_minutesLeft || minutes < *m_minutesLeft || minutes > *m_minutesLeft + 1) m_minutesLeft = minutes;
}

std::u16string COverallProgress::GetText() const {
  std::u16string text = ToDecimal(GetPercent()) + u" % done";
  if (!m_minutesLeft) return text;
  if (*m_minutesLeft < 1) return text + u", less than a minute left";
  return text + u", about " + ToDecimal(*m_minutesLeft) + (*m_minutesLeft == 1 ? u" minute" : u" minutes") +
         u" left";
}

}  // namespace tolvane
