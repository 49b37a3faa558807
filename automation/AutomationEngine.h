// A database engine that is installed on the system, behind dao/dao.h, by late-bound automation.
//
// What it does otherwise than our own: a row that breaks a key or a rule is refused. Keys and rules are
// therefore made behind the rows, or, where they have to be there before, the refused rows are kept in a
// table of their own.
#pragma once

#include <memory>

#include "automation/AutomationObject.h"
#include "automation/EngineProbe.h"
#include "automation/EngineThread.h"
#include "dao/dao.h"

namespace tolvane {

struct SAutomationOptions {
  // Keys are made behind the rows; otherwise with their table.
  bool keysLast = true;
  SCallLimits limits = {};
};

std::unique_ptr<CDaoEngine> MakeAutomationEngine(std::unique_ptr<CAutomationServers> servers,
                                                 const SAutomationOptions& options);

}  // namespace tolvane
