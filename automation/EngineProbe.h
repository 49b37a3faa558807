// Which database engines are installed, and why one cannot be used.
#pragma once

#include <cstdint>
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

// A format that an engine did not make when it was asked to.
struct SRefusedFormat {
  int32_t version = 0;  // an option of CreateDatabase
  int32_t number = 0;   // the engine's error
  std::u16string reason;
};

struct SInstalledEngine {
  std::u16string className;
  std::u16string version;  // as it says itself; empty where it did not start
  std::u16string problem;  // why it cannot be used; empty where it can
  std::vector<SRefusedFormat> refused = {};
};

// The registered ones, newest first: each is started and asked for its version. Where `folder` is given, each
// makes an empty database of every format there, which is deleted again.
std::vector<SInstalledEngine> ListInstalledEngines(CEngineThread& thread, std::u16string_view folder = {});
// Why none of them can be used; empty where one can.
std::u16string DescribeMissingEngine(const CAutomationServers& servers,
                                     const std::vector<SInstalledEngine>& engines);

}  // namespace tolvane
