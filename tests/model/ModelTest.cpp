#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "model/AccessData.h"
#include "platform/Files.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"

namespace tolvane {
namespace {

using Places = std::vector<std::pair<uint16_t, uint32_t>>;  // a column's number and where it stood

Places Sort(const std::vector<uint16_t>& numbers) {
  CAccessColumnList columns;
  for (const uint16_t number : numbers) {
    CAccessColumn column;
    column.number = number;
    column.misc = static_cast<uint32_t>(columns.GetCount());
    columns.Add(std::move(column));
  }
  columns.SortByNumber();
  Places places;
  for (const CAccessColumn& column : columns) places.emplace_back(column.number, column.misc);
  return places;
}

TEST(ColumnList, SortsAsThePlainExchangeSortDoes) {
  // Exchange by exchange: 2a2b1 2c0 -> 1 2b2a2c0 -> 0 2b2a2c1 -> 0 1 2a2c2b.
  EXPECT_EQ(Sort({2, 2, 1, 2, 0}), (Places{{0, 4}, {1, 2}, {2, 0}, {2, 3}, {2, 1}}));
  std::mt19937 random(7);
  for (const unsigned distinct : {1u, 2u, 3u, 7u, 40u, 60000u}) {
    for (const size_t count : {0u, 1u, 2u, 5u, 30u, 700u}) {
      std::vector<uint16_t> numbers;
      Places places;
      while (numbers.size() < count) {
        numbers.push_back(static_cast<uint16_t>(random() % distinct));
        places.emplace_back(numbers.back(), static_cast<uint32_t>(places.size()));
      }
      for (size_t i = 0; i < count; ++i)
        for (size_t j = i + 1; j < count; ++j)
          if (places[j].first < places[i].first) std::swap(places[i], places[j]);
      ASSERT_EQ(Sort(numbers), places) << count << " columns of " << distinct << " numbers";
    }
  }
}

TEST(Column, NameEndsAtItsFirstZeroUnitOrAfter255Units) {
  CAccessColumn column;
  column.SetName(std::u16string(300, u'x'));
  EXPECT_EQ(column.GetName(), std::u16string(255, u'x'));
  column.SetName(std::u16string_view(u"ab\0cd", 5));
  EXPECT_EQ(column.GetName(), u"ab");
  EXPECT_EQ(column.name[254], u'\0') << "the longer name before must not show";
}

class Tables : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_folder.Create(GetTempFolder())); }

  // An empty data file, as a table without rows has one.
  std::u16string MakeDataFile(uint64_t key) {
    CAccessTableDataFile file(GetWorkFolder());
    EXPECT_TRUE(file.CreateDataFile(key));
    return file.GetPath();
  }

 private:
  CRunFolder m_folder;
};

TEST_F(Tables, TheFirstOfTwoTablesWithOneOffsetCountsUntilItGoesWithItsFile) {
  CAccessTableList tables{GetWorkFolder()};
  CAccessTable& first = tables.AddTable(0x2000);
  CAccessTable& second = tables.AddTable(0x2000);
  EXPECT_TRUE(tables.CreditDataPage(0x9000, 0x2000));
  EXPECT_FALSE(tables.CreditDataPage(0x9000, 0x2001));
  EXPECT_EQ(first.dataPages.GetCount(), 1U);
  EXPECT_EQ(second.dataPages.GetCount(), 0U);

  const std::u16string dataFile = MakeDataFile(0x2000);
  EXPECT_FALSE(tables.Mark(0x3000, 0));
  EXPECT_TRUE(tables.Mark(0x2000, 0));
  tables.RemoveUnmarked();
  EXPECT_EQ(tables.FindTable(0x2000), &second);
  EXPECT_FALSE(FileExists(dataFile));
}

TEST_F(Tables, KeyAndPageTexts) {
  CAccessTableList tables{GetWorkFolder()};
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

TEST_F(Tables, ADiscardedRunTakesItsFilesWithIt) {
  const std::u16string dataFile = MakeDataFile(0x6000);
  CAccessTableDataFile(GetWorkFolder()).AppendOleFileName(u"x");
  const std::u16string list = CFileNameManager(GetWorkFolder()).GetOleListPath();
  auto data = std::make_unique<CAccessData>(kStandardRules, GetWorkFolder());
  data->GetTables().AddTable(0x6000);
  EXPECT_TRUE(FileExists(dataFile));
  EXPECT_TRUE(FileExists(list));
  data.reset();
  EXPECT_FALSE(FileExists(dataFile));
  EXPECT_FALSE(FileExists(list));
}

}  // namespace
}  // namespace tolvane
