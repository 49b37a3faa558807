#include "app/RepairFile.h"

#include "app/WorkerThread.h"
#include "store/WorkFolder.h"

namespace tolvane {

bool RepairFile(COvRepairFileManager& manager, CJobContext& job) {
  manager.SetRepair(nullptr);
  auto repair = std::make_unique<CAccessRepair>(RulesOf(manager.GetRules()), job);
  const std::u16string corrupted = manager.GetCorruptedPath();
  if (manager.GetSource())
    repair->Repair(*manager.GetSource(), *manager.GetDefinitions());
  else
    repair->Repair(corrupted, {}, manager.GetMode().IsAdvance() ? manager.GetTemplatePath() : corrupted);
  if (!job.repairing.IsRunning()) return false;
  manager.SetRepair(std::move(repair));
  return true;
}

std::u16string RunRepairWorker(COvRepairFileManager& manager, CJobContext& job) {
  job.workers++;
  std::u16string problem = RunGuarded([&] {
    RestoreWorkFolder();
    RepairFile(manager, job);
  });
  if (!problem.empty()) {
    job.log.Append(u"The repair ended early: " + problem);
    job.status.SetText(problem);
  }
  job.repairing.SetRunning(false);
  job.workers--;
  return problem;
}

}  // namespace tolvane
