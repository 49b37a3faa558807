// Collects the parsed information from the result of a repair.
#pragma once

#include "model/AccessData.h"
#include "writer/handoff/AccdbParsedInfo.h"

namespace tolvane {

class CAccdbPICollector {
 public:
  // Replaces what `parsedInfo` held. No table is left out, system tables included.
  void Collect(const CAccessData& parseData, CAccdbParsedInfo& parsedInfo) const;
};

}  // namespace tolvane
