#include "app/InstalledEngines.h"

#include <chrono>
#include <utility>

#include "automation/AutomationEngine.h"

namespace tolvane {

namespace {

constexpr std::chrono::seconds kProbeLimit{10};

}  // namespace

SInstalledEngines FindInstalledEngines(std::u16string_view folder) {
  CEngineThread thread(MakeSystemServers(), {.call = kProbeLimit});
  SInstalledEngines found;
  found.engines = ListInstalledEngines(thread, folder);
  found.problem = DescribeMissingEngine(thread.GetServers(), found.engines);
  return found;
}

// The standard rules make keys with their tables; the exact ones must not lose a row to them.
std::unique_ptr<CDaoEngine> MakeInstalledEngine(ERules rules, std::function<bool()> isWanted) {
  SAutomationOptions options{.keysLast = rules == ERules::Exact};
  options.limits.isWanted = std::move(isWanted);
  return MakeAutomationEngine(MakeSystemServers(), options);
}

}  // namespace tolvane
