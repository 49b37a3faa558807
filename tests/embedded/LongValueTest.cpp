// Memo and long binary values: where they go at each size, and that the pages of values that are given up
// come back.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class LongValue : public BothFormats {
 protected:
  void CreateTable() {
    Create();
    ExpectOk(AddTable(u"T", {{u"Memo", kDaoMemo, 0, 0x22}, {u"Binary", kDaoLongBinary, 0, 0x22}}));
    OpenTable(u"T");
  }
  CDaoResult AddBinary(uint64_t length) {
    CPatternSource source(length);
    ExpectOk(m_recordset->AddNew());
    if (CDaoResult result = m_recordset->SetFieldValue(1, source); !result.IsOk()) return result;
    return m_recordset->Update();
  }
};

constexpr unsigned kInline = 2, kSingle = 1, kChain = 0;

TEST_P(LongValue, BinaryGoesWhereItsLengthSaysAndComesBack) {
  CreateTable();
  using Cases = std::vector<std::pair<uint64_t, unsigned>>;
  const Cases jet4 = {{0, kInline},    {1, kInline},    {64, kInline},   {65, kSingle},
                      {4076, kSingle}, {4077, kChain},  {4078, kChain},  {8144, kChain},
                      {8145, kChain},  {12216, kChain}, {200000, kChain}};
  const Cases jet3 = {{0, kInline},    {1, kInline},   {32, kInline},   {33, kSingle},
                      {2032, kSingle}, {2033, kChain}, {2034, kChain},  {4064, kChain},
                      {4065, kChain},  {6096, kChain}, {200000, kChain}};
  const Cases& cases = IsJet3() ? jet3 : jet4;
  for (const auto& [length, kind] : cases) ExpectOk(AddBinary(length));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  ASSERT_EQ(table.rows.size(), cases.size());
  size_t i = 0;
  for (const auto& [pointer, row] : table.rows) {
    EXPECT_EQ(row[1], CPatternSource::Expected(cases[i].first)) << cases[i].first;
    EXPECT_EQ(walker.KindOf(table, pointer, 1), cases[i].second) << cases[i].first;
    i++;
  }
}

// What counts for staying in the row is the text's length before compression; outside the row it stays plain.
TEST_P(LongValue, MemoGoesWhereItsUncompressedLengthSays) {
  CreateTable();
  using Cases = std::vector<std::pair<size_t, unsigned>>;
  const Cases jet4 = {{32, kInline},  {33, kSingle},  {2038, kSingle},
                      {2039, kChain}, {2040, kChain}, {50001, kChain}};
  const Cases jet3 = {{32, kInline},  {33, kSingle},  {2032, kSingle},
                      {2033, kChain}, {2040, kChain}, {50001, kChain}};
  const Cases& cases = IsJet3() ? jet3 : jet4;
  for (const auto& [length, kind] : cases) ExpectOk(AddRow({std::u16string(length - 1, u'a') + u'z'}));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  size_t i = 0;
  for (const auto& [pointer, row] : table.rows) {
    EXPECT_EQ(walker.Text(row[0]), std::u16string(cases[i].first - 1, u'a') + u'z');
    EXPECT_EQ(walker.KindOf(table, pointer, 0), cases[i].second) << cases[i].first;
    EXPECT_EQ(row[0]->size(), IsJet3() ? cases[i].first : i == 0 ? 34 : 2 * cases[i].first);
    i++;
  }
}

TEST_P(LongValue, KeepsTextsThatAreHardToStore) {
  CreateTable();
  const std::u16string hard = std::u16string(u"a\0b", 3) + char16_t{0xD800} + std::u16string(100, u'\u0416');
  ExpectOk(AddRow({hard}));
  ExpectOk(AddRow({u"\uFEFF\u0416"}));
  const CDaoResult closed = m_recordset->Close();
  ExpectOk(closed);
  const auto rows = CloseAndCheck().Read(u"T").Rows();
  if (IsJet3()) {
    EXPECT_EQ(rows[0][0], std::string("a\0b", 3) + std::string(101, '?'));
    EXPECT_EQ(rows[1][0], "?");
    EXPECT_EQ(ToUtf8(closed.text),
              "102 characters that the code page 1252 does not hold were replaced in table T");
    return;
  }
  EXPECT_EQ(closed.text, u"");
  EXPECT_EQ(TextOf(rows[0][0]), hard);
  EXPECT_EQ(TextOf(rows[1][0]), u"\u0416") << "a leading mark would turn the text into a compressed one";
}

// The file is as small as if the discarded values had never been.
TEST_P(LongValue, PagesOfDiscardedValuesAreUsedAgain) {
  CreateTable();
  for (int i = 0; i < 20; i++) {
    CPatternSource first(100000), broken(100000, 50000), last(90000);
    ExpectOk(m_recordset->AddNew());
    ExpectOk(m_recordset->SetFieldValue(1, first));
    EXPECT_EQ(m_recordset->SetFieldValue(1, broken).code, EDaoError::DiskError);
    if (i == 0) ExpectOk(m_recordset->Update());
    if (i == 1) ExpectOk(m_recordset->SetFieldValue(1, last));
    if (i == 1) ExpectOk(m_recordset->Update());
  }
  CFileWalker walker = CloseAndCheck();
  const auto rows = walker.Read(u"T").Rows();
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0][1], CPatternSource::Expected(100000)) << "a value that fails leaves the one before";
  EXPECT_EQ(rows[1][1], CPatternSource::Expected(90000));
  EXPECT_LT(walker.PageCount(), IsJet3() ? 20u + 200u : 19u + 100u);
}

TEST_P(LongValue, SharesPagesOverSessions) {
  CreateTable();
  for (int session = 0; session < 4; session++) {
    ExpectOk(AddBinary(450));
    ExpectOk(m_recordset->Close());
    Reopen();
    OpenTable(u"T");
  }
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  EXPECT_EQ(walker.ReadMap(table.columns[1].ownedMap).size(), 1u);
  EXPECT_EQ(table.Rows()[3][1], CPatternSource::Expected(450));
}

TEST_P(LongValue, OnlyLongBinaryFieldsTakeBytes) {
  CreateTable();
  CPatternSource source(10);
  ExpectOk(m_recordset->AddNew());
  EXPECT_EQ(m_recordset->SetFieldValue(0, source).code, EDaoError::InvalidDataType);
}

// Engines move long values out of a record that would be too long otherwise.
TEST_P(LongValue, ShortValuesLeaveARecordThatIsTooLong) {
  Create();
  std::vector<std::u16string> names;
  std::vector<SField> fields;
  for (uint64_t i = 0; i < 120; i++) names.push_back(u"F" + ToDecimal(i));
  for (size_t i = 0; i < names.size(); i++)
    fields.push_back({names[i], i == 119 ? kDaoLongBinary : kDaoMemo, 0, 0x22});
  ExpectOk(AddTable(u"T", fields));
  OpenTable(u"T");
  std::vector<std::u16string> values;
  for (uint64_t i = 0; i < 120; i++) values.push_back(std::u16string(10 + i % 22, u'x') + ToDecimal(i % 10));
  ExpectOk(AddRow(values));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  const uint32_t row = table.rows.begin()->first;
  size_t longestKept = 0, shortestMoved = 99;
  for (size_t i = 0; i < 120; i++) {
    const Value& value = table.rows.at(row)[i];
    EXPECT_EQ(i == 119 ? *value : ToUtf8(walker.Text(value)), ToUtf8(values[i])) << i;
    if (walker.KindOf(table, row, i) == kInline)
      longestKept = std::max(longestKept, values[i].size());
    else
      shortestMoved = std::min(shortestMoved, values[i].size());
  }
  EXPECT_LE(longestKept, shortestMoved + 2) << "the largest go first; a compressed text is two bytes larger";
  EXPECT_GT(longestKept, 10u) << "no more than needed";
}

INSTANTIATE_TEST_SUITE_P(Formats, LongValue, ::testing::Values(kDaoVersionJet3, kDaoVersionJet4), FormatName);

}  // namespace
}  // namespace tolvane::test
