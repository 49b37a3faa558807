// The parsed-information file of recovered tables, written out by hand, and what does not fit into it.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"
#include "writer/handoff/AccdbPICollector.h"
#include "writer/handoff/AccddbPIWriter.h"

namespace tolvane {
namespace {

// The bytes at an offset; all that no piece names are zero.
struct SPiece {
  size_t offset;
  std::string bytes;
};

// A literal with its zero bytes.
template <size_t N>
std::string B(const char (&literal)[N]) {
  return {literal, N - 1};
}

std::string Wide(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) bytes += {static_cast<char>(unit), static_cast<char>(unit >> 8)};
  return bytes;
}

class CParsedInfoTest : public CWriterTest {
 protected:
  bool Write(const CAccdbParsedInfo& info) {
    CAccddbPIWriter writer;
    const bool isWritten = writer.Open(GetPath()) && writer.Write(info);
    m_problem = ToUtf8(writer.GetProblem());
    return isWritten;
  }
  std::u16string GetPath() const { return InFolder(u"info.kpi"); }
  std::string m_problem;
};

// Of each table the first half of an image whose items lie at doubled offsets: five columns and two
// indexes let the columns be seen, six indexes the indexes.
TEST_F(CParsedInfoTest, TheFileByteForByte) {
  m_data.sourcePath = u"D:\\x";
  CAccessTable& wide = AddTable(
      u"Columns",
      {{u"ID", kTypeLong, 0x0104, 0x83}, {u"\u00e9", kTypeText, 50, 2}, {u"T", kTypeComplex, 4, 7}, {}, {}});
  wide.header.rowCount = 0x01020304;
  wide.columns.GetAt(2)->SetComplexData(
      std::make_unique<CMSysComplexColumnsData>(u"Tags", u"29", u"-2", u"x", u"99999999999"));
  CAccessTable& indexed = AddTable(u"Indexes", {{u"a"}});
  CAccessTableIndex index;
  index.columns[0] = {2, true};
  index.columns[1] = {0xFFFE, false};
  index.columnCount = 2;
  for (int i = 0; i < 8; ++i) (i < 2 ? wide : indexed).indexes.Add(index);
  indexed.indexes.MarkPrimary(0, 1);
  // A data file is named by the low half of the key as a signed number.
  m_data.GetTables().AddTable(0x80001000);
  m_data.GetTables().AddTable(0x700000000 + 0x2000);
  CAccdbParsedInfo info;
  info.tables.resize(9);
  CAccdbPICollector().Collect(m_data, info);
  ASSERT_TRUE(Write(info)) << m_problem;

  constexpr size_t kHead = 5112;
  constexpr size_t kWide = (4 + 5 * 1062) + 1552 + (4 + 2 * 1161);
  constexpr size_t kIndexed = (4 + 1062) + 1552 + (4 + 6 * 1161);
  constexpr size_t kEmpty = 4 + 1552 + 4;
  constexpr size_t kSecond = kHead + kWide, kThird = kSecond + kIndexed, kFourth = kThird + kEmpty;
  constexpr size_t kColumns = kHead + 3096, kIndexes = kSecond + 3104 + 2 * 1066;
  const std::vector<SPiece> pieces{
      {0, Wide(u"D:\\x")},
      {4092, B("\4\0\0\0")},
      {kHead, B("\xe8\x23\0\0")},
      {kHead + 8, Wide(u"Columns")},
      {kHead + 1032, Wide(InFolder(u"40960"))},
      {kHead + 3080, B("\4\3\2\1")},
      {kHead + 3088, B("\xc2\x14\0\0")},
      {kColumns, B("\5\0\0\0")},
      {kColumns + 8, B("\x26\4\0\0\2\0\0\0I\0D\0")},
      {kColumns + 8 + 520, B("\4\1\0\0\4\0\0\0\x83\0")},
      {kColumns + 2132, B("\x26\4\0\0\1\0\0\0\xe9\0")},
      {kColumns + 2132 + 520, B("\x32\0\0\0\x0a\0\0\0\2\0")},
      {kColumns + 4256, B("\x26\4\0\0\1\0\0\0T\0")},
      {kColumns + 4256 + 520, B("\4\0\0\0\x12\0\0\0\7\1")},
      {kColumns + 4256 + 530, B("\4\0\0\0T\0a\0g\0s\0")},
      // The length of the blob ends before the last of its numbers.
      {kColumns + 4256 + 530 + 516, B("\x1d\0\0\0\xfe\xff\xff\xff\0\0\0\0")},
      {kSecond, B("\x74\x25\0\0")},
      {kSecond + 8, Wide(u"Indexes")},
      {kSecond + 1032, Wide(InFolder(u"45056"))},
      {kSecond + 3088, B("\x2a\4\0\0")},
      {kSecond + 3096, B("\1\0\0\0")},
      {kSecond + 3096 + 8, B("\x26\4\0\0\1\0\0\0a\0")},
      {kSecond + 3096 + 528, B("\x32\0\0\0\x0a")},
      {kIndexes - 8, B("\x3a\x1b\0\0")},
      {kIndexes, B("\6\0\0\0")},
      {kIndexes + 8, B("\x89\4\0\0") + Wide(u"Primary Key")},
      {kIndexes + 8 + 516, B("\1\2\0\0\0\2\0\0\0\1\xfe\xff\0\0\0")},
      {kIndexes + 2330, B("\x89\4\0\0") + Wide(u"Index_1")},
      {kIndexes + 2330 + 516, B("\0\2\0\0\0\2\0\0\0\1\xfe\xff\0\0\0")},
      {kThird, B("\x18\6\0\0")},
      {kThird + 1032, Wide(InFolder(u"18446744071562072064")).substr(0, kEmpty - 1032)},
      {kFourth, B("\x18\6\0\0")},
      {kFourth + 1032, Wide(InFolder(u"8192")).substr(0, kEmpty - 1032)}};
  std::string expected(kFourth + kEmpty, '\0');
  for (const SPiece& piece : pieces)
    std::ranges::copy(piece.bytes, expected.begin() + static_cast<ptrdiff_t>(piece.offset));
  const std::string written = ReadText(GetPath());
  const auto difference = std::ranges::mismatch(written, expected).in1 - written.begin();
  EXPECT_TRUE(written == expected) << written.size() << " of " << expected.size() << " bytes, different at "
                                   << difference;
}

TEST_F(CParsedInfoTest, WhatDoesNotFitIsRefused) {
  const struct {
    std::function<void(CAccdbParsedInfo&, const std::u16string&)> set;
    size_t areaUnits;
    const char* problem;
  } cases[] = {
      {[](auto& info, auto& text) { info.database.path = text; }, 1024, "path of the damaged file"},
      {[](auto& info, auto& text) { info.tables[0].name = text; }, 256, "its name"},
      {[](auto& info, auto& text) { info.tables[0].dataFilePath = text; }, 512, "path of its data file"},
      {[](auto& info, auto& text) {
         CAccdbColInfo column;
         column.name = text;
         info.tables[0].columns.Add(column);
       },
       256, "\"Sales\": a column"},
      {[](auto& info, auto& text) {
         CAccdbColInfo column;
         column.complexData.emplace(text, u"", u"", u"", u"");
         info.tables[0].columns.Add(column);
       },
       256, "\"Sales\": the name of a multi-valued column"},
      {[](auto& info, auto& text) {
         info.tables[0].indexes.Add({0, text, {}});
       },
       256, "\"Sales\": an index name"},
      {[](auto& info, auto& text) {
         info.tables[0].indexes.Add({0, u"", std::vector<CAccdbIndexedCol>(text.size())});
       },
       129, "\"Sales\": an index has more than 128"},
  };
  for (const auto& test : cases) {
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

}  // namespace
}  // namespace tolvane
