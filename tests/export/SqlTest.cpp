// Values in the words of other programs: literals of each dialect, names, defaults, views, typed JSON.
#include <gtest/gtest.h>

#include <bit>

#include "export/JsonText.h"
#include "export/SqlDefaults.h"
#include "export/SqlNames.h"
#include "export/SqliteViews.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

using Bytes = std::vector<uint8_t>;

// A value with bytes of its own.
struct SOwned {
  SOwned(uint8_t type, Bytes stored, uint8_t scale = 0) : bytes(std::move(stored)) {
    value = {.type = type, .scale = scale, .isNull = false, .bytes = bytes};
  }
  SOwned(const SOwned&) = delete;
  Bytes bytes;
  SValue value;
};

Bytes Raw(auto number) {
  const auto bytes = std::bit_cast<std::array<uint8_t, sizeof(number)>>(number);
  return {bytes.begin(), bytes.end()};
}
Bytes Units(std::u16string_view text) {
  const auto bytes = UnitBytes(text);
  return {bytes.begin(), bytes.end()};
}
Bytes Decimal(uint32_t high, uint32_t low) {
  Bytes bytes(kDecimalBytes);
  for (int i = 0; i < 4; ++i) bytes[static_cast<size_t>(9 + i)] = static_cast<uint8_t>(high >> 8 * i);
  for (int i = 0; i < 4; ++i) bytes[static_cast<size_t>(13 + i)] = static_cast<uint8_t>(low >> 8 * i);
  return bytes;
}

// The literal in all three dialects; "!" behind one that is changed, "?" behind one that is lost.
std::string Literals(const SValue& value, bool isInKey = false) {
  std::string all;
  for (const ESqlDialect dialect : {ESqlDialect::Sqlite, ESqlDialect::PostgreSql, ESqlDialect::MySql}) {
    if (!all.empty()) all += " | ";
    const ESqlFate fate = CSqlDialect(dialect).AppendLiteral({value.type, value.scale, isInKey}, value, all);
    all += fate == ESqlFate::Changed ? "!" : fate == ESqlFate::Lost ? "?" : "";
  }
  return all;
}
std::string AsJson(const SValue& value) {
  std::string text;
  AppendJsonValue(value, EOleForm::Base64, text);
  return text;
}

TEST(SqlDialect, EachValueInTheWordsOfEachDatabaseAndOfJson) {
  const struct {
    SOwned value;
    const char* literals;
    const char* json;
  } kCases[] = {
      {{kTypeBoolean, {1}}, "1 | TRUE | 1", "true"},
      {{kTypeLong, Raw(int32_t{-7})}, "-7 | -7 | -7", "-7"},
      {{kTypeBigInt, Raw(INT64_MAX)},
       "9223372036854775807 | 9223372036854775807 | 9223372036854775807",
       "9223372036854775807"},
      {{kTypeCurrency, Raw(int64_t{-12500})}, "-1.2500 | -1.2500 | -1.2500", "-1.2500"},
      // 16 digits, which no double holds.
      {{kTypeCurrency, Raw(int64_t{1234567890123456})},
       "'123456789012.3456' | 123456789012.3456 | 123456789012.3456",
       "123456789012.3456"},
      {{kTypeDecimal, Decimal(1, 5), 2}, "42949673.01 | 42949673.01 | 42949673.01", "42949673.01"},
      {{kTypeSingle, Raw(0.1F)}, "0.1 | 0.1 | 0.1", "0.1"},
      {{kTypeDouble, Raw(-std::numeric_limits<double>::infinity())}, "-9e999 | '-inf' | NULL?", "\"-inf\""},
      {{kTypeDouble, Raw(std::numeric_limits<double>::quiet_NaN())}, "'nan' | 'nan' | NULL?", "\"nan\""},
      {{kTypeDate, Raw(36526.75)},
       "'2000-01-01 18:00:00' | '2000-01-01 18:00:00' | '2000-01-01 18:00:00'",
       "\"2000-01-01T18:00:00\""},
      {{kTypeDate, Raw(36526.0)},
       "'2000-01-01 00:00:00' | '2000-01-01 00:00:00' | '2000-01-01 00:00:00'",
       "\"2000-01-01T00:00:00\""},
      {{kTypeDate, Raw(1e9)}, "1e+09 | NULL? | NULL?", "1e+09"},
      {{kTypeText, Units(u"it's \\ \"x\"")},
       "'it''s \\ \"x\"' | 'it''s \\ \"x\"' | 'it\\'s \\\\ \"x\"'",
       "\"it's \\\\ \\\"x\\\"\""},
      {{kTypeText, Units(std::u16string_view(u"a\0b", 3))},
       "CAST(X'610062' AS TEXT) | 'a\xEF\xBF\xBD"
       "b'! | 'a\\0b'",
       "\"a\\u0000b\""},
      {{kTypeBinary, {0, 0xFF}}, "X'00ff' | '\\x00ff' | X'00ff'", "\"AP8=\""},
  };
  for (const auto& each : kCases) {
    EXPECT_EQ(Literals(each.value.value), each.literals);
    EXPECT_EQ(AsJson(each.value.value), each.json);
  }
  const SOwned longKey(kTypeText, Units(std::u16string(256, u'x')));
  EXPECT_TRUE(Literals(longKey.value, true).ends_with("x'!")) << "keys of MySQL have an end";
  EXPECT_EQ(CSqlDialect(ESqlDialect::Sqlite).QuoteName("a\"b`"), "\"a\"\"b`\"");
  EXPECT_EQ(CSqlDialect(ESqlDialect::MySql).QuoteName("a\"b`"), "`a\"b```");
}

TEST(SqlNames, AreTakenOnceAndFit) {
  CSqlNames names(ESqlDialect::PostgreSql);
  const std::u16string wide(40, u'\u4e2d');
  EXPECT_EQ(names.Add(wide, "t").size(), 63u);
  EXPECT_EQ(names.Add(wide, "t").size(), 62u) << "whole characters, and room for the number";
  EXPECT_EQ(names.Add(u"Orders", "t"), "Orders");
  EXPECT_EQ(names.Add(u"ORDERS", "t"), "ORDERS_2");
  EXPECT_EQ(names.Add(std::u16string_view(u"\0", 1), "t"), "_");
  EXPECT_EQ(names.Add(u"", "t"), "t");
  EXPECT_EQ(CSqlNames(ESqlDialect::Sqlite).Add(u"SQLite_x", "t"), "_SQLite_x");
}

TEST(SqlDefaults, OnlyPlainValues) {
  const CSqlDialect dialect(ESqlDialect::PostgreSql);
  const auto of = [&dialect](uint8_t type, std::u16string_view expression) {
    return MakeDefault(expression, {type}, dialect);
  };
  EXPECT_EQ(of(kTypeText, u" =\"say \"\"hi\"\"\""), "'say \"hi\"'");
  EXPECT_EQ(of(kTypeLong, u"-5"), "-5");
  EXPECT_EQ(of(kTypeBoolean, u"Yes"), "TRUE");
  EXPECT_EQ(of(kTypeDate, u"#12/31/1999#"), "'1999-12-31 00:00:00'");
  EXPECT_EQ(of(kTypeDecimal, u"1234567890.12345678901"), "1234567890.12345678901");
  for (const std::u16string_view expression : {u"Now()", u"\"a\" & \"b\"", u"[Other]", u"Null", u"Yes"})
    EXPECT_EQ(of(kTypeText, expression), "") << ToUtf8(expression);
}

TEST(SqliteViews, OnlyWhatMeansTheSame) {
  EXPECT_EQ(MakeViewSql(u"SELECT [a b].x, \"it's\" AS t\r\nFROM [a b] WHERE (x>=1.5) AND y In (1,-2);"),
            "SELECT [a b].x, 'it''s' AS t\r\nFROM [a b] WHERE (x>=1.5) AND y In (1,-2)");
  EXPECT_EQ(MakeViewSql(u"SELECT Count(*) FROM t"), "SELECT Count(*) FROM t");
  for (const std::u16string_view sql :
       {u"SELECT a & b FROM t", u"SELECT a+b FROM t", u"SELECT a/b FROM t",
        u"SELECT a FROM t WHERE a Like \"x*\"", u"SELECT Left(a,1) FROM t",
        u"SELECT a FROM t WHERE d=#1/2/2000#", u"SELECT a FROM t WHERE yes = -1", u"SELECT TOP 5 a FROM t",
        u"SELECT \"open", u"SELECT a; DROP TABLE t"})
    EXPECT_EQ(MakeViewSql(sql), std::nullopt) << ToUtf8(sql);
}

}  // namespace
}  // namespace tolvane
