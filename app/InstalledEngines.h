// The installed database engines, for every front end: what there is, why one cannot be used, and one to save
// with.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/EngineProbe.h"
#include "dao/dao.h"
#include "model/RecoveryRules.h"

namespace tolvane {

struct SInstalledEngines {
  std::vector<SInstalledEngine> engines;  // newest first
  std::u16string problem;                 // why none can be used; empty where one can

  [[nodiscard]] bool IsUsable() const { return problem.empty(); }
};
// Starts each of them; may take a second, and at most ten for one that hangs.
// In a `folder` of the caller's own each also makes an empty database of every format.
SInstalledEngines FindInstalledEngines(std::u16string_view folder = {});

// `isWanted`: whether the user still waits for it, asked from the save's thread; empty: always.
std::unique_ptr<CDaoEngine> MakeInstalledEngine(ERules rules, std::function<bool()> isWanted);

}  // namespace tolvane
