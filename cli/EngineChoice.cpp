#include "cli/EngineChoice.h"

#include <utility>

#include "app/InstalledEngines.h"
#include "embedded/EmbeddedEngine.h"
#include "store/WorkFolder.h"

namespace tolvane {

std::unique_ptr<CDaoEngine> MakeEngine(CSession& session, std::shared_ptr<CIdentity> identity,
                                       std::u16string& problem) {
  const SArguments& arguments = session.GetArguments();
  if (arguments.engine == EEngineChoice::Embedded)
    return MakeEmbeddedEngine(
        {.tempFolder = GetWorkFolder(), .identity = std::move(identity), .threads = arguments.threads});
  problem = FindInstalledEngines().problem;
  if (!problem.empty()) {
    problem += u" Leave --engine out: the program has an engine of its own.";
    return nullptr;
  }
  const CSavingStatus& saving = session.GetJob().GetContext().saving;
  return MakeInstalledEngine(arguments.rules, [&saving] { return saving.IsSaving(); });
}

const char* NameOf(EEngineChoice choice) {
  return choice == EEngineChoice::Dao ? "dao" : "embedded";
}

}  // namespace tolvane
