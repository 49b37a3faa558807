// Indexes of user tables: trees over the rows, and what rows take from an index. The checker proves order,
// links, keys and completeness when a test closes its database.
#include <numeric>
#include <string>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {

class UserIndexes : public AllFormats {
 protected:
  static CDaoIndexInfo Primary(std::u16string_view field) {
    return {.name = u"Primary Key", .fields = {{std::u16string(field)}}, .primary = true, .unique = true};
  }
};

TEST_P(UserIndexes, TreesOverEveryKindOfKey) {
  Create();
  ExpectOk(AddTable(u"T",
                    {{u"Id", kDaoLong}, {u"Name", kDaoText, 50}, {u"When", kDaoDate}, {u"Flag", kDaoBoolean}},
                    {Primary(u"Id"),
                     {.name = u"ByName", .fields = {{u"name"}, {u"When", true}}},
                     {.name = u"Flags", .fields = {{u"Flag", true}, {u"Id"}}},
                     {.name = u"Sparse", .fields = {{u"When"}, {u"Name"}}, .ignoreNulls = true}}));
  constexpr int kRows = 5000;
  std::vector<Texts> rows;
  for (int i = 0; i < kRows; i++) {
    const int id = i * 7919 % kRows;  // a permutation: the keys arrive in no order
    rows.push_back({ToDecimal(id), id % 5 == 0 ? u"-" : u"Name " + ToDecimal(id % 100),
                    id % 3 == 0 ? u"-" : u"01/0" + ToDecimal(id % 9 + 1) + u"/2001 ",
                    id % 2 == 0 ? u"True" : u"False"});
  }
  const CDaoResult closed = AddRows(u"T", rows);
  ExpectOk(closed);
  EXPECT_EQ(closed.text, u"");
  // The definition says how many different keys each has: 80 names or none with 6 dates or none; the last
  // index takes keys of which a part is null, but not all of it.
  const std::string definition = Page(CloseAndRead(u"T").page);
  std::string distinct;
  for (size_t i = 0; i < 4; i++)
    distinct += definition.substr(IsJet3() ? 43 + 8 * i + 4 : 63 + 12 * i + 4, 4);
  EXPECT_EQ(distinct, LittleEndian(kRows, 4) + LittleEndian(81 * 7, 4) + LittleEndian(kRows, 4) +
                          LittleEndian(81 * 7 - 1, 4));
}

// Rows that repeat a key, and rows that come when the indexes were built once, change nothing of that.
TEST_P(UserIndexes, AnyNumberOfThreadsMakesTheSameFile) {
  std::string first;
  for (const uint32_t threads : {1u, 2u, 8u}) {
    Create({.tempFolder = {}, .identity = std::make_shared<CIdentity>(40'000.0, 7), .threads = threads});
    ExpectOk(AddTable(u"T", {{u"Id", kDaoLong}, {u"Name", kDaoText, 50}},
                      {Primary(u"Id"),
                       {.name = u"ByName", .fields = {{u"Name"}}, .unique = true},
                       {.name = u"Both", .fields = {{u"Name", true}, {u"Id"}}}}));
    std::vector<Texts> rows;
    for (int i = 0; i < 12'000; i++)
      rows.push_back({ToDecimal(i * 7919 % 12'000), u"A name that fills pages " + ToDecimal(i % 11'990)});
    EXPECT_NE(AddRows(u"T", rows).text.find(u"no longer unique: 10 records repeat"), std::u16string::npos);
    ExpectOk(AddRows(u"T", {{u"-5", u"later"}}));
    CloseAndCheck();
    const std::string file = ReadText(m_path);
    if (first.empty()) first = file;
    EXPECT_TRUE(file == first) << threads;
    RemoveFile(m_path);
  }
}

// Long keys, two rows each, alike to nearly their end or from the first byte on: every count of entries
// around the splits of pages, up to a tree of four levels.
TEST_P(UserIndexes, EveryTreeAroundASplitIsSound) {
  Create();
  std::vector<uint64_t> counts(80);
  std::iota(counts.begin(), counts.end(), 0);
  counts.push_back(700);
  for (const uint64_t count : counts) {
    const std::u16string table = u"T" + ToDecimal(count);
    ExpectOk(AddTable(table, {{u"Same"}, {u"Number"}},
                      {{.name = u"Alike", .fields = {{u"Same"}, {u"Number"}}},
                       {.name = u"Different", .fields = {{u"Number"}, {u"Same"}}}}));
    std::vector<Texts> rows;
    for (uint64_t i = 0; i < count; i++)
      rows.push_back(
          {std::u16string(255, u'x'), ToDecimal(1000 + i / 2) + std::u16string(250 - i % 3, u'y')});
    ExpectOk(AddRows(table, rows));
  }
  CloseAndCheck();
}

TEST_P(UserIndexes, RowsAreNeverGivenUpForAnIndex) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Id", kDaoLong}, {u"Name", kDaoText, 50}},
                    {Primary(u"Id"),
                     {.name = u"Needed", .fields = {{u"Name"}}, .required = true},
                     {.name = u"Alone", .fields = {{u"Name"}}, .unique = true}}));
  OpenTable(u"T");
  for (const Texts& row : {Texts{u"17", u"a"}, {u"17", u"-"}, {u"18", u"-"}}) ExpectOk(AddRow(row));
  const CDaoResult closed = m_recordset->Close();
  ExpectOk(closed);
  EXPECT_EQ(
      closed.text,
      u"Index \"Needed\" no longer requires values: 2 records have none. Index \"Primary Key\" is no longer "
      u"unique: 1 record repeats a key (17). Index \"Primary Key\" is no longer the primary key.");
  EXPECT_EQ(m_recordset->GetChangedIndexCount(), 2u);
  m_recordset.reset();
  EXPECT_EQ(CloseAndRead(u"T").rows.size(), 3u);
}

TEST_P(UserIndexes, OfLongValuesOnlyMemosAreKeysAndNotInJet3) {
  Create();
  const auto table = NewTable(u"T", {{u"M", kDaoMemo}, {u"O", kDaoLongBinary}});
  EXPECT_EQ(table->CreateIndex({.name = u"I", .fields = {{u"O"}}}).code, EDaoError::InvalidDataType);
  EXPECT_EQ(table->CreateIndex({.name = u"I", .fields = {{u"M"}}}).code,
            IsJet3() ? EDaoError::InvalidDataType : EDaoError::None);
}

// In the row, in a row of their own, in a chain of pages; alike in all that a key holds, and beyond it.
TEST_P(UserIndexes, MemosAreIndexedWhereverTheyAreStored) {
  if (IsJet3()) GTEST_SKIP() << "no indexes on memos";
  Create();
  ExpectOk(AddTable(u"T", {{u"Id", kDaoLong}, {u"M", kDaoMemo}},
                    {{.name = u"ByMemo", .fields = {{u"M"}}},
                     {.name = u"Backwards", .fields = {{u"M", true}, {u"Id"}}},
                     {.name = u"Alone", .fields = {{u"M"}}, .unique = true}}));
  const auto repeat = [](size_t count, char16_t unit) { return std::u16string(count, unit); };
  std::vector<Texts> rows;
  for (const std::u16string& memo :
       {std::u16string(u"-"), std::u16string(), std::u16string(u"short"), std::u16string(u"caf\u00E9"),
        std::u16string(u"\u65E5"), repeat(300, u'a'), repeat(255, u'b'), repeat(255, u'b') + u"x",
        repeat(9000, u'c'), repeat(260, u'd') + u' ', repeat(9000, u'\u0153')})
    rows.push_back({ToDecimal(rows.size()), memo});
  const CDaoResult closed = AddRows(u"T", rows);
  ExpectOk(closed);
  EXPECT_EQ(closed.text, u"Index \"Alone\" is no longer unique: 1 record repeats a key (\"" +
                             repeat(40, u'b') + u"...\").");
  EXPECT_EQ(CloseAndRead(u"T").indexFlags.size(), 3u);
}

TEST_P(UserIndexes, AnIndexWithAKeyTooLongForAPageIsLeftOut) {
  Create();
  std::vector<SField> fields = {{u"Id", kDaoLong}};
  CDaoIndexInfo index{.name = u"Long", .fields = {}};
  for (const char16_t* name : {u"A", u"B", u"C", u"D", u"E"}) {
    fields.push_back({name});
    index.fields.push_back({name});
  }
  ExpectOk(AddTable(u"T", fields, {Primary(u"Id"), index}));
  // Letters that take several bytes of a key each.
  Texts row(6, std::u16string(255, IsJet3() ? u'\u00C6' : u'-'));
  row[0] = u"1";
  const CDaoResult closed = AddRows(u"T", {row});
  ExpectOk(closed);
  EXPECT_EQ(closed.text, u"Index \"Long\" was left out: a key of it is too long for a page.");
  EXPECT_EQ(CloseAndRead(u"T").indexFlags.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Formats, UserIndexes, kAllFormats, FormatName);

}  // namespace tolvane::test
