// The thread on which an installed engine lives. It enters the system's apartment with the first call and
// leaves it when it ends; every object is made, called and released there. Callers wait, but not forever: an
// engine that does not come back is given up with its thread, and every later call fails at once until End.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/AutomationObject.h"
#include "dao/dao.h"

namespace tolvane {

struct SCallLimits {
  std::chrono::milliseconds call{std::chrono::minutes(5)};
  // Calls that work through whole tables: Append and Close.
  std::chrono::milliseconds longCall{std::chrono::minutes(60)};
  // Once the user wants no more.
  std::chrono::milliseconds unwanted{std::chrono::seconds(10)};
  // Whether the user still waits for the engine; empty: always.
  std::function<bool()> isWanted = {};
};

// Its own calls come from one thread at a time. The objects that it answers may be released from any thread.
class CEngineThread {
 public:
  CEngineThread(std::unique_ptr<CAutomationServers> servers, SCallLimits limits);
  // Ends the thread, or gives it up.
  ~CEngineThread();
  CEngineThread(const CEngineThread&) = delete;
  CEngineThread& operator=(const CEngineThread&) = delete;

  // Starts the thread where it does not run.
  SCallEnd Create(std::u16string_view className, AutomationObject& object);
  bool ReadText(std::u16string_view text, const AutomationValue& kind, AutomationValue& value);
  [[nodiscard]] const CAutomationServers& GetServers() const { return *m_servers; }
  // What calls of objects answered that failed, since the last question.
  std::vector<CDaoEngineError> TakeErrors() { return std::exchange(*m_errors, {}); }

  // The objects must be released. The next Create starts anew, on a thread of its own even if this one hangs.
  void End();

  struct SState;

 private:
  SCallEnd Start();

  const std::shared_ptr<CAutomationServers> m_servers;
  const SCallLimits m_limits;
  const std::shared_ptr<std::vector<CDaoEngineError>> m_errors;  // of the callers alone
  std::shared_ptr<SState> m_state;                               // while a thread runs
};

}  // namespace tolvane
