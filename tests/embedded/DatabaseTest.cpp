// Tables and rows: what is set is what the file holds, and every count, map and index of the file is true.
#include <gtest/gtest.h>

#include <bit>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class Database : public BothFormats {};
class Jet4Database : public DatabaseFixture {};

std::string Double(double value) {
  return LittleEndian(std::bit_cast<uint64_t>(value), 8);
}

const std::vector<SField> kAllTypes = {{u"Yes", kDaoBoolean},         {u"Byte", kDaoByte},
                                       {u"Integer", kDaoInteger},     {u"Long", kDaoLong},
                                       {u"Currency", kDaoCurrency},   {u"Single", kDaoSingle},
                                       {u"Double", kDaoDouble},       {u"Date", kDaoDate},
                                       {u"Text", kDaoText, 20, 0x22}, {u"Binary", kDaoLongBinary, 0, 0x22},
                                       {u"Memo", kDaoMemo, 0, 0x22},  {u"Guid", kDaoGuid}};

TEST_P(Database, EveryTypeComesBackAsItWasSet) {
  Create();
  ExpectOk(AddTable(u"All", kAllTypes));
  Reopen();
  OpenTable(u"all");
  ExpectOk(AddRow({u"True", u"200", u"-2", u"70000", u"-1.5", u"0.5", u"-2.25", u"2021-12-02 12:00:00",
                   u"Text", u"A\u20AC", u"Memo", u"{5048E21E-4D62-4A19-91D3-7ACD20C026AD}"}));
  ExpectOk(AddRow({}));
  const auto rows = CloseAndCheck().Read(u"All").Rows();
  ASSERT_EQ(rows.size(), 2u);
  const std::vector<Value> expected = {"\1",
                                       "\xC8",
                                       LittleEndian(0xFFFE, 2),
                                       LittleEndian(70000, 4),
                                       LittleEndian(static_cast<uint64_t>(-15000), 8),
                                       LittleEndian(0x3F000000, 4),
                                       Double(-2.25),
                                       Double(44532.5),
                                       IsJet3() ? "Text" : "\xFF\xFEText",
                                       "A\x80",
                                       IsJet3() ? "Memo" : "\xFF\xFEMemo",
                                       "\x1E\xE2\x48\x50\x62\x4D\x19\x4A\x91\xD3\x7A\xCD\x20\xC0\x26\xAD"};
  EXPECT_EQ(rows[0], expected);
  EXPECT_EQ(rows[1][0], std::string(1, '\0')) << "a boolean is never null";
  EXPECT_EQ(std::vector<Value>(rows[1].begin() + 1, rows[1].end()), std::vector<Value>(11));
}

// The row of the two fields below, as an engine writes it.
TEST_F(Jet4Database, RowBytesAreThoseOfTheEngine) {
  Create();
  ExpectOk(AddTable(
      u"T", {{u"ID", kDaoLong, 0, kDaoFixedField | kDaoAutoIncrement}, {u"Data", kDaoText, 255, 0x22}}));
  OpenTable(u"T");
  ExpectOk(AddRow({u"-", u"One"}));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  EXPECT_EQ(walker.Row(table.rows.begin()->first),
            std::string("\x02\x00\x01\x00\x00\x00\xFF\xFEOne\x0B\x00\x06\x00\x01\x00\x03", 18));
  EXPECT_EQ(table.columns[0].flags, 0x07u);
  EXPECT_EQ(table.columns[1].flags, 0x02u);
  EXPECT_EQ(table.columns[1].length, 510u);
}

TEST_F(Jet4Database, TextsAreCompressedAsEnginesDo) {
  Create();
  ExpectOk(AddTable(u"T", {{u"A", kDaoText, 10, 0x22}, {u"B", kDaoMemo, 0, 0x22}}));
  OpenTable(u"T");
  const std::u16string texts[] = {
      u"ab", u"abc", u"ab\u0100", std::u16string(u"ab\0", 3), u"\u00E4\u00FF\u0080", u""};
  for (const std::u16string& text : texts) ExpectOk(AddRow({text, text}));
  const auto rows = CloseAndCheck().Read(u"T").Rows();
  for (size_t column : {0u, 1u}) {
    for (size_t i = 0; i < std::size(texts); i++) {
      EXPECT_EQ(TextOf(rows[i][column]), texts[i]);
      EXPECT_EQ(rows[i][column]->substr(0, 2) == "\xFF\xFE", i == 1 || i == 4) << i;
    }
  }
  EXPECT_EQ(rows[5][0], "") << "empty is not null";
}

TEST_P(Database, NumbersItselfAndKeepsNumbersThatAreGiven) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Id", kDaoLong, 0, kDaoFixedField | kDaoAutoIncrement}, {u"X", kDaoByte}}));
  OpenTable(u"T");
  for (const char16_t* id : {u"-", u"10", u"-", u"-5"}) ExpectOk(AddRow({id, u"1"}));
  EXPECT_NE(AddRow({u"77", u"999"}).code, EDaoError::None);
  Reopen();
  OpenTable(u"T");
  ExpectOk(AddRow({u"-", u"1"}));
  const SWalkedTable table = CloseAndCheck().Read(u"T");
  std::vector<std::string> ids;
  for (const auto& row : table.Rows()) ids.push_back(*row[0]);
  const std::vector<std::string> expected = {LittleEndian(1, 4), LittleEndian(10, 4), LittleEndian(11, 4),
                                             LittleEndian(0xFFFFFFFB, 4), LittleEndian(12, 4)};
  EXPECT_EQ(ids, expected);
  EXPECT_EQ(table.autoNumber, 12u);
}

TEST_P(Database, GivesRandomGuidsWhereTheDefaultAsksForThem) {
  Create();
  std::unique_ptr<CDaoTableDef> table;
  ExpectOk(m_database->CreateTableDef(u"T", 0, u"", u"", table));
  CDaoFieldInfo field{u"Guid", kDaoGuid, 16, kDaoSystemField, false, false, u"GenGUID()"};
  ExpectOk(table->CreateField(field));
  ExpectOk(table->CreateField(u"Other", kDaoGuid, 16, 0x21));
  ExpectOk(table->Append());
  OpenTable(u"T");
  for (int i = 0; i < 2; i++) ExpectOk(AddRow({}));
  ExpectOk(AddRow({u"01020304-0506-0708-090A-0B0C0D0E0F10"}));
  const SWalkedTable walked = CloseAndCheck().Read(u"T");
  const auto rows = walked.Rows();
  EXPECT_EQ(walked.columns[0].flags, 0x43u);
  EXPECT_EQ(rows[0][0]->size(), 16u);
  EXPECT_NE(rows[0][0], rows[1][0]);
  EXPECT_EQ(rows[2][0], "\x04\x03\x02\x01\x06\x05\x08\x07\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10");
  EXPECT_EQ(rows[0][1], std::nullopt);
}

TEST_P(Database, HoldsTheWidestTableOfTheFormat) {
  Create();
  std::vector<std::u16string> names;
  std::vector<SField> fields;
  for (uint64_t i = 0; i < 255; i++) names.push_back(std::u16string(60, u'n') + ToDecimal(i));
  for (size_t i = 0; i < names.size(); i++)
    fields.push_back({names[i], i % 2 == 0 ? kDaoMemo : kDaoBoolean, 0, i % 2 == 0 ? 0x22 : 0x21});
  ExpectOk(AddTable(u"Wide", fields));
  OpenTable(u"Wide");
  std::vector<std::u16string> values(255, u"-");
  values[0] = u"first";
  values[253] = u"True";
  values[254] = std::u16string(5000, u'\u00D6');
  ExpectOk(AddRow(values));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"Wide");
  EXPECT_GT(table.definitionPages.size(), 1u);
  const auto rows = table.Rows();
  EXPECT_EQ(walker.Text(rows[0][0]), u"first");
  EXPECT_EQ(rows[0][253], "\1");
  EXPECT_EQ(walker.Text(rows[0][254]), values[254]);
  EXPECT_EQ(table.columns[254].name, names[254]);
}

// Many tables make the catalogue and its indexes outgrow their first pages.
TEST_P(Database, KeepsManyTablesApart) {
  Create();
  constexpr uint64_t kTables = 150;
  const auto nameOf = [](uint64_t i) {
    return u"Table with quite a long name, number " + ToDecimal(i * 7919 % 1000);
  };
  for (uint64_t i = 0; i < kTables; i++) {
    if (i == 40) Reopen();
    ExpectOk(AddTable(nameOf(i), {{u"N", kDaoLong}}));
  }
  Reopen();
  for (uint64_t i = 0; i < kTables; i += 10) {
    OpenTable(nameOf(i));
    for (uint64_t row = 0; row < i; row++) ExpectOk(AddRow({ToDecimal(row)}));
  }
  CFileWalker walker = CloseAndCheck();
  for (uint64_t i = 0; i < kTables; i++) {
    const auto rows = walker.Read(nameOf(i)).Rows();
    ASSERT_EQ(rows.size(), i % 10 == 0 ? i : 0);
    for (size_t row = 0; row < rows.size(); row++) ASSERT_EQ(rows[row][0], LittleEndian(row, 4));
  }
}

// 255 rows are the most that pointers can name on a page, however short they are.
TEST_P(Database, FillsPagesOverSeveralSessions) {
  Create();
  ExpectOk(AddTable(u"Short", {{u"B", kDaoBoolean}}));
  ExpectOk(AddTable(u"Long", {{u"T", kDaoText, 255, 0x22}}));
  for (int session = 0; session < 3; session++) {
    OpenTable(u"Short");
    for (int i = 0; i < 200; i++) ExpectOk(AddRow({u"Yes"}));
    OpenTable(u"Long");
    for (int i = 0; i < 7; i++) ExpectOk(AddRow({std::u16string(250, IsJet3() ? u'\u00D6' : u'\u0416')}));
    ExpectOk(m_recordset->Close());
    Reopen();
  }
  CFileWalker walker = CloseAndCheck();
  EXPECT_EQ(walker.Read(u"Short").pages.size(), 3u);
  EXPECT_EQ(walker.Read(u"Long").pages.size(), 3u) << "seven rows a page";
}

// A save opens the database once for each of its steps; what comes when is the writer's choice.
TEST_P(Database, TakesTablesQueriesRelationsAndRowsInAnyOrder) {
  Create();
  const auto addQuery = [this](std::u16string_view name) {
    std::unique_ptr<CDaoQueryDef> query;
    ExpectOk(m_database->CreateQueryDef(name, u"SELECT T.N FROM T;", query));
    ExpectOk(query->Append());
  };
  const auto addRows = [this](std::u16string_view table, uint64_t first, uint64_t count) {
    OpenTable(table);
    for (uint64_t i = first; i < first + count; i++)
      ExpectOk(AddRow({ToDecimal(i), std::u16string(200, u'x')}));
    ExpectOk(m_recordset->Close());
    m_recordset.reset();
  };
  const std::vector<SField> fields = {{u"N", kDaoLong}, {u"M", kDaoMemo, 0, 0x22}};
  addQuery(u"Before");
  Reopen();
  ExpectOk(AddTable(u"T", fields));
  Reopen();
  addRows(u"T", 0, 30);
  addQuery(u"Between");
  ExpectOk(AddTable(u"U", fields));
  Reopen();
  addRows(u"U", 0, 20);
  addRows(u"T", 30, 1);
  Reopen();
  const CDaoRelationInfo relation{u"R", u"T", u"U", kDaoRelationDontEnforce, {{u"N", u"N"}}};
  ExpectOk(m_database->CreateRelation(relation));
  addQuery(u"Behind");
  Reopen();
  EXPECT_NE(m_database->CreateRelation(relation).code, EDaoError::None) << "it is there";
  addRows(u"U", 20, 1);
  EXPECT_EQ(AddTable(u"between", fields).code, EDaoError::QueryExists);
  CFileWalker walker = CloseAndCheck();
  EXPECT_EQ(walker.Read(u"T").rows.size(), 31u);
  EXPECT_EQ(walker.Read(u"U").rows.size(), 21u);
  EXPECT_EQ(walker.Read(u"MSysObjects").rows.size(), 8u + 2 + 3 + 1);
}

TEST_P(Database, ReleasingInTheWrongOrderCompletesTheFile) {
  Create();
  ExpectOk(AddTable(u"T", {{u"N", kDaoLong}}));
  OpenTable(u"T");
  ExpectOk(AddRow({u"1"}));
  m_database.reset();
  EXPECT_EQ(m_recordset->AddNew().code, EDaoError::CannotOpenFile);
  m_recordset.reset();
  CFileWalker walker(ReadFile());
  EXPECT_EQ(walker.Check(), std::vector<std::string>{});
  EXPECT_EQ(walker.Read(u"T").rows.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Formats, Database, ::testing::Values(kDaoVersionJet3, kDaoVersionJet4), FormatName);

}  // namespace
}  // namespace tolvane::test
