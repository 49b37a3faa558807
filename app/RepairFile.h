// One repair on its worker thread.
#pragma once

#include "app/RepairFileManager.h"

namespace tolvane {

class COvRepairFile {
 public:
  virtual ~COvRepairFile() = default;
};

// Blocks until the repair has ended. The manager's earlier result goes first; the new one is kept, and true
// answered, unless CRepairingFileStatus says by then that the repair was stopped.
bool RepairFile(COvRepairFileManager& manager);

// What the repair's worker thread does: RepairFile between the counter's increment and decrement, with
// CRepairingFileStatus not running at the end. Never throws.
void RunRepairWorker(COvRepairFileManager& manager);

}  // namespace tolvane
