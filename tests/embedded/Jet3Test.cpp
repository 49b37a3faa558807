// What only Jet 3 databases have: their header, their definitions, rows with a jump table, texts of a code
// page.
#include <gtest/gtest.h>

#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class Jet3 : public DatabaseFixture {
 protected:
  Jet3() { m_version = kDaoVersionJet3; }
  [[nodiscard]] std::string Page(uint32_t page) const { return ReadFile().substr(page * kPage, kPage); }
  static constexpr size_t kPage = 2048;
};

std::string Hex(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<uint8_t>(byte) >> 4];
    text += kDigits[static_cast<uint8_t>(byte) & 15];
  }
  return text;
}

// Hex digits without the blanks that group them.
std::string Packed(std::string digits) {
  std::erase(digits, ' ');
  return digits;
}

uint32_t Word(const std::string& page, size_t at) {
  return static_cast<uint8_t>(page[at]) | static_cast<uint32_t>(static_cast<uint8_t>(page[at + 1])) << 8;
}

// Page 0 of a real file; those of one build are all the same.
TEST_F(Jet3, HeaderIsThatOfTheOriginalEngine) {
  Create();
  ExpectOk(m_database->Close());
  const std::string page = Page(0);
  EXPECT_EQ(Hex(page.substr(0, 0x18)), "000100005374616e64617264204a65742044420000000000");
  EXPECT_EQ(Hex(page.substr(0x18, 126)),
            "b56e03626009c255e9a96772403f009c7e9f90ff859a31c579baed30bcdfcc9d"
            "63d9edc79f46fb8abc4e86fbec375d449cfac65e28e613b68a6054947b36917f"
            "dfb177f41343cfafb1333461795b92b57c2a05f17c99011b98fd124f4a946c3e"
            "60265f95f8d089248567c61f2744d2eecf65edff07c746a178160cede92d");
  EXPECT_EQ(page.find_first_not_of('\0', 0x96), 0x600u);
  EXPECT_EQ(Hex(page.substr(0x600, 8)), "0101000100010001");
}

TEST_F(Jet3, EmptyDatabaseHasTheDefinitionsOfTheOriginalEngine) {
  Create();
  ExpectOk(m_database->Close());
  const std::pair<uint32_t, uint32_t> lengths[] = {{2, 708}, {3, 223}, {4, 319}, {5, 526}};
  for (const auto& [page, length] : lengths) EXPECT_EQ(Word(Page(page), 8), length) << page;
  // The two global maps, of 133 bytes: free are the 1004 pages behind the file.
  const std::string maps = Page(1);
  EXPECT_EQ(Hex(maps.substr(0, 14)),
            "0101e806010000000200"
            "7b07f606");
  EXPECT_EQ(Hex(maps.substr(0x77B, 9)),
            "000000000000"
            "00f0ff");
  // That of MSysACEs: 16 rows; maps on page 12, the index on page 13.
  EXPECT_EQ(
      Hex(Page(3).substr(0, 223)),
      Packed(
          "0201564300000000 df000000 10000000 00000000 53 0400 0100 0400 01000000 01000000 000c0000 010c0000 "
          "0000000008000000 "
          "04 0000 0000 0000 0000 0904e404 13 0000 0400  09 0100 0000 0000 0000 0904e404 32 0000 ff00 "
          "04 0200 0100 0000 0000 0904e404 13 0400 0400  01 0300 0100 0000 0000 0904e404 13 0000 0100 "
          "084f626a6563744964 03534944 0341434d 0c46496e686572697461626c65 "
          "000001 ffff00ffff00ffff00ffff00ffff00ffff00ffff00ffff00ffff00 020c0000 0d000000 08 "
          "00000000 00000000 00 ffffffff 00000000 04 04 00 084f626a6563744964 ffff "));
}

// The table "Table4" of a real file, but for its pages and for what engines leave uninitialised.
TEST_F(Jet3, DefinitionIsThatOfTheOriginalEngine) {
  Create();
  std::unique_ptr<CDaoTableDef> table;
  ExpectOk(m_database->CreateTableDef(u"Table4", 0, {}, {}, table));
  ExpectOk(table->CreateField(u"name", kDaoText, 50, 0x22));
  ExpectOk(table->CreateField({u"data", kDaoGuid, 16, kDaoSystemField, false, false, u"GenGUID()"}));
  CDaoIndexInfo index;
  index.name = u"PrimaryKey";
  index.fields = {{u"data"}};
  index.primary = index.unique = index.required = true;
  ExpectOk(table->CreateIndex(index));
  ExpectOk(table->Append());
  CFileWalker walker = CloseAndCheck();
  const uint32_t page = walker.Read(u"Table4").page;
  ASSERT_EQ(page, 20u);
  EXPECT_EQ(
      Hex(Page(page).substr(0, 169)),
      Packed(
          "0201564300000000 a9000000 00000000 00000000 4e 0200 0100 0200 01000000 01000000 00150000 01150000 "
          "0000000000000000 "
          "0a 0000 0000 0000 0000 0904e404 02 0000 3200  0f 0100 0100 0100 0000 0904e404 43 0000 1000 "
          "046e616d65 0464617461 "
          "010001 ffff00ffff00ffff00ffff00ffff00ffff00ffff00ffff00ffff00 02150000 16000000 09 "
          "00000000 00000000 00 ffffffff 00000000 04 04 01 0a5072696d6172794b6579 ffff "));
}

// Behind the values: offsets without their high parts, the jump table, the number of variable columns, mask.
TEST_F(Jet3, RowsHaveJumpTables) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Id", kDaoLong},
                           {u"A", kDaoText, 255, 0x22},
                           {u"B", kDaoText, 255, 0x22},
                           {u"C", kDaoText, 255, 0x22}}));
  OpenTable(u"T");
  struct SCase {
    size_t a, b, c;
    std::string tail;
  };
  // Offsets 5, 105, 135, 139; 5, 205, 305, 306; 5, 260, 515, 517; 5, 254, 254, 254.
  const SCase cases[] = {{100, 30, 4,
                          "8b876905"
                          "03"
                          "0f"},
                         {200, 100, 1,
                          "3231cd05"
                          "02"
                          "03"
                          "0f"},
                         {255, 255, 2,
                          "05030405"
                          "0201"
                          "03"
                          "0f"},
                         {249, 0, 0,
                          "fefefe05"
                          "ff"
                          "03"
                          "0f"}};
  for (const SCase& row : cases)
    ExpectOk(AddRow(
        {u"1", std::u16string(row.a, u'a'), std::u16string(row.b, u'b'), std::u16string(row.c, u'c')}));
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"T");
  size_t i = 0;
  for (const auto& [pointer, values] : table.rows) {
    const SCase& row = cases[i++];
    EXPECT_EQ(Hex(walker.Row(pointer)),
              "0401000000" +
                  Hex(std::string(row.a, 'a') + std::string(row.b, 'b') + std::string(row.c, 'c')) +
                  row.tail);
  }
}

TEST_F(Jet3, TextsAreBytesOfTheCodePage) {
  Create();
  ExpectOk(AddTable(u"Gr\u00F6\u00DFe \u20AC", {{u"\u00C4", kDaoText, 4, 0x22}, {u"M", kDaoMemo, 0, 0x22}}));
  OpenTable(u"gr\u00D6\u00DFE \u20AC");
  ExpectOk(AddRow({u"\u20AC\u0152\u00FF\u0081", u"\u201Eab\u201C"}));
  ExpectOk(AddRow({u"a\U0001F600\u0416b", u"\u2192"}));
  EXPECT_EQ(AddRow({u"\u0416\u0416\u0416\u0416\u0416"}).code, EDaoError::FieldTooSmall);
  const CDaoResult closed = m_recordset->Close();
  ExpectOk(closed);
  EXPECT_EQ(
      ToUtf8(closed.text),
      "3 characters that the code page 1252 does not hold were replaced in table gr\u00D6\u00DFE \u20AC");
  CFileWalker walker = CloseAndCheck();
  const SWalkedTable table = walker.Read(u"Gr\u00F6\u00DFe \u0080");
  const std::vector<std::vector<Value>> expected = {{"\x80\x8C\xFF\x81",
                                                     "\x84"
                                                     "ab\x93"},
                                                    {"a??b", "?"}};
  EXPECT_EQ(table.Rows(), expected);
  EXPECT_EQ(table.columns[0].name, u"\u00C4");
  EXPECT_EQ(table.columns[0].length, 4u);
  EXPECT_EQ(table.columns[0].flags, 2u);
}

TEST_F(Jet3, QueriesSayWhatWasReplaced) {
  Create();
  std::unique_ptr<CDaoQueryDef> query;
  EXPECT_EQ(m_database->CreateQueryDef(u"\u0416", u"SELECT 1 AS A;", query).code, EDaoError::InvalidName);
  ExpectOk(m_database->CreateQueryDef(u"Q", u"SELECT \"\u0416\" AS A FROM T;", query));
  const CDaoResult appended = query->Append();
  ExpectOk(appended);
  EXPECT_EQ(ToUtf8(appended.text),
            "1 character that the code page 1252 does not hold was replaced in the query");
  CFileWalker walker = CloseAndCheck();
  EXPECT_EQ(walker.Read(u"MSysQueries").columns.size(), 7u);
  EXPECT_EQ(walker.Read(u"MSysQueries").rows.size(), 6u);
}

}  // namespace
}  // namespace tolvane::test
