// Indexes of user tables: trees over the rows, and what rows take from an index. The page walker proves
// order, links and completeness when a test closes its database.
#include <string>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {

class UserIndexes : public BothFormats {
 protected:
  struct SIndex {
    std::u16string_view name;
    std::vector<CDaoIndexFieldInfo> fields;
    bool primary = false, unique = false, ignoreNulls = false, required = false;
  };

  CDaoResult AddIndexedTable(std::u16string_view name, const std::vector<SField>& fields,
                             const std::vector<SIndex>& indexes) {
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(m_database->CreateTableDef(name, 0, {}, {}, table));
    for (const SField& field : fields)
      ExpectOk(table->CreateField(field.name, field.type, field.size, field.attributes));
    for (const SIndex& index : indexes) {
      CDaoIndexInfo info;
      info.name = index.name;
      info.fields = index.fields;
      info.primary = index.primary;
      info.unique = index.unique;
      info.ignoreNulls = index.ignoreNulls;
      info.required = index.required;
      ExpectOk(table->CreateIndex(info));
    }
    return table->Append();
  }
};

TEST_P(UserIndexes, TreesOverEveryKindOfKey) {
  Create();
  ExpectOk(AddIndexedTable(
      u"T", {{u"Id", kDaoLong}, {u"Name", kDaoText, 50, 0x22}, {u"When", kDaoDate}, {u"Flag", kDaoBoolean}},
      {{u"Primary Key", {{u"Id"}}, true, true},
       {u"ByName", {{u"name"}, {u"When", true}}},
       {u"Flags", {{u"Flag", true}, {u"Id"}}},
       {u"Sparse", {{u"When"}}, false, false, true}}));
  OpenTable(u"T");
  constexpr int kRows = 5000;
  for (int i = 0; i < kRows; i++) {
    const int id = i * 7919 % kRows;  // a permutation: the keys arrive in no order
    const std::u16string when =
        id % 3 == 0 ? std::u16string(u"-") : u"01/0" + ToDecimal(id % 9 + 1) + u"/2001 ";
    ExpectOk(AddRow({ToDecimal(id), id % 5 == 0 ? std::u16string(u"-") : u"Name " + ToDecimal(id % 100), when,
                     id % 2 == 0 ? u"True" : u"False"}));
  }
  const CDaoResult closed = m_recordset->Close();
  EXPECT_TRUE(closed.IsOk());
  EXPECT_EQ(closed.text, u"");
  CloseAndCheck();
}

TEST_P(UserIndexes, RowsAreNeverGivenUpForAnIndex) {
  Create();
  ExpectOk(AddIndexedTable(u"T", {{u"Id", kDaoLong}, {u"Name", kDaoText, 50, 0x22}},
                           {{u"Primary Key", {{u"Id"}}, true, true},
                            {u"Needed", {{u"Name"}}, false, false, false, true},
                            {u"Alone", {{u"Name"}}, false, true}}));
  OpenTable(u"T");
  ExpectOk(AddRow({u"17", u"a"}));
  ExpectOk(AddRow({u"17", u"-"}));
  ExpectOk(AddRow({u"18", u"-"}));
  const CDaoResult closed = m_recordset->Close();
  EXPECT_TRUE(closed.IsOk());
  EXPECT_EQ(closed.text,
            u"Index \"Needed\" no longer requires values: 2 records have none. "
            u"Index \"Primary Key\" is no longer unique: 1 record repeats a key (17). "
            u"Index \"Primary Key\" is no longer the primary key.");
  EXPECT_EQ(m_recordset->GetChangedIndexCount(), 2u);
  CloseAndCheck();
}

TEST_P(UserIndexes, RowsAddedLaterAreIndexedToo) {
  Create();
  ExpectOk(AddIndexedTable(u"T", {{u"Id", kDaoLong}}, {{u"Primary Key", {{u"Id"}}, true, true}}));
  for (int round = 0; round < 2; round++) {
    OpenTable(u"T");
    for (int i = 0; i < 2000; i++) ExpectOk(AddRow({ToDecimal(i * 2 + round)}));
    ExpectOk(m_recordset->Close());
    m_recordset.reset();
    Reopen();
  }
  CloseAndCheck();
}

TEST_P(UserIndexes, OfLongValuesOnlyMemosAreKeysAndNotInJet3) {
  Create();
  std::unique_ptr<CDaoTableDef> table;
  ExpectOk(m_database->CreateTableDef(u"T", 0, {}, {}, table));
  ExpectOk(table->CreateField(u"M", kDaoMemo, 0, 0x22));
  ExpectOk(table->CreateField(u"O", kDaoLongBinary, 0, 0x22));
  CDaoIndexInfo index;
  index.name = u"I";
  index.fields = {{u"O"}};
  EXPECT_EQ(table->CreateIndex(index).code, EDaoError::InvalidDataType);
  index.fields = {{u"M"}};
  EXPECT_EQ(table->CreateIndex(index).code, IsJet3() ? EDaoError::InvalidDataType : EDaoError::None);
}

// In the row, in a row of their own, in a chain of pages; alike in all that a key holds, and beyond it.
TEST_P(UserIndexes, MemosAreIndexedWhereverTheyAreStored) {
  if (IsJet3()) GTEST_SKIP() << "no indexes on memos";
  Create();
  ExpectOk(AddIndexedTable(
      u"T", {{u"Id", kDaoLong}, {u"M", kDaoMemo, 0, 0x22}},
      {{u"ByMemo", {{u"M"}}}, {u"Backwards", {{u"M", true}, {u"Id"}}}, {u"Alone", {{u"M"}}, false, true}}));
  OpenTable(u"T");
  const auto repeat = [](size_t count, char16_t unit) { return std::u16string(count, unit); };
  const std::u16string memos[] = {u"-",
                                  u"",
                                  u"short",
                                  u"caf\u00E9",
                                  u"\u65E5",
                                  repeat(300, u'a'),
                                  repeat(255, u'b'),
                                  repeat(255, u'b') + u"x",
                                  repeat(9000, u'c'),
                                  repeat(260, u'd') + u' ',
                                  repeat(9000, u'\u0153')};
  int id = 0;
  for (const std::u16string& memo : memos) ExpectOk(AddRow({ToDecimal(id++), memo}));
  const CDaoResult closed = m_recordset->Close();
  EXPECT_TRUE(closed.IsOk());
  EXPECT_EQ(closed.text, u"Index \"Alone\" is no longer unique: 1 record repeats a key (\"" +
                             repeat(40, u'b') + u"...\").");
  CFileWalker walker = CloseAndCheck();
  EXPECT_EQ(walker.Read(u"T").indexes.size(), 3u);
}

TEST_P(UserIndexes, AnIndexWithAKeyTooLongForAPageIsLeftOut) {
  Create();
  std::vector<SField> fields = {{u"Id", kDaoLong}};
  SIndex index{u"Long", {}};
  for (const std::u16string_view name : {u"A", u"B", u"C", u"D", u"E"}) {
    fields.push_back({name, kDaoText, 255, 0x22});
    index.fields.push_back({std::u16string(name)});
  }
  ExpectOk(AddIndexedTable(u"T", fields, {{u"Primary Key", {{u"Id"}}, true, true}, index}));
  OpenTable(u"T");
  // Letters that take several bytes of a key each.
  const std::u16string text(255, IsJet3() ? u'\u00C6' : u'-');
  ExpectOk(AddRow({u"1", text, text, text, text, text}));
  const CDaoResult closed = m_recordset->Close();
  EXPECT_TRUE(closed.IsOk());
  EXPECT_EQ(closed.text, u"Index \"Long\" was left out: a key of it is too long for a page.");
  CloseAndCheck();
}

INSTANTIATE_TEST_SUITE_P(Formats, UserIndexes, ::testing::Values(kDaoVersionJet3, kDaoVersionJet4),
                         FormatName);

}  // namespace tolvane::test
