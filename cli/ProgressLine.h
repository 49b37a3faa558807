// What the user sees while a worker runs: one updating line on a terminal, one line a step elsewhere. All of
// it goes to standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tolvane {

// What the status objects say at one moment.
struct SProgressState {
  std::u16string status;
  int32_t position = 0;
  int32_t maximum = 1;
};

// The step that a status text belongs to: the text without what changes from call to call.
std::u16string_view StepOf(std::u16string_view status);

// How fast a step goes, from what was seen of it so far.
class CStepClock {
 public:
  explicit CStepClock(uint64_t sourceBytes = 0) : m_sourceBytes(sourceBytes) {}
  // `seconds` is a clock that never goes back.
  void See(const SProgressState& state, double seconds);
  // "38.1 MB/s", "12000 rows/s"; empty while it cannot be told.
  [[nodiscard]] const std::string& GetRate() const { return m_rate; }

 private:
  void Refresh(const SProgressState& state, double elapsed);

  uint64_t m_sourceBytes;
  std::u16string m_step;
  double m_started = 0;
  double m_refreshed = 0;
  int32_t m_firstPosition = 0;
  std::string m_rate;
};

// What a job consists of, in this order.
enum class EJobPhase : uint8_t { Opening, Recovery, Save, Export, Examination, Check };

// How much of the whole job is done and how long the rest will take. The phases, and the steps in them, have
// fixed shares of the whole.
class CJobClock {
 public:
  // Without phases the job is one step.
  explicit CJobClock(std::vector<EJobPhase> phases = {}) : m_phases(std::move(phases)) {}
  void See(const SProgressState& state, double seconds);
  // 0 to 1; never goes back.
  [[nodiscard]] double GetShare() const { return m_share; }
  // "0:12 left"; empty while it cannot be told. Changes once a second at most.
  [[nodiscard]] const std::string& GetTimeLeft() const { return m_left; }

 private:
  [[nodiscard]] double ShareOf(const SProgressState& state) const;

  std::vector<EJobPhase> m_phases;
  bool m_isStarted = false;
  double m_started = 0;
  double m_refreshed = 0;
  double m_share = 0;
  std::string m_left;
};

// The line, at most `width` columns.
std::string FormatProgress(std::u16string_view status, const CJobClock& job, const std::string& rate,
                           size_t width);

enum class EProgressForm : uint8_t { Silent, Lines, Updating };
enum class ELogForm : uint8_t { Steps, All };

class CProgressLine {
 public:
  CProgressLine(EProgressForm form, ELogForm log, std::vector<EJobPhase> phases = {})
      : m_form(form), m_log(log), m_job(std::move(phases)) {}
  ~CProgressLine() { Clear(); }
  CProgressLine(const CProgressLine&) = delete;
  CProgressLine& operator=(const CProgressLine&) = delete;

  // A new phase on a source of that many bytes.
  void Start(uint64_t sourceBytes) { m_clock = CStepClock(sourceBytes); }
  void Update(const SProgressState& state, double seconds);
  // New lines of the log.
  void ShowLog(std::u16string_view lines);
  // Takes the updating line off the terminal.
  void Clear();

 private:
  EProgressForm m_form;
  ELogForm m_log;
  CJobClock m_job;
  CStepClock m_clock;
  std::string m_shown;  // the updating line that stands on the terminal
};

}  // namespace tolvane
