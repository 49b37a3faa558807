// What the user sees of the long steps while they run.
#include <atomic>
#include <thread>

#include "engine/AccessTableDataFileParser.h"
#include "status/JobContext.h"
#include "store/AccessTableDataFile.h"
#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

class Progress : public CRowTest {
 protected:
  static CProgressStatus& Bar() { return CProgressStatus::Instance(); }
};

// A watcher may miss a short run, but not many.
TEST_F(Progress, TheBarMovesWhileRowsAreRead) {
  AddVariable(kTypeText, 0, 0);
  for (uint32_t page = 4; page < 204; ++page) {
    CTestPage rows = NewPage();
    for (int row = 0; row < 100; ++row) rows.Row(OneColumnRow(StoredText(u"text", *layout)));
    Put(page, rows);
  }
  table->header.rowCount = 20'000;
  bool hasMoved = false;
  for (int run = 0; run < 100 && !hasMoved; ++run) {
    Bar().SetPos(0);
    std::atomic<bool> hasEnded{false};
    std::thread user([&] {
      while (!hasEnded && !hasMoved) {
        const int32_t position = Bar().GetPos();
        hasMoved = position > 0 && position < 20'000;
      }
    });
    Parse();
    hasEnded = true;
    user.join();
    EXPECT_EQ(table->header.rowCount, 20'000u);
  }
  EXPECT_TRUE(hasMoved);
}

// Where the file of the catalogue's rows ends early, the bar stands at what was read.
TEST_F(Progress, TheBarMovesWhileNamesAreRead) {
  CAccessTable& catalogue = data->GetTables().AddTable(uint64_t{2} * 4096);
  for (int i = 0; i < 9; ++i) catalogue.columns.Add(CAccessColumn());
  CAccessTableDataFile file(GetWorkFolder());
  ASSERT_TRUE(file.CreateDataFile(catalogue.GetDefinitionOffset()));
  for (int i = 0; i < 2 * 9; ++i) file.WriteValue(u"1");
  file.CloseDataFile();
  catalogue.header.rowCount = 3;
  Bar().SetPos(70);
  CAccessTableDataFileParser(kStandardRules, ShownJob()).ScanTableNames(*data, 4096);
  EXPECT_EQ(Bar().GetMax(), 3);
  EXPECT_EQ(Bar().GetPos(), 2 * 9 + 1);
}

}  // namespace
}  // namespace tolvane
