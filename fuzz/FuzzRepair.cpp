// A whole repair of any bytes: the tables, their rows and queries, the map of the pages, and a save, whose
// database must be sound whatever it came from.
#include <cstdio>

#include "checker/DatabaseCheck.h"
#include "embedded/EmbeddedEngine.h"
#include "engine/AccessRepair.h"
#include "engine/PageInspector.h"
#include "engine/SourceCheck.h"
#include "fuzz/FuzzFile.h"
#include "render/RecordText.h"
#include "status/JobContext.h"
#include "store/WorkFolder.h"
#include "writer/AccessSaveRepairedFile.h"
#include "writer/QuerySaver.h"

namespace tolvane {
namespace {

void ReadAll(const CAccessData& data) {
  std::vector<std::u16string> cells;
  for (const auto& table : data.GetTables()) {
    CTableTextReader reader(*table, data.GetRules());
    for (bool isRow = reader.Open(); isRow;) isRow = reader.ReadRow(cells);
  }
  CTList<CQuery> queries;
  CQuerySaver::ReadQueries(data, queries);
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) query->GetSql();
}

void Save(const CAccessData& data) {
  const std::u16string path = GetTempFolder() + u"output";
  const auto engine = MakeEmbeddedEngine();
  CAccessSaveRepairedFile writer(*engine, ShownJob());
  writer.SetData(&data);
  writer.SetOutputPath(path);
  CSavingStatus::Instance().SetSaving(true);
  if (!writer.Save()) return;
  const SCheckReport report = CheckDatabase(path);
  for (const SFinding& found : report.findings)
    std::fprintf(stderr, "%s: %s\n", found.rule.data(), ToUtf8(found.table + u": " + found.text).c_str());
  if (report.verdict != ECheckVerdict::Checked || !report.findings.empty()) std::abort();
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  SetWorkFolder(GetTempFolder());
  const std::u16string path = WriteInput(data, size);
  CRepairingFileStatus::Instance().SetRunning(true);
  // The last byte, which is rarely more than the end of a page, chooses the rules.
  const SRecoveryRules& rules = size > 0 && (data[size - 1] & 1) != 0 ? kStandardRules : kExactRules;
  CSource source(rules);
  OpenSource(source, path);
  CAccessRepair repair{rules, ShownJob()};
  repair.Repair(source, source);
  ReadAll(*repair.GetData());
  CPageInspector(ShownJob()).Inspect(source, [](const SPageReport&) {});
  Save(*repair.GetData());
  return 0;
}
