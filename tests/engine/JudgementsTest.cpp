// What a run concludes from all of its tables together.
#include "engine/Judgements.h"
#include "engine/RowCounts.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class Judgements : public CEngineTest {
 protected:
  void AddColumns(size_t count, uint16_t codePage) {
    CAccessTable& table = data.GetTables().AddTable(4096 * (data.GetTables().GetCount() + 3));
    for (size_t i = 0; i < count; i++) {
      CAccessColumn column;
      column.codePage = codePage;
      table.columns.Add(std::move(column));
    }
  }

  CAccessData data{kStandardRules, GetWorkFolder()};
};

TEST_F(Judgements, MostColumnsDecideTheCodePage) {
  EXPECT_EQ(VoteCodePage(data.GetTables()), std::nullopt);
  AddColumns(9, 0);
  AddColumns(9, 64999);  // none that a machine knows
  EXPECT_EQ(VoteCodePage(data.GetTables()), std::nullopt);
  AddColumns(2, 1252);
  AddColumns(2, 1251);
  EXPECT_EQ(VoteCodePage(data.GetTables()), 1251) << "the lowest of two";
  AddColumns(1, 1252);
  EXPECT_EQ(VoteCodePage(data.GetTables()), 1252) << "votes of several tables count together";
}

TEST_F(Judgements, NamesThatMayBeWrong) {
  CAccessTable& table = data.GetTables().AddTable(3 * 4096);
  table.header = {.rowCount = 1, .tableType = kUserTable};
  EXPECT_EQ(DoubtOfName(table), std::nullopt);
  table.nameSource = ENameSource::Generated;
  EXPECT_EQ(DoubtOfName(table), EDamage::UnnamedTable);
  table.nameSource = ENameSource::Place;
  EXPECT_EQ(DoubtOfName(table), EDamage::MistakableTable);
  table.header.tableType = kSystemTable;
  EXPECT_EQ(DoubtOfName(table), std::nullopt);
  table.header = {.rowCount = 0, .tableType = kUserTable};
  EXPECT_EQ(DoubtOfName(table), std::nullopt) << "nobody misses a table without rows";
}

TEST_F(Judgements, PromisedRowsThatAreNotThereAreMissing) {
  COpenedFile source(Bytes(size_t{4} * 4096), kLayoutJet4);
  CAccessTable& table = data.GetTables().AddTable(3 * 4096);
  const auto missing = [&](uint32_t promised, uint32_t found) {
    data.GetLedger() = {};
    table.promisedRows = promised;
    table.header.rowCount = found;
    CountMissingRows(data, source, {}, ShownJob());
    return data.GetLedger().GetCount(EDamage::MissingRows);
  };
  EXPECT_EQ(missing(10, 7), 3u);
  EXPECT_EQ(missing(7, 7), 0u);
  EXPECT_EQ(missing(7, 10), 0u);
  const uint32_t most = 4 * kLayoutJet4.data.MaximumSlots(4096);
  EXPECT_EQ(missing(most, 0), most);
  EXPECT_EQ(missing(most + 1, 0), 0u) << "more than the file has room for";
}

}  // namespace

}  // namespace tolvane
