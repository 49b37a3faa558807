// Properties of an engine's objects: those that an object has by itself are set, others are added to it.
#pragma once

#include "automation/AutomationObject.h"
#include "dao/dao.h"

namespace tolvane {

CDaoResult SetProperty(const AutomationObject& owner, const CDaoProperty& property);

}  // namespace tolvane
