// Memo and long binary values: where they go at each size, and that the pages of values that are given up
// come back.
#include <gtest/gtest.h>

#include <algorithm>

#include "format/Bytes.h"
#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

// The units of a text, a few at a time, as often as they are asked for.
class CTextPieces : public CDaoByteSource {
 public:
  explicit CTextPieces(std::u16string_view text) { AppendUnits(m_bytes, text); }
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = std::min({buffer.size(), m_bytes.size() - m_position, size_t{777}});
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_position), bytesRead, buffer.begin());
    m_position += bytesRead;
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_bytes.size(); }
  bool Restart() override {
    m_position = 0;
    return true;
  }

 private:
  std::vector<uint8_t> m_bytes;
  size_t m_position = 0;
};

class LongValue : public AllFormats {
 protected:
  void CreateTable() {
    Create();
    ExpectOk(AddTable(u"T", {{u"Memo", kDaoMemo}, {u"Binary", kDaoLongBinary}}));
    OpenTable(u"T");
  }
  void AddBinary(uint64_t length) {
    CPatternSource source(length);
    ExpectOk(m_recordset->AddNew());
    ExpectOk(m_recordset->SetFieldValue(1, source));
    ExpectOk(m_recordset->Update());
  }
};

struct SPlace {
  size_t length;
  EStoredAs kind;
};
using Places = std::vector<SPlace>;
using enum EStoredAs;

TEST_P(LongValue, BinaryGoesWhereItsLengthSaysAndComesBack) {
  CreateTable();
  const Places places =
      IsJet3()
          ? Places{{0, Inline},   {1, Inline},   {32, Inline},  {33, Single},  {2032, Single}, {2033, Chain},
                   {2034, Chain}, {4064, Chain}, {4065, Chain}, {6096, Chain}, {200000, Chain}}
          : Places{{0, Inline},   {1, Inline},   {64, Inline},  {65, Single},   {4076, Single}, {4077, Chain},
                   {4078, Chain}, {8144, Chain}, {8145, Chain}, {12216, Chain}, {200000, Chain}};
  for (const SPlace& place : places) AddBinary(place.length);
  const SStoredTable table = CloseAndRead(u"T");
  ASSERT_EQ(table.rows.size(), places.size());
  for (size_t i = 0; i < places.size(); i++) {
    EXPECT_EQ(table.rows[i][1], CPatternSource::Expected(places[i].length)) << places[i].length;
    EXPECT_EQ(KindOf(table.stored[i][1]), places[i].kind) << places[i].length;
  }
}

// What counts for staying in the row is the text's length before compression; outside the row it stays plain.
TEST_P(LongValue, MemoGoesWhereItsUncompressedLengthSays) {
  CreateTable();
  const size_t longest = IsJet3() ? 2032 : 2038;  // in one row
  const SPlace places[] = {{32, Inline},         {33, Single},  {longest, Single},
                           {longest + 1, Chain}, {2040, Chain}, {50001, Chain}};
  for (const SPlace& place : places) ExpectOk(AddRow({std::u16string(place.length - 1, u'a') + u'z'}));
  const SStoredTable table = CloseAndRead(u"T");
  for (size_t i = 0; i < std::size(places); i++) {
    const size_t length = places[i].length;
    EXPECT_EQ(Text(table.rows[i][0]), std::u16string(length - 1, u'a') + u'z');
    EXPECT_EQ(KindOf(table.stored[i][0]), places[i].kind) << length;
    EXPECT_EQ(table.rows[i][0]->size(), IsJet3() ? length : i == 0 ? 34 : 2 * length);
  }
}

TEST_P(LongValue, KeepsTextsThatAreHardToStore) {
  CreateTable();
  const std::u16string hard = std::u16string(u"a\0b", 3) + char16_t{0xD800} + std::u16string(100, u'\u0416');
  ExpectOk(AddRow({hard}));
  const CDaoResult closed = CloseTable();
  ExpectOk(closed);
  EXPECT_EQ(ToUtf8(closed.text),
            IsJet3() ? "101 characters that the code page 1252 does not hold were replaced in table T" : "");
  const auto rows = CloseAndRead(u"T").rows;
  const std::u16string replaced = std::u16string(u"a\0b", 3) + std::u16string(101, u'?');
  EXPECT_EQ(Text(rows[0][0]), IsJet3() ? replaced : hard);
}

// The file is as small as if the discarded values had never been.
TEST_P(LongValue, PagesOfDiscardedValuesAreUsedAgain) {
  CreateTable();
  for (int i = 0; i < 20; i++) {
    CPatternSource first(100000), broken(100000, 50000), last(90000);
    ExpectOk(m_recordset->AddNew());
    ExpectOk(m_recordset->SetFieldValue(1, first));
    EXPECT_EQ(m_recordset->SetFieldValue(1, broken).code, EDaoError::DiskError);
    if (i == 1) ExpectOk(m_recordset->SetFieldValue(1, last));
    if (i <= 1) ExpectOk(m_recordset->Update());
  }
  const auto rows = CloseAndRead(u"T").rows;
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0][1], CPatternSource::Expected(100000)) << "a value that fails leaves the one before";
  EXPECT_EQ(rows[1][1], CPatternSource::Expected(90000));
  EXPECT_LT(PageCount(), EmptyPages() + (IsJet3() ? 200 : 100));
}

// Engines move long values out of a record that would be too long otherwise.
TEST_P(LongValue, ShortValuesLeaveARecordThatIsTooLong) {
  Create();
  std::vector<SField> fields;
  Texts values;
  for (uint64_t i = 0; i < 120; i++) {
    fields.push_back({u"F" + ToDecimal(i), i == 119 ? kDaoLongBinary : kDaoMemo});
    values.push_back(std::u16string(10 + i % 22, u'x') + ToDecimal(i % 10));
  }
  ExpectOk(AddTable(u"T", fields));
  ExpectOk(AddRows(u"T", {values}));
  const SStoredTable table = CloseAndRead(u"T");
  size_t longestKept = 0, shortestMoved = 99;
  for (size_t i = 0; i < 120; i++) {
    const Value& value = table.rows.at(0)[i];
    EXPECT_EQ(i == 119 ? *value : ToUtf8(Text(value)), ToUtf8(values[i])) << i;
    if (KindOf(table.stored.at(0)[i]) == Inline)
      longestKept = std::max(longestKept, values[i].size());
    else
      shortestMoved = std::min(shortestMoved, values[i].size());
  }
  EXPECT_LE(longestKept, shortestMoved + 2) << "the largest go first; a compressed text is two bytes larger";
  EXPECT_GT(longestKept, 10u) << "no more than needed";
}

// Plain, they would read as compressed texts. A character whose low byte is zero has no compressed form.
TEST_P(LongValue, TextsThatBeginWithAByteOrderMark) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Short", kDaoText, 255}, {u"Memo", kDaoMemo}, {u"Pieces", kDaoMemo}},
                    {{u"I", {{u"Short", false}}}}));
  const std::u16string wide = u"\uFEFF\uFEFF\u041C\u0438\u0440";
  std::u16string longest = wide;
  while (longest.size() < 9000) longest += wide;
  const Texts texts{
      u"\uFEFF", u"\uFEFF" + std::u16string(254, u'a'), wide, u"\uFEFF\u3000z", longest, longest + u'\u0100'};
  OpenTable(u"T");
  for (const std::u16string& text : texts) {
    ExpectOk(m_recordset->AddNew());
    std::vector<CDaoResult> results;
    if (text.size() <= 255) results.push_back(SetText(0, text));
    results.push_back(SetText(1, text));
    CTextPieces pieces(text);
    results.push_back(m_recordset->SetFieldValue(2, pieces));
    const bool isHeld = !IsJet3() && text.find_first_of(u"\u3000\u0100") == std::u16string::npos;
    for (const CDaoResult& result : results) EXPECT_EQ(result.text.empty(), isHeld);
    ExpectOk(m_recordset->Update());
  }
  const SStoredTable table = CloseAndRead(u"T");
  for (size_t i = 0; !IsJet3() && i < texts.size(); i++) {
    const bool isHeld = i != 3 && i != 5;
    std::string expected = isHeld ? std::string("\xFF\xFE\0", 3) : "";
    for (const char16_t unit : isHeld ? texts[i] : texts[i].substr(texts[i].find_first_not_of(u'\uFEFF')))
      expected += LittleEndian(unit, 2);
    for (size_t column = texts[i].size() <= 255 ? 0 : 1; column < 3; column++)
      EXPECT_TRUE(table.rows[i][column] == expected) << i << " " << column;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, LongValue, kAllFormats, FormatName);

}  // namespace
}  // namespace tolvane::test
