#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "model/AccessColumn.h"
#include "model/MSysComplexColumnsData.h"

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
  EXPECT_EQ(column.name[5], u'\0') << "the longer name before must not show";
}

}  // namespace
}  // namespace tolvane
