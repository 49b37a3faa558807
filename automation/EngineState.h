// What the parts of one installed engine share: its thread, how it is to be used, and what waits for the
// rows.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/AutomationEngine.h"
#include "automation/EngineThread.h"
#include "dao/dao.h"

namespace tolvane {

// A table's AutoNumber, which counts on behind the last number that it gave out, even if that row is deleted.
struct SCounter {
  std::u16string field;
  size_t index = 0;
  int32_t last = 0;     // as the source has it
  int32_t highest = 0;  // of the stored rows; an engine counts on behind it
};

// Of one table, until its rows are there: keys, which would refuse rows, and properties, of which some would
// refuse rows and others fill empty fields.
struct SWaitingTable {
  std::vector<CDaoIndexInfo> indexes;
  std::vector<CDaoProperty> properties;
  std::vector<std::pair<std::u16string, std::vector<CDaoProperty>>> fieldProperties;
  std::vector<size_t> calculated;  // fields whose values the engine makes
  std::optional<SCounter> counter;
  // Fields with attributes that engines may drop without a word; to be looked at once stored.
  std::vector<std::pair<std::u16string, int32_t>> attributes;
};

struct SEngineState {
  SEngineState(std::unique_ptr<CAutomationServers> servers, const SAutomationOptions& given)
      : thread(std::move(servers), given.limits), options(given) {}

  CEngineThread thread;
  const SAutomationOptions options;
  std::map<std::u16string, SWaitingTable, std::less<>> waiting;  // by the table's name
};

}  // namespace tolvane
