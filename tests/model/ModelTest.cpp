#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "model/AccessData.h"
#include "model/MSysComplexColumnsData.h"
#include "platform/Files.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"

namespace tolvane {
namespace {

using Pairs = std::vector<std::pair<uint16_t, uint32_t>>;  // number, where the column stood

CAccessColumnList MakeColumns(const std::vector<uint16_t>& numbers) {
  CAccessColumnList columns;
  for (size_t i = 0; i < numbers.size(); ++i) {
    CAccessColumn column;
    column.number = numbers[i];
    column.misc = static_cast<uint32_t>(i);
    columns.Add(std::move(column));
  }
  return columns;
}

Pairs PairsOf(const CAccessColumnList& columns) {
  Pairs pairs;
  for (const CAccessColumn& column : columns) pairs.emplace_back(column.number, column.misc);
  return pairs;
}

Pairs ExchangeSorted(const std::vector<uint16_t>& numbers) {
  Pairs pairs;
  for (const uint16_t number : numbers) pairs.emplace_back(number, static_cast<uint32_t>(pairs.size()));
  for (size_t i = 0; i < pairs.size(); ++i)
    for (size_t j = i + 1; j < pairs.size(); ++j)
      if (pairs[j].first < pairs[i].first) std::swap(pairs[i], pairs[j]);
  return pairs;
}

TEST(ColumnList, SortsAsThePlainExchangeSortDoes) {
  CAccessColumnList columns = MakeColumns({2, 2, 1, 2, 0});
  columns.SortByNumber();
  // Exchange by exchange: 2a2b1 2c0 -> 1 2b2a2c0 -> 0 2b2a2c1 -> 0 1 2a2c2b.
  EXPECT_EQ(PairsOf(columns), (Pairs{{0, 4}, {1, 2}, {2, 0}, {2, 3}, {2, 1}}));

  std::mt19937 random(7);
  for (const unsigned distinct : std::vector<unsigned>{1, 2, 3, 7, 40, 256, 60000}) {
    for (const size_t count : std::vector<size_t>{0, 1, 2, 3, 5, 8, 30, 255, 700}) {
      std::vector<uint16_t> numbers(count);
      for (uint16_t& number : numbers) number = static_cast<uint16_t>(random() % distinct);
      columns = MakeColumns(numbers);
      columns.SortByNumber();
      ASSERT_EQ(PairsOf(columns), ExchangeSorted(numbers))
          << count << " columns of " << distinct << " numbers";
    }
  }
}

TEST(ColumnList, SortMovesTheWholeColumn) {
  CAccessColumnList columns = MakeColumns({9, 4});
  columns.GetAt(0)->SetName(u"nine");
  columns.GetAt(0)->SetComplexData(std::make_unique<CMSysComplexColumnsData>(u"nine", 37, 60, 109, 3));
  columns.SortByNumber();
  EXPECT_EQ(columns.GetAt(0)->GetName(), u"");
  EXPECT_EQ(columns.GetAt(0)->GetComplexData(), nullptr);
  EXPECT_EQ(columns.GetAt(1)->GetName(), u"nine");
  ASSERT_NE(columns.GetAt(1)->GetComplexData(), nullptr);
  EXPECT_EQ(columns.GetAt(1)->GetComplexData()->flatTable, u"60");
}

TEST(Column, NameEndsAtItsFirstZeroUnitOrAfter255Units) {
  CAccessColumn column;
  column.SetName(std::u16string(300, u'x'));
  EXPECT_EQ(column.GetName(), std::u16string(255, u'x'));
  column.SetName(std::u16string_view(u"ab\0cd", 5));
  EXPECT_EQ(column.GetName(), u"ab");
  EXPECT_EQ(column.name[3], u'c');
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
