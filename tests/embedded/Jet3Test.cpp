// What only Jet 3 databases have: their definitions, system rows without masks, texts of a code page.
// EmptyDatabaseTest compares the other pages of a new one.
#include <gtest/gtest.h>

#include "tests/embedded/DatabaseFixture.h"
#include "tests/format/KeyBytes.h"

namespace tolvane::test {
namespace {

class Jet3 : public DatabaseFixture {
 protected:
  Jet3() { m_version = kDaoVersionJet3; }
};

// The rows of the container "Tables" and of MSysObjects without their two dates, a permission, and the build
// in the header.
TEST_F(Jet3, SystemRowsAreThoseOfTheOriginalEngine) {
  Create();
  ExpectOk(AddTable(u"T", {{u"N", kDaoLong}}));
  CloseAndCheck();
  const auto object = [this](uint32_t row) {
    const std::string bytes = Row(18 << 8 | row);
    return BytesOf(bytes.substr(0, 11) + bytes.substr(27));
  };
  EXPECT_EQ(object(0),
            FromHex("11 0100000f 0000000f 0300 00000080 5461626c6573020327272727272727272727251f0bff0000"));
  EXPECT_EQ(
      object(4),
      FromHex(
          "11 02000000 0100000f 0100 00000080 4d5379734f626a6563747302032c2c2c2c2c2c2c2c2c2c2a1f0bff0000"));
  EXPECT_EQ(BytesOf(Row(19 << 8 | 1)), FromHex("04 03000000 00000600 0301 0b09 01 07"));
  // Those of a table of the user's: for him and for his group.
  EXPECT_EQ(BytesOf(Row(19 << 8 | 16)), FromHex("04 14000000 ffff0f00 0301 0b09 01 07"));
  EXPECT_EQ(BytesOf(Row(19 << 8 | 17)), FromHex("04 14000000 ffff0f00 0201 0b09 01 07"));
  EXPECT_EQ(BytesOf(Page(0).substr(0x56, 2)), FromHex("917f"));
}

// Only the row's length asks for a jump byte here; the data end at 254.
TEST_F(Jet3, AJumpByteWithoutAJumpIsFF) {
  Create();
  ExpectOk(AddTable(u"T", {{u"Id", kDaoLong}, {u"A"}}));
  ExpectOk(AddRows(u"T", {{u"1", std::u16string(249, u'a')}}));
  EXPECT_TRUE(Row(CloseAndRead(u"T").pointers.at(0)).ends_with("a\xFE\x05\xFF\x01\x03"));
}

TEST_F(Jet3, TextsAreBytesOfTheCodePage) {
  Create();
  ExpectOk(AddTable(u"Gr\u00F6\u00DFe \u20AC", {{u"\u00C4", kDaoText, 4}, {u"M", kDaoMemo}}));
  OpenTable(u"gr\u00D6\u00DFE \u20AC");
  ExpectOk(AddRow({u"\u20AC\u0152\u00FF\u0081", u"\u201Eab\u201C"}));
  ExpectOk(AddRow({u"a\U0001F600\u0416b", u"\u2192"}));
  EXPECT_EQ(AddRow({u"\u0416\u0416\u0416\u0416\u0416"}).code, EDaoError::FieldTooSmall);
  EXPECT_EQ(
      ToUtf8(CloseTable().text),
      "3 characters that the code page 1252 does not hold were replaced in table gr\u00D6\u00DFE \u20AC");
  const SStoredTable table = CloseAndRead(u"Gr\u00F6\u00DFe \u20AC");
  const std::vector<std::vector<Value>> expected = {{"\x80\x8C\xFF\x81",
                                                     "\x84"
                                                     "ab\x93"},
                                                    {"a??b", "?"}};
  EXPECT_EQ(table.rows, expected);
  EXPECT_EQ(table.columns[0].name, u"\u00C4");
  EXPECT_EQ(table.columns[0].length, 4u);
  EXPECT_EQ(table.columns[0].flags, 2u);
}

TEST_F(Jet3, QueriesSayWhatWasReplaced) {
  Create();
  EXPECT_EQ(m_database->CreateQuery(MakeQuery(u"\u0416", u"T", u"1")).code, EDaoError::InvalidName);
  const CDaoResult created = m_database->CreateQuery(MakeQuery(u"Q", u"T", u"\"\u0416\""));
  ExpectOk(created);
  EXPECT_EQ(ToUtf8(created.text),
            "1 character that the code page 1252 does not hold was replaced in the query");
  EXPECT_EQ(CloseAndRead(u"MSysQueries").rows.size(), 5u);
}

}  // namespace
}  // namespace tolvane::test
