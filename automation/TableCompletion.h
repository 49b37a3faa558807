// Keys and properties of a table, once its rows are there.
#pragma once

#include <functional>
#include <string_view>

#include "automation/EngineState.h"

namespace tolvane {

// What cannot be made as it was is made weaker or left out, and told in `change`; so is what a stop leaves
// out. A failure: the engine is gone or the disk is full.
CDaoResult CompleteTable(const AutomationObject& database, std::u16string_view name,
                         const SWaitingTable& table, const std::function<bool()>& isWanted,
                         CDaoTableChange& change);

}  // namespace tolvane
