// The bytes of the parsed-information file, written out by hand, and what the collector puts into it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "store/FileNameManager.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"
#include "writer/handoff/AccdbPICollector.h"
#include "writer/handoff/AccddbPIWriter.h"

namespace tolvane {
namespace {

using Bytes = std::vector<uint8_t>;

// The bytes at an offset; all that no piece names are zero.
struct SPiece {
  size_t offset;
  std::string_view bytes;
};

// A literal with its zero bytes.
template <size_t N>
constexpr std::string_view B(const char (&literal)[N]) {
  return {literal, N - 1};
}

void ExpectBytes(const Bytes& actual, size_t size, const std::vector<SPiece>& pieces) {
  Bytes expected(size);
  for (const SPiece& piece : pieces)
    std::ranges::copy(piece.bytes, expected.begin() + static_cast<ptrdiff_t>(piece.offset));
  const auto difference = std::ranges::mismatch(actual, expected).in1 - actual.begin();
  EXPECT_TRUE(actual == expected) << actual.size() << " bytes, different at " << difference;
}

CAccdbColInfo Column(std::u16string name, uint16_t size, uint8_t type, uint8_t flags) {
  CAccdbColInfo column;
  column.name = std::move(name);
  column.size = size;
  column.type = type;
  column.flags = flags;
  return column;
}

TEST(ParsedInfo, ColumnItemsLieAtDoubledOffsets) {
  CAccdbColInfoList list;
  list.Add(Column(u"ID", 0x0104, 4, 0x83));
  list.Add(Column(u"\u00e9", 1, 18, 0));
  CAccdbColInfo tags = Column(u"T", 4, 18, 7);
  tags.complexData.emplace(u"Tags", u"29", u"-2", u"x", u"99999999999");
  list.Add(tags);
  EXPECT_EQ(list.GetBlobLength(), 4u + 3 * 1062);
  ExpectBytes(list.EncodeImage(), 2 * (4 + 3 * 1062),
              {{0, B("\3\0\0\0")},
               {8, B("\x26\4\0\0\2\0\0\0I\0D\0")},
               {8 + 520, B("\4\1\0\0\4\0\0\0\x83\0")},
               {2132, B("\x26\4\0\0\1\0\0\0\xe9\0")},
               {2132 + 520, B("\1\0\0\0\x12\0\0\0\0\0")},
               {4256, B("\x26\4\0\0\1\0\0\0T\0")},
               {4256 + 520, B("\4\0\0\0\x12\0\0\0\7\1")},
               {4256 + 530, B("\4\0\0\0T\0a\0g\0s\0")},
               {4256 + 530 + 516, B("\x1d\0\0\0\xfe\xff\xff\xff\0\0\0\0\xff\xff\xff\x7f")}});
}

TEST(ParsedInfo, IndexItemHoldsUpTo128Columns) {
  CAccdbIndexInfo index;
  index.isPrimary = 1;
  index.name = u"PK";
  index.columns = {{2, 1}, {-1, 0}};
  CAccdbIndexInfoList list;
  list.Add(index);
  EXPECT_EQ(list.GetBlobLength(), 4u + 1161);
  ExpectBytes(list.EncodeImage(), 2 * (4 + 1161),
              {{0, B("\1\0\0\0")},
               {8, B("\x89\4\0\0P\0K\0")},
               {8 + 516, B("\1\2\0\0\0\2\0\0\0\1\xff\xff\xff\xff\0")}});

  index.columns.assign(128, {7, 1});
  EXPECT_EQ(index.FindProblem(), u"");
  CAccdbIndexInfoList full;
  full.Add(index);
  const Bytes image = full.EncodeImage();
  EXPECT_EQ(Bytes(image.begin() + 8 + 521 + 5 * 127, image.begin() + 8 + 1161), (Bytes{7, 0, 0, 0, 1}));
}

TEST(ParsedInfo, TableImageIsTwiceItsRecord) {
  CAccdbTblInfo table;
  table.name = u"Q";
  table.dataFilePath = u"C:\\1";
  table.rowCount = 0x01020304;
  table.columns.Add(Column(u"A", 50, 10, 2));
  EXPECT_EQ(table.GetRecordLength(), 2622u);
  const std::vector<SPiece> fixed{{0, B("\x3e\x0a\0\0")},
                                  {8, B("Q\0")},
                                  {1032, B("C\0:\0\\\0001\0")},
                                  {3080, B("\4\3\2\1")},
                                  {3088, B("\x2a\4\0\0")},
                                  {3096, B("\1\0\0\0")},
                                  {3096 + 8, B("\x26\4\0\0\1\0\0\0A\0")},
                                  {3096 + 528, B("\x32\0\0\0\x0a\0\0\0\2")},
                                  {3096 + 2 * 1066, B("\4\0\0\0")}};
  // The last piece is an index blob of count 0, all zero.
  ExpectBytes(table.EncodeImage(), 2 * 2622, fixed);

  // Of two columns only the first 2128 bytes of the blob's image are copied: item 1 begins behind them.
  table.columns.Add(Column(u"B", 4, 4, 3));
  table.indexes.Add({});
  const Bytes image = table.EncodeImage();
  EXPECT_EQ(image.size(), 2u * (2128 + 1552 + 1165));
  Bytes behindItem0(2128 + 2128 - 8 - 1062);
  behindItem0.insert(behindItem0.end(), {0x8d, 0x04, 0, 0});  // Li = 1165
  EXPECT_EQ(Bytes(image.begin() + 3096 + 8 + 1062, image.begin() + 3096 + 2 * 2128 + 4), behindItem0);
}

class CParsedInfoFileTest : public CWriterTest {
 protected:
  bool Write(const CAccdbParsedInfo& info) {
    m_problem.clear();
    CAccddbPIWriter writer;
    const bool isWritten = writer.Open(GetPath()) && writer.Write(info);
    m_problem = ToUtf8(writer.GetProblem());
    return isWritten;
  }
  std::u16string GetPath() const { return InFolder(u"info.kpi"); }
  std::string m_problem;
};

TEST_F(CParsedInfoFileTest, HoldsTheFirstHalfOfEachTableImage) {
  CAccdbParsedInfo info;
  ASSERT_TRUE(Write(info));
  ExpectBytes(BytesOf(ReadText(GetPath())), 5112, {});

  info.database.path = u"D:\\x";
  info.database.number = -2;
  info.tables.resize(2);
  info.tables[0].name = u"One";
  info.tables[1].name = u"Two";
  info.tables[1].rowCount = 9;  // beyond the cut
  info.tables[1].columns.Add(Column(u"A", 50, 10, 2));
  ASSERT_TRUE(Write(info)) << m_problem;
  ExpectBytes(BytesOf(ReadText(GetPath())), 5112 + 1560 + 2622,
              {{0, B("D\0:\0\\\0x\0")},
               {2048, B("\xfe\xff\xff\xff")},
               {4092, B("\2\0\0\0")},
               {5112, B("\x18\6\0\0")},
               {5112 + 8, B("O\0n\0e\0")},
               {5112 + 1560, B("\x3e\x0a\0\0")},
               {5112 + 1560 + 8, B("T\0w\0o\0")}});
}

TEST_F(CParsedInfoFileTest, RefusesWhatDoesNotFit) {
  struct SCase {
    std::function<void(CAccdbParsedInfo&, const std::u16string&)> set;
    size_t areaUnits;
    const char* problem;
  };
  const SCase cases[] = {
      {[](auto& info, auto& text) { info.database.path = text; }, 1024, "path of the damaged file"},
      {[](auto& info, auto& text) { info.tables[0].name = text; }, 256, "its name"},
      {[](auto& info, auto& text) { info.tables[0].dataFilePath = text; }, 512, "path of its data file"},
      {[](auto& info, auto& text) { info.tables[0].columns.Add(Column(text, 0, 0, 0)); }, 256,
       "\"Sales\": a column"},
      {[](auto& info, auto& text) {
         info.tables[0].indexes.Add({0, text, {}});
       },
       256, "\"Sales\": an index name"},
      {[](auto& info, auto& text) {
         info.tables[0].indexes.Add({0, u"", std::vector<CAccdbIndexedCol>(text.size())});
       },
       129, "\"Sales\": an index has more than 128"},
      {[](auto& info, auto& text) {
         CAccdbColInfo column;
         column.complexData.emplace(text, u"", u"", u"", u"");
         info.tables[0].columns.Add(column);
       },
       256, "\"Sales\": the name of a multi-valued column"},
  };
  for (const SCase& test : cases) {
    CAccdbParsedInfo info;
    info.tables.resize(1);
    info.tables[0].name = u"Sales";
    CAccdbParsedInfo fitting = info;
    test.set(fitting, std::u16string(test.areaUnits - 1, u'n'));
    EXPECT_TRUE(Write(fitting)) << m_problem;
    test.set(info, std::u16string(test.areaUnits, u'n'));
    EXPECT_FALSE(Write(info)) << test.problem;
    EXPECT_NE(m_problem.find(test.problem), std::string::npos) << m_problem;
    EXPECT_EQ(GetFileLength(GetPath()), 0u) << "nothing half written";
  }
  CAccddbPIWriter writer;
  EXPECT_FALSE(writer.Open(InFolder(u"no folder/info.kpi")));
  EXPECT_FALSE(writer.Write({}));
  EXPECT_NE(ToUtf8(writer.GetProblem()).find("info.kpi\" cannot be created: "), std::string::npos);
}

TEST_F(CParsedInfoFileTest, CollectorTakesEveryTable) {
  m_data.sourcePath = u"D:\\damaged.accdb";
  CAccessTable& orders = AddTable(u"Orders", {{u"ID", kTypeLong, 4, 7}, {u"Tags", kTypeComplex, 4, 3}});
  orders.header.rowCount = 12;
  CAccessColumn* tags = orders.columns.GetAt(1);
  tags->SetComplexData(std::make_unique<CMSysComplexColumnsData>(u"Tags", u"1", u"2", u"3", u"4"));
  CAccessTableIndex index;
  index.columns[0] = {1, true};
  index.columns[1] = {2, false};
  index.columnCount = 2;
  orders.indexes.Add(index);
  orders.indexes.MarkPrimary(0, 1);
  // The low half of the key, as a signed number.
  m_data.GetTables().AddTable(0x80001000);
  m_data.GetTables().AddTable(0x700000000 + 0x2000);

  CAccdbParsedInfo info;
  info.tables.resize(9);
  CAccdbPICollector().Collect(m_data, info);
  EXPECT_EQ(info.database.path, u"D:\\damaged.accdb");
  EXPECT_EQ(info.database.number, 0);
  ASSERT_EQ(info.tables.size(), 3u);
  const CAccdbTblInfo& first = info.tables[0];
  EXPECT_EQ(first.name, u"Orders");
  EXPECT_EQ(first.rowCount, 12u);
  EXPECT_EQ(first.dataFilePath, InFolder(u"40960"));
  EXPECT_EQ(info.tables[1].dataFilePath, InFolder(u"18446744071562072064"));
  EXPECT_EQ(info.tables[2].dataFilePath, InFolder(u"8192"));
  CAccdbColInfoList columns;
  columns.Add(Column(u"ID", 4, 4, 7));
  CAccdbColInfo tagsColumn = Column(u"Tags", 4, 18, 3);
  tagsColumn.complexData.emplace(u"Tags", u"1", u"2", u"3", u"4");
  columns.Add(tagsColumn);
  EXPECT_EQ(first.columns.EncodeImage(), columns.EncodeImage());
  CAccdbIndexInfoList indexes;
  indexes.Add({1, u"Primary Key", {{1, 1}, {2, 0}}});
  EXPECT_EQ(first.indexes.EncodeImage(), indexes.EncodeImage());
}

}  // namespace
}  // namespace tolvane
