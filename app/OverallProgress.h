// How much of the whole work is done, and how long the rest takes: one figure for the bar, the title and the
// taskbar. Main thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tolvane {

class CJobContext;

// What a job says of itself at one moment.
struct SJobLook {
  std::u16string status;
  int32_t position = 0;
  int32_t maximum = 1;
  int32_t pages = 0;
  int32_t allPages = 1;
};
SJobLook LookAt(const CJobContext& job);

class COverallProgress {
 public:
  // Times are seconds since some fixed moment.
  void Start(double now);
  // The steps have fixed shares of the whole; never goes back, and never reaches 100, which only the end is.
  void Update(const SJobLook& job, double now);
  [[nodiscard]] int GetPercent() const { return static_cast<int>(m_share * 100); }
  // "37 % done, about 2 minutes left": no time before the estimate is steady, and none that jumps about.
  [[nodiscard]] std::u16string GetText() const;

 private:
  void Estimate(double now);

  double m_share = 0;
  double m_start = 0;
  double m_expected = 0;  // seconds for the whole, as they were when the estimate began to be steady
  double m_steadySince = 0;
  std::optional<int> m_minutesLeft;
};

}  // namespace tolvane
