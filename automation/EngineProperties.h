// Properties of an engine's objects: those that an object has by itself are set, others are added to it.
#pragma once

#include <cstdint>
#include <span>

#include "automation/AutomationObject.h"
#include "dao/dao.h"

namespace tolvane {

CDaoResult SetProperty(const AutomationObject& owner, const CDaoProperty& property);

// Of a query and of its columns, from a blob as Jet 4 keeps it; each refusal costs only its property. Ok may
// carry a text: which were lost, and why the first was. A failure: the engine is gone.
CDaoResult SetQueryProperties(const AutomationObject& query, std::span<const uint8_t> blob);

}  // namespace tolvane
