#include "cli/ProgressLine.h"

#include <algorithm>

#include "cli/DisplayText.h"
#include "platform/Terminal.h"

namespace tolvane {

namespace {

constexpr double kSecondsBeforeGuess = 2.0;
constexpr double kSecondsBetweenGuesses = 1.0;
constexpr double kShareBeforeGuess = 0.02;
constexpr double kLongestGuess = 99 * 3600.0;
constexpr size_t kBarWidth = 20;

// The two steps that read the whole file share one bar: half of it is one reading.
constexpr std::u16string_view kScanSteps[] = {u"(Step 1/4)", u"(Step 2/4)"};
constexpr double kReadingsPerBar = 2.0;
constexpr std::u16string_view kRowSteps[] = {u"(Step 3/4)", u"(Step 2/2)", u"Exporting rows"};

// A log line for each table; too many for a plain progress report.
constexpr std::u16string_view kTableLine = u"Saving data for ";

template <size_t N>
bool IsOneOf(std::u16string_view step, const std::u16string_view (&starts)[N]) {
  return std::any_of(std::begin(starts), std::end(starts),
                     [step](std::u16string_view start) { return step.starts_with(start); });
}

std::string FormatDuration(double seconds) {
  const auto whole = static_cast<uint64_t>(seconds);
  const auto twoDigits = [](uint64_t n) { return (n < 10 ? "0" : "") + std::to_string(n); };
  if (whole < 3600) return std::to_string(whole / 60) + ":" + twoDigits(whole % 60);
  return std::to_string(whole / 3600) + ":" + twoDigits(whole / 60 % 60) + ":" + twoDigits(whole % 60);
}

double FractionOf(const SProgressState& state) {
  return std::clamp(static_cast<double>(state.position) / std::max(state.maximum, 1), 0.0, 1.0);
}

// A step, and the part of its phase that it is.
struct SStepShare {
  EJobPhase phase;
  std::u16string_view start;  // of its status text
  double from;
  double to;
};
constexpr SStepShare kSteps[] = {{EJobPhase::Opening, u"Looking for the pages", 0, 1},
                                 // The two scans share one bar.
                                 {EJobPhase::Recovery, u"(Step 1/4)", 0, 0.4},
                                 {EJobPhase::Recovery, u"(Step 2/4)", 0, 0.4},
                                 {EJobPhase::Recovery, u"(Step 3/4)", 0.4, 0.98},
                                 {EJobPhase::Recovery, u"(Step 4/4)", 0.98, 1},
                                 {EJobPhase::Save, u"(Step 1/2)", 0, 0.03},
                                 {EJobPhase::Save, u"(Step 2/2)", 0.03, 1},
                                 {EJobPhase::Export, u"Exporting rows", 0, 1},
                                 {EJobPhase::Examination, u"Examining pages", 0, 0.6},
                                 {EJobPhase::Examination, u"Checking pages", 0.6, 1},
                                 {EJobPhase::Check, u"Checking pages", 0, 1}};

// About how long the phases take, compared with each other.
double WeightOf(EJobPhase phase) {
  constexpr double kWeights[] = {1, 19, 47, 40, 12, 19};  // in the order of the phases
  return kWeights[static_cast<size_t>(phase)];
}

}  // namespace

std::u16string_view StepOf(std::u16string_view status) {
  const size_t colon = status.find(u':');
  const size_t dots = status.find(u"...");
  return status.substr(0, std::min(colon, dots));
}

void CStepClock::See(const SProgressState& state, double seconds) {
  const std::u16string_view step = StepOf(state.status);
  if (step != m_step || state.position < m_firstPosition) {
    m_step = step;
    m_started = m_refreshed = seconds;
    m_firstPosition = state.position;
    m_rate.clear();
    return;
  }
  if (seconds - m_started < kSecondsBeforeGuess || seconds - m_refreshed < kSecondsBetweenGuesses) return;
  m_refreshed = seconds;
  Refresh(state, seconds - m_started);
}

void CStepClock::Refresh(const SProgressState& state, double elapsed) {
  const double maximum = std::max(state.maximum, 1);
  const double done = state.position - m_firstPosition;
  m_rate.clear();
  if (done <= 0) return;
  if (IsOneOf(m_step, kScanSteps)) {
    const double bytes = done / maximum * kReadingsPerBar * static_cast<double>(m_sourceBytes);
    m_rate = FormatSize(static_cast<uint64_t>(bytes / elapsed)) + "/s";
  } else if (IsOneOf(m_step, kRowSteps)) {
    m_rate = std::to_string(static_cast<uint64_t>(done / elapsed)) + " rows/s";
  }
}

double CJobClock::ShareOf(const SProgressState& state) const {
  if (m_phases.empty()) return FractionOf(state);
  double all = 0, done = 0;
  for (const EJobPhase phase : m_phases) {
    for (const SStepShare& step : kSteps)
      if (step.phase == phase && state.status.starts_with(step.start))
        done = all + WeightOf(phase) * (step.from + FractionOf(state) * (step.to - step.from));
    all += WeightOf(phase);
  }
  return done / all;
}

void CJobClock::See(const SProgressState& state, double seconds) {
  if (!m_isStarted) m_started = m_refreshed = seconds;
  m_isStarted = true;
  m_share = std::max(m_share, ShareOf(state));
  if (seconds - m_started < kSecondsBeforeGuess || seconds - m_refreshed < kSecondsBetweenGuesses) return;
  m_refreshed = seconds;
  m_left.clear();
  if (m_share < kShareBeforeGuess) return;
  const double left = (seconds - m_started) * (1 - m_share) / m_share;
  if (left < kLongestGuess) m_left = FormatDuration(left) + " left";
}

std::string FormatProgress(std::u16string_view status, const CJobClock& job, const std::string& rate,
                           size_t width) {
  const auto filled = static_cast<size_t>(job.GetShare() * kBarWidth);
  const auto percent = static_cast<int>(job.GetShare() * 100);
  std::string head = "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " +
                     PadLeft(std::to_string(percent), 3) + " %";
  if (!job.GetTimeLeft().empty()) head += "  " + job.GetTimeLeft();
  const std::string tail = rate.empty() ? std::string() : "  " + rate;
  const size_t used = head.size() + tail.size() + 2;
  if (used >= width) return Shorten(head, width);
  return head + "  " + Shorten(ToDisplay(status), width - used) + tail;
}

void CProgressLine::Update(const SProgressState& state, double seconds) {
  if (m_form != EProgressForm::Updating) return;
  m_clock.See(state, seconds);
  m_job.See(state, seconds);
  // A full line would make some terminals scroll.
  const unsigned width = std::max(GetTerminalWidth(EStream::Error), 21u) - 1;
  std::string line = FormatProgress(state.status, m_job, m_clock.GetRate(), width);
  if (line == m_shown) return;
  WriteStream(EStream::Error, "\r" + line + "\x1b[K");
  m_shown = std::move(line);
}

void CProgressLine::ShowLog(std::u16string_view lines) {
  std::string shown;
  while (!lines.empty()) {
    const size_t end = std::min(lines.find(u"\r\n"), lines.size());
    const std::u16string_view line = lines.substr(0, end);
    lines.remove_prefix(std::min(end + 2, lines.size()));
    const bool isStep =
        m_form == EProgressForm::Lines && line.ends_with(u"...") && !line.starts_with(kTableLine);
    if (m_log == ELogForm::All || isStep) shown += ToDisplay(line) + "\n";
  }
  if (shown.empty()) return;
  Clear();
  WriteStream(EStream::Error, shown);
}

void CProgressLine::Clear() {
  if (m_shown.empty()) return;
  WriteStream(EStream::Error, "\r\x1b[K");
  m_shown.clear();
}

}  // namespace tolvane
