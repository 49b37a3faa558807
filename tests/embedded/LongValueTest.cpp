// Memo and long binary values: where they go at each size, and that the pages of values that are given up
// come back.
#include <gtest/gtest.h>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class LongValue : public DatabaseFixture {
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

// Top two bits of the reference, which stands 12 or more bytes before the end of the row's variable part.
unsigned KindOf(const CFileWalker& walker, uint32_t pointer, unsigned column) {
  const std::string row = walker.Row(pointer);
  const auto word = [&](size_t at) {
    return static_cast<uint8_t>(row[at]) | static_cast<uint8_t>(row[at + 1]) << 8;
  };
  const auto start = static_cast<size_t>(word(row.size() - 5 - 2 * column));
  return static_cast<uint8_t>(row[start + 3]) >> 6;
}
constexpr unsigned kInline = 2, kSingle = 1, kChain = 0;

TEST_F(LongValue, BinaryGoesWhereItsLengthSaysAndComesBack) {
  CreateTable();
  const std::vector<std::pair<uint64_t, unsigned>> cases = {
      {0, kInline},   {1, kInline},   {64, kInline},  {65, kSingle},   {4076, kSingle}, {4077, kChain},
      {4078, kChain}, {8144, kChain}, {8145, kChain}, {12216, kChain}, {200000, kChain}};
  for (const auto& [length, kind] : cases) ExpectOk(AddBinary(length));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  ASSERT_EQ(table.rows.size(), cases.size());
  size_t i = 0;
  for (const auto& [pointer, row] : table.rows) {
    EXPECT_EQ(row[1], CPatternSource::Expected(cases[i].first)) << cases[i].first;
    EXPECT_EQ(KindOf(walker, pointer, 1), cases[i].second) << cases[i].first;
    i++;
  }
}

// What counts for staying in the row is the text's length before compression; outside the row it stays plain.
TEST_F(LongValue, MemoGoesWhereItsUncompressedLengthSays) {
  CreateTable();
  const std::vector<std::pair<size_t, unsigned>> cases = {{32, kInline},  {33, kSingle},  {2038, kSingle},
                                                          {2039, kChain}, {2040, kChain}, {50001, kChain}};
  for (const auto& [length, kind] : cases) ExpectOk(AddRow({std::u16string(length - 1, u'a') + u'z'}));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  size_t i = 0;
  for (const auto& [pointer, row] : table.rows) {
    EXPECT_EQ(TextOf(row[0]), std::u16string(cases[i].first - 1, u'a') + u'z');
    EXPECT_EQ(KindOf(walker, pointer, 0), cases[i].second) << cases[i].first;
    EXPECT_EQ(row[0]->size(), i == 0 ? 34 : 2 * cases[i].first);
    i++;
  }
}

TEST_F(LongValue, KeepsTextsThatAreHardToStore) {
  CreateTable();
  const std::u16string hard = std::u16string(u"a\0b", 3) + char16_t{0xD800} + std::u16string(100, u'\u0416');
  ExpectOk(AddRow({hard}));
  ExpectOk(AddRow({u"\uFEFF\u0416"}));
  const auto rows = CloseAndCheck().Read(u"T").Rows();
  EXPECT_EQ(TextOf(rows[0][0]), hard);
  EXPECT_EQ(TextOf(rows[1][0]), u"\u0416") << "a leading mark would turn the text into a compressed one";
}

// The file is as small as if the discarded values had never been.
TEST_F(LongValue, PagesOfDiscardedValuesAreUsedAgain) {
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
  EXPECT_LT(walker.PageCount(), 19u + 100u);
}

TEST_F(LongValue, SharesPagesOverSessions) {
  CreateTable();
  for (int session = 0; session < 4; session++) {
    ExpectOk(AddBinary(900));
    ExpectOk(m_recordset->Close());
    Reopen();
    OpenTable(u"T");
  }
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  EXPECT_EQ(walker.ReadMap(table.columns[1].ownedMap).size(), 1u);
  EXPECT_EQ(table.Rows()[3][1], CPatternSource::Expected(900));
}

TEST_F(LongValue, OnlyLongBinaryFieldsTakeBytes) {
  CreateTable();
  CPatternSource source(10);
  ExpectOk(m_recordset->AddNew());
  EXPECT_EQ(m_recordset->SetFieldValue(0, source).code, EDaoError::InvalidDataType);
}

}  // namespace
}  // namespace tolvane::test
