// A repair with a template, which is the second half of the bytes, by both sets of rules.
#include "engine/AccessRepair.h"
#include "engine/Source.h"
#include "fuzz/FuzzFile.h"
#include "status/JobContext.h"
#include "store/WorkFolder.h"

namespace tolvane {
namespace {

void Repair(const std::u16string& path, const std::u16string& templatePath, const SRecoveryRules& rules) {
  CRepairingFileStatus::Instance().SetRunning(true);
  CSource source(rules), definitions(rules);
  source.Open(path);
  definitions.Open(templatePath);
  CAccessRepair repair{rules, ShownJob()};
  repair.Repair(source, definitions);
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  SetWorkFolder(GetTempFolder());
  const size_t half = size / 2;
  const std::u16string templatePath = WriteInput(data + half, size - half, u"template");
  const std::u16string path = WriteInput(data, half);
  Repair(path, templatePath, kExactRules);
  Repair(path, templatePath, kStandardRules);
  return 0;
}
