// make_seeds FOLDER: writes what the fuzzers start from: small databases of both page formats into its folder
// "files", each twice in one file into "pairs", each definition behind a byte that tells its format into
// "definitions".
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "format/PageHead.h"
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

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void MakeSeeds(const std::string& folder, const std::string& name, int32_t version, const SLayout& layout) {
  const std::string path = folder + "/files/" + name;
  MakeSeed(path, version);
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  Write(folder + "/pairs/" + name, bytes + bytes);
  for (size_t at = 0; at + layout.pageSize <= bytes.size(); at += layout.pageSize) {
    const std::string page = bytes.substr(at, layout.pageSize);
    if (IsFirstOfDefinition(std::span(reinterpret_cast<const uint8_t*>(page.data()), page.size()), layout))
      Write(folder + "/definitions/" + name + "-" + std::to_string(at),
            (layout.pageSize == kLayoutJet3.pageSize ? '\0' : '\1') + page);
  }
}

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  tolvane::MakeSeeds(argv[1], "jet3", tolvane::kDaoVersionJet3, tolvane::kLayoutJet3);
  tolvane::MakeSeeds(argv[1], "jet4", tolvane::kDaoVersionJet4, tolvane::kLayoutJet4);
  return 0;
}
