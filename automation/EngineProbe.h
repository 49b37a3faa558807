// Which database engines are installed, and why one cannot be used.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/AutomationObject.h"
#include "automation/EngineThread.h"

namespace tolvane {

// Newest first.
inline constexpr std::u16string_view kEngineClasses[] = {
    u"DAO.DBEngine.160", u"DAO.DBEngine.150", u"DAO.DBEngine.140",
    u"DAO.DBEngine.120", u"DAO.DBEngine.36",  u"DAO.DBEngine.35",
};

struct SInstalledEngine {
  std::u16string className;
  std::u16string version;  // as it says itself; empty where it did not start
  std::u16string problem;  // why it cannot be used; empty where it can
};

// The registered ones, newest first: each is started and asked for its version.
std::vector<SInstalledEngine> ListInstalledEngines(CEngineThread& thread);
// Why none of them can be used; empty where one can.
std::u16string DescribeMissingEngine(const CAutomationServers& servers,
                                     const std::vector<SInstalledEngine>& engines);

}  // namespace tolvane
