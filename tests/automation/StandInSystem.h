// Installs the stand-in engine where tests and programs find it: in Wine behind its COM server, elsewhere in
// the test itself.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/AutomationObject.h"

namespace tolvane {

// As DAO.DBEngine.120, and as DAO.DBEngine.36 for programs of the other bitness. `failure`: see
// SStandInWorld.
// In Wine it may have a process of its own.
enum class EStandIn : uint8_t { Library, Process };
void InstallStandIn(std::string_view failure, EStandIn kind = EStandIn::Library);
void RemoveStandIn();
// Whether each of its calls takes its time.
bool IsStandInDistant();
// Since it was installed.
std::vector<std::string> ReadStandInCalls();
std::unique_ptr<CAutomationServers> MakeStandInServers();

}  // namespace tolvane
