// One repair on its worker thread.
#pragma once

#include <string>

#include "app/RepairFileManager.h"
#include "status/JobContext.h"

namespace tolvane {

class COvRepairFile {
 public:
  virtual ~COvRepairFile() = default;
};

// Blocks until the repair has ended. The manager's earlier result goes first; the new one is kept, and true
// answered, unless the job says by then that the repair was stopped.
bool RepairFile(COvRepairFileManager& manager, CJobContext& job);

// What the repair's worker thread does: RepairFile between the counter's increment and decrement, in a work
// folder that is there, with the job not repairing at the end. Answers why the repair ended early; empty when
// it ended well or was stopped. Never throws.
std::u16string RunRepairWorker(COvRepairFileManager& manager, CJobContext& job);

}  // namespace tolvane
