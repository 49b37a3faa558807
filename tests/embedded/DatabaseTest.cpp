// Tables and rows: what is set is what the file holds, and every count, map and index of the file is true.
#include <gtest/gtest.h>

#include <bit>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class Database : public AllFormats {};
class Jet4Database : public DatabaseFixture {};

std::string Double(double value) {
  return LittleEndian(std::bit_cast<uint64_t>(value), 8);
}

TEST_P(Database, EveryTypeComesBackAsItWasSet) {
  Create();
  const std::string guid = "\x1E\xE2\x48\x50\x62\x4D\x19\x4A\x91\xD3\x7A\xCD\x20\xC0\x26\xAD";
  const struct {
    int16_t type;
    std::u16string text;
    std::string stored;
  } cases[] = {{kDaoBoolean, u"True", "\1"},
               {kDaoByte, u"200", "\xC8"},
               {kDaoInteger, u"-2", LittleEndian(0xFFFE, 2)},
               {kDaoLong, u"70000", LittleEndian(70000, 4)},
               {kDaoCurrency, u"-1.5", LittleEndian(static_cast<uint64_t>(-15000), 8)},
               {kDaoSingle, u"0.5", LittleEndian(0x3F000000, 4)},
               {kDaoDouble, u"-2.25", Double(-2.25)},
               {kDaoDate, u"2021-12-02 12:00:00", Double(44532.5)},
               {kDaoText, u"Text", IsJet3() ? "Text" : "\xFF\xFEText"},
               {kDaoLongBinary, u"A\u20AC", "A\x80"},
               {kDaoMemo, u"Memo", IsJet3() ? "Memo" : "\xFF\xFEMemo"},
               {kDaoGuid, u"{5048E21E-4D62-4A19-91D3-7ACD20C026AD}", guid}};
  std::vector<SField> fields;
  Texts texts;
  std::vector<Value> expected;
  for (const auto& test : cases) {
    fields.push_back({u"F" + ToDecimal(test.type), test.type, 20});
    texts.push_back(test.text);
    expected.emplace_back(test.stored);
  }
  ExpectOk(AddTable(u"All", fields));
  Reopen();
  ExpectOk(AddRows(u"all", {texts, {}}));
  const auto rows = CloseAndRead(u"All").rows;
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], expected);
  expected.assign(std::size(cases), std::nullopt);
  expected[0] = std::string(1, '\0');  // a boolean is never null
  EXPECT_EQ(rows[1], expected);
}

// The row of the two fields below, as an engine writes it.
TEST_F(Jet4Database, RowBytesAreThoseOfTheEngine) {
  Create();
  ExpectOk(AddTable(u"T", {kCounter, {u"Data", kDaoText, 255}}));
  ExpectOk(AddRows(u"T", {{u"-", u"One"}}));
  const SStoredTable table = CloseAndRead(u"T");
  EXPECT_EQ(Row(table.pointers.at(0)),
            std::string("\x02\x00\x01\x00\x00\x00\xFF\xFEOne\x0B\x00\x06\x00\x01\x00\x03", 18));
  EXPECT_EQ(table.columns[0].flags, 0x07u);
  EXPECT_EQ(table.columns[1].flags, 0x02u);
  EXPECT_EQ(table.columns[1].length, 510u);
}

TEST_F(Jet4Database, TextsAreCompressedAsEnginesDo) {
  Create();
  ExpectOk(AddTable(u"T", {{u"A", kDaoText, 10}, {u"B", kDaoMemo}}));
  const std::pair<std::u16string, std::string> cases[] = {{u"ab", {"a\0b\0", 4}},
                                                          {u"abc",
                                                           "\xFF\xFE"
                                                           "abc"},
                                                          {u"ab\u0100", {"a\0b\0\0\1", 6}},
                                                          {{u"ab\0", 3}, {"a\0b\0\0\0", 6}},
                                                          {u"\u00E4\u00FF\u0080", "\xFF\xFE\xE4\xFF\x80"},
                                                          {u"", ""}};  // empty is not null
  std::vector<Texts> rows;
  std::vector<std::vector<Value>> expected;
  for (const auto& [text, stored] : cases) {
    rows.push_back({text, text});
    expected.push_back({stored, stored});
  }
  ExpectOk(AddRows(u"T", rows));
  EXPECT_EQ(CloseAndRead(u"T").rows, expected);
}

TEST_P(Database, NumbersItselfAndKeepsNumbersThatAreGiven) {
  Create();
  ExpectOk(AddTable(u"T", {kCounter, {u"X", kDaoByte}}));
  OpenTable(u"T");
  for (const char16_t* id : {u"-", u"10", u"-", u"3", u"-5"}) ExpectOk(AddRow({id, u"1"}));
  EXPECT_NE(AddRow({u"77", u"999"}).code, EDaoError::None);
  Reopen();
  ExpectOk(AddRows(u"T", {{u"-", u"1"}}));
  const SStoredTable table = CloseAndRead(u"T");
  std::vector<Value> ids;
  for (const auto& row : table.rows) ids.push_back(row[0]);
  EXPECT_EQ(ids, (std::vector<Value>{LittleEndian(1, 4), LittleEndian(10, 4), LittleEndian(11, 4),
                                     LittleEndian(3, 4), "\xFB\xFF\xFF\xFF", LittleEndian(12, 4)}));
  EXPECT_EQ(table.autoNumber, 12);
}

TEST_P(Database, GivesRandomGuidsWhereTheDefaultAsksForThem) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Guid", kDaoGuid, 16, kDaoSystemField, u"GenGUID()"}, {u"Other", kDaoGuid}}));
  ExpectOk(AddRows(u"T", {{}, {}, {u"01020304-0506-0708-090A-0B0C0D0E0F10"}}));
  const SStoredTable table = CloseAndRead(u"T");
  EXPECT_EQ(table.columns[0].flags, 0x43u);
  EXPECT_EQ(table.rows[0][0]->size(), 16u);
  EXPECT_NE(table.rows[0][0], table.rows[1][0]);
  EXPECT_EQ(table.rows[2][0], "\x04\x03\x02\x01\x06\x05\x08\x07\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10");
  EXPECT_EQ(table.rows[0][1], std::nullopt);
}

// The definition of the widest table takes several pages.
TEST_P(Database, HoldsTheWidestTableOfTheFormat) {
  Create();
  std::vector<SField> fields;
  for (uint64_t i = 0; i < 255; i++)
    fields.push_back({std::u16string(60, u'n') + ToDecimal(i), i % 2 == 0 ? kDaoMemo : kDaoBoolean});
  ExpectOk(AddTable(u"Wide", fields));
  Texts values(255, u"-");
  values[0] = u"first";
  values[253] = u"True";
  values[254] = std::u16string(5000, u'\u00D6');
  ExpectOk(AddRows(u"Wide", {values}));
  const SStoredTable table = CloseAndRead(u"Wide");
  const auto& row = table.rows.at(0);
  EXPECT_EQ(Text(row[0]), u"first");
  EXPECT_EQ(row[253], "\1");
  EXPECT_EQ(Text(row[254]), values[254]);
  EXPECT_EQ(table.columns[254].name, fields[254].name);
}

// 255 rows are the most that pointers can name on a page, however short they are.
TEST_P(Database, FillsPagesOverSeveralSessions) {
  Create();
  ExpectOk(AddTable(u"Short", {{u"B", kDaoBoolean}}));
  // Rows that come later find their places in the index.
  ExpectOk(AddTable(u"Long", {{u"T"}, kCounter}, {{.name = u"Key", .fields = {{u"Id"}}, .primary = true}}));
  for (int session = 0; session < 3; session++) {
    ExpectOk(AddRows(u"Short", std::vector<Texts>(200, {u"Yes"})));
    ExpectOk(
        AddRows(u"Long", std::vector<Texts>(7, {std::u16string(250, IsJet3() ? u'\u00D6' : u'\u0416')})));
    Reopen();
  }
  EXPECT_EQ(CloseAndRead(u"Short").pages.GetCount(), 3u);
  EXPECT_EQ(Read(u"Long").pages.GetCount(), 3u) << "seven rows a page";
}

TEST_P(Database, ReleasingInTheWrongOrderCompletesTheFile) {
  Create();
  ExpectOk(AddTable(u"T", {{u"N", kDaoLong}}));
  OpenTable(u"T");
  ExpectOk(AddRow({u"1"}));
  m_database.reset();
  EXPECT_EQ(m_recordset->AddNew().code, EDaoError::CannotOpenFile);
  m_recordset.reset();
  EXPECT_TRUE(CheckDatabase(m_path).findings.empty());
  EXPECT_EQ(Read(u"T").rows.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Formats, Database, kAllFormats, FormatName);

}  // namespace
}  // namespace tolvane::test
