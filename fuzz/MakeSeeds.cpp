// make_seeds FOLDER: writes small databases of both page formats into it, which the fuzzers start from.
#include <cstdlib>

#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/SampleBuilder.h"

namespace tolvane {
namespace {

void FillTable(CSampleBuilder& database, const char* name) {
  const char* const values[] = {"1.5", "200", "-1e9", "2001-02-03 04:05:06", "text"};
  database.AddTable(name,
                    {AutoNumber("ID"), Fixed("Money", kDaoCurrency), Fixed("Byte", kDaoByte),
                     Fixed("Double", kDaoDouble), Fixed("Date", kDaoDate), Text("Text", 40), Memo("Memo"),
                     Ole("Ole"), Fixed("Flag", kDaoBoolean), Fixed("Guid", kDaoGuid)},
                    {"Text"});
  database.OpenTable(name);
  for (const size_t length : {0U, 10U, 700U, 5000U}) {
    database.BeginRow();
    for (size_t i = 0; i < std::size(values); i++) database.Set(i + 1, length == 0 ? "" : values[i]);
    database.Set(6, std::string(length, 'm'));
    database.SetBytes(7, std::vector<uint8_t>(length));
    database.EndRow();
  }
  database.CloseTable();
}

void MakeSeed(const std::string& path, int32_t version) {
  RemoveFile(FromNativePath(path));
  CSampleBuilder builder(path, version);
  FillTable(builder, "One");
  FillTable(builder, "Two");
  CDaoDatabase& database = builder.GetDatabase();
  SSavedQuery query{u"Query", 0, {}, {}};
  query.rows = {
      {kQueryStart, 0, {}, {}, {}, {}},        {kQueryKind, kKindSelect, {}, {}, {}, {}},
      {kQuerySource, {}, u"One", {}, {}, {}},  {kQuerySource, {}, u"Two", {}, {}, {}},
      {kQueryColumn, 0, {}, {}, u"One.*", {}}, {kQueryJoin, 1, u"One", u"Two", u"One.ID = Two.ID", {}},
      {kQueryEnd, {}, {}, {}, {}, {}}};
  if (!database.CreateRelation({u"Both", u"One", u"Two", 0, {{u"ID", u"ID"}}}).IsOk() ||
      !database.CreateQuery(query).IsOk())
    std::abort();
  builder.Close();
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  tolvane::MakeSeed(std::string(argv[1]) + "/jet3", tolvane::kDaoVersionJet3);
  tolvane::MakeSeed(std::string(argv[1]) + "/jet4", tolvane::kDaoVersionJet4);
  return 0;
}
