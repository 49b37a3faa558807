#include "cli/EngineChoice.h"

#include "embedded/EmbeddedEngine.h"
#include "store/WorkFolder.h"

namespace tolvane {

std::unique_ptr<CDaoEngine> MakeEngine(EEngineChoice choice, std::shared_ptr<CIdentity> identity,
                                       std::u16string& problem) {
  if (choice == EEngineChoice::Embedded)
    return MakeEmbeddedEngine({.tempFolder = GetWorkFolder(), .identity = std::move(identity)});
  problem =
      u"An installed DAO engine cannot be used here. Leave --engine out: the program has an engine of its "
      u"own.";
  return nullptr;
}

const char* NameOf(EEngineChoice choice) {
  return choice == EEngineChoice::Dao ? "dao" : "embedded";
}

}  // namespace tolvane
