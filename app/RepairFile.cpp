#include "app/RepairFile.h"

#include "app/WorkerThread.h"
#include "status/Status.h"

namespace tolvane {

bool RepairFile(COvRepairFileManager& manager) {
  manager.SetRepair(nullptr);
  auto repair = std::make_unique<CAccessRepair>(RulesOf(manager.GetRules()));
  const std::u16string corrupted = manager.GetCorruptedPath();
  repair->Repair(corrupted, {}, manager.GetMode().IsAdvance() ? manager.GetTemplatePath() : corrupted);
  if (!CRepairingFileStatus::Instance().IsRunning()) return false;
  manager.SetRepair(std::move(repair));
  return true;
}

void RunRepairWorker(COvRepairFileManager& manager) {
  CRepairThreadCounter::Instance()++;
  const std::u16string problem = RunGuarded([&manager] { RepairFile(manager); });
  if (!problem.empty()) {
    CRepairLog::Instance().Append(u"The repair ended early: " + problem);
    CStatusProgress::Instance().SetText(problem);
  }
  CRepairingFileStatus::Instance().SetRunning(false);
  CRepairThreadCounter::Instance()--;
}

}  // namespace tolvane
