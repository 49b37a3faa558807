#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "model/AccessData.h"
#include "platform/Files.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"

namespace tolvane {
namespace {

class Tables : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_folder.Create(GetTempFolder())); }

  // An empty data file, as a table without rows has one.
  std::u16string MakeDataFile(uint64_t key) {
    CAccessTableDataFile file;
    EXPECT_TRUE(file.CreateDataFile(key));
    return file.GetPath();
  }

 private:
  CRunFolder m_folder;
};

TEST_F(Tables, TheFirstOfTwoTablesWithOneOffsetCounts) {
  CAccessTableList tables;
  CAccessTable& first = tables.AddTable(0x2000);
  CAccessTable& second = tables.AddTable(0x2000);
  EXPECT_TRUE(tables.CreditDataPage(0x9000, 0x2000));
  EXPECT_FALSE(tables.CreditDataPage(0x9000, 0x2001));
  EXPECT_FALSE(tables.Mark(0x3000, 0));
  EXPECT_EQ(first.dataPages.GetCount(), 1U);
  EXPECT_EQ(second.dataPages.GetCount(), 0U);

  EXPECT_TRUE(tables.Mark(0x2000, 0));
  tables.RemoveUnmarked();
  EXPECT_EQ(tables.FindTable(0x2000), &second);
}

TEST_F(Tables, RemovingUnmarkedKeepsTheOrderOfTheOthersAndTakesTheirDataFiles) {
  CAccessTableList tables;
  for (const uint64_t offset : std::vector<uint64_t>{0x5000, 0x2000, 0x4000, 0x3000}) tables.AddTable(offset);
  const std::u16string removed = MakeDataFile(0x5000);
  const std::u16string kept = MakeDataFile(0x2000);
  tables.Mark(0x5000, 0);
  tables.Mark(0x4000, 0);
  tables.RemoveUnmarked();
  ASSERT_EQ(tables.GetCount(), 2U);
  EXPECT_EQ(tables.GetAt(0)->GetDefinitionOffset(), 0x2000U);
  EXPECT_EQ(tables.FindTable(0x3000), tables.GetAt(1));
  EXPECT_EQ(tables.FindTable(0x5000), nullptr);
  EXPECT_FALSE(FileExists(removed));
  EXPECT_TRUE(FileExists(kept));
}

TEST_F(Tables, KeyAndPageTexts) {
  CAccessTableList tables;
  tables.AddTable(0x1800);
  CAccessTable& table = tables.AddTable(0x4B000);
  EXPECT_EQ(table.GetKeyText(), u"75");
  EXPECT_EQ(table.GetPageText(4096), u"75");
  EXPECT_EQ(table.GetPageText(2048), u"150");
  EXPECT_EQ(tables.GetAt(0)->GetKeyText(), u"1") << "4096 bytes count for the smaller pages too";
  EXPECT_EQ(tables.GetAt(0)->GetPageText(2048), u"3");
  EXPECT_TRUE(tables.SetNameByKey(u"75", u"Orders"));
  EXPECT_FALSE(tables.SetNameByKey(u"075", u"No"));
  EXPECT_EQ(table.name, u"Orders");
}

TEST_F(Tables, IndexesAreNamedByTheirCountUntilOneIsPrimary) {
  CAccessTableIndexList indexes;
  CAccessTableIndex index;
  index.name = u"ignored";
  index.columnCount = 1;
  index.columns[0] = {7, true};
  indexes.Add(index);
  indexes.Add(index);
  EXPECT_EQ(indexes.GetAt(0)->name, u"Index_0");
  EXPECT_EQ(indexes.GetAt(1)->name, u"Index_1");
  EXPECT_EQ(indexes.GetAt(1)->columns[0].columnNumber, 7);
  EXPECT_TRUE(indexes.MarkPrimary(1, 1));
  EXPECT_FALSE(indexes.MarkPrimary(2, 1));
  EXPECT_EQ(indexes.GetAt(0)->primary, 0);
  EXPECT_EQ(indexes.GetAt(1)->primary, 1);
  EXPECT_EQ(indexes.GetAt(1)->name, u"Primary Key");
}

TEST_F(Tables, ADiscardedRunTakesItsFilesWithIt) {
  const std::u16string dataFile = MakeDataFile(0x6000);
  CAccessTableDataFile().AppendOleFileName(u"x");
  const std::u16string list = CFileNameManager().GetOleListPath();
  auto data = std::make_unique<CAccessData>();
  data->GetTables().AddTable(0x6000);
  EXPECT_TRUE(FileExists(dataFile));
  EXPECT_TRUE(FileExists(list));
  data.reset();
  EXPECT_FALSE(FileExists(dataFile));
  EXPECT_FALSE(FileExists(list));
}

}  // namespace
}  // namespace tolvane
