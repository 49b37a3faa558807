// What is read back of a data file, value by value and row by row.
#include "render/RecordText.h"
#include "store/ValueStream.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

class ValueStream : public CStoreTest {
 protected:
  void Write(const Bytes& bytes) {
    WriteFileBytes(DataPath(1), bytes);
    ASSERT_TRUE(m_stream.Open(SFilePart(DataPath(1))));
  }
  // The next text, or why there is none.
  std::u16string Next(size_t maximumUnits = CValueStream::kAllUnits) {
    uint32_t count = 0;
    std::u16string text;
    if (!m_stream.ReadCount(count)) return u"<no count>";
    return m_stream.ReadText(count, text, maximumUnits) ? text : u"<cut>" + text;
  }

  CValueStream m_stream;
};

TEST_F(ValueStream, DecodesTwoBytesAUnitWhateverTheCount) {
  Write({0, 0, 0, 0,               // no bytes
         1, 0, 0, 0, 'x',          // one byte is no unit
         2, 0, 0, 0, 'a', 0,       // no byte behind the text
         3, 0, 0, 0, 'b', 0, 'x',  // its last byte is no text
         4, 0, 0, 0, 'c', 0, 'd', 0x01});
  for (const auto* text : {u"", u"", u"a", u"b", u"c\u0164"}) EXPECT_EQ(Next(), text);
  EXPECT_TRUE(m_stream.IsAtEnd());
  EXPECT_EQ(Next(), u"<no count>");
}

TEST_F(ValueStream, ALyingCountGivesNoMoreThanTheFileHolds) {
  for (const uint8_t top : Bytes{0x00, 0x7F, 0x80, 0xFF}) {
    Write({0xFF, 0xFF, 0xFF, top, 'a', 0, 'b', 0, 'c'});
    EXPECT_EQ(Next(), u"<cut>ab");
    EXPECT_EQ(m_stream.GetBytesLeft(), 0U);
    EXPECT_EQ(Next(), u"<no count>");
  }
  Write({0xFF, 0xFF, 0xFF});
  EXPECT_EQ(Next(), u"<no count>");
}

TEST_F(ValueStream, TheUnitsBeyondTheWantedOnesAreSkipped) {
  WriteRows(1, {{std::u16string(500'000, u'm'), u"next"}});
  ASSERT_TRUE(m_stream.Open(SFilePart(DataPath(1))));
  EXPECT_EQ(Next(3), u"mmm");
  EXPECT_EQ(Next(3), u"nex");
  EXPECT_TRUE(m_stream.IsAtEnd());
}

class RowReader : public CStoreTest {
 protected:
  static constexpr uint64_t kKey = 0x7000;
  RowReader() { AddTextColumns(m_table, 3); }

  std::vector<Row> ReadAll() {
    CTableTextReader reader(m_table, kStandardRules);
    EXPECT_TRUE(reader.Open());
    std::vector<Row> rows;
    for (Row cells; reader.ReadRow(cells);) rows.push_back(cells);
    m_isIncomplete = reader.IsIncomplete();
    return rows;
  }

  CAccessTable m_table{kKey, GetWorkFolder()};
  bool m_isIncomplete = false;
};

TEST_F(RowReader, TellsThatTheLastRowIsCut) {
  WriteRows(kKey, {{u"aa", u"bb", u"cc"}, {u"dd", u"ee", u"ff"}});
  const Bytes whole = ReadFileBytes(DataPath(kKey));
  // Bytes cut off the last row (9 bytes a value) and what is left of it.
  const std::vector<std::pair<size_t, Row>> cases{{1, {u"dd", u"ee", u""}},
                                                  {9, {u"dd", u"ee", u""}},
                                                  {10, {u"dd", u"", u""}},
                                                  {16, {u"dd", u"", u""}},
                                                  {26, {}}};
  for (const auto& [cut, lastRow] : cases) {
    WriteFileBytes(DataPath(kKey), Bytes(whole.begin(), whole.end() - static_cast<ptrdiff_t>(cut)));
    std::vector<Row> expected{{u"aa", u"bb", u"cc"}};
    if (!lastRow.empty()) expected.push_back(lastRow);
    EXPECT_EQ(ReadAll(), expected) << cut;
    EXPECT_TRUE(m_isIncomplete) << cut;
  }
  WriteFileBytes(DataPath(kKey), {3, 0, 0, 0, 'a', 0, 0, 0xFF, 0xFF, 0xFF, 0x7F, 'b', 0, 0});
  EXPECT_EQ(ReadAll(), (std::vector<Row>{{u"a", u"", u""}})) << "a huge count ends the table";
  EXPECT_TRUE(m_isIncomplete);
}

TEST_F(RowReader, NoColumnsMeanNoRows) {
  const CAccessTable bare(kKey, GetWorkFolder());
  WriteRows(kKey, {{u"stray"}});
  CTableTextReader reader(bare, kStandardRules);
  Row cells;
  EXPECT_TRUE(reader.Open());
  EXPECT_FALSE(reader.ReadRow(cells));
}

}  // namespace
}  // namespace tolvane
