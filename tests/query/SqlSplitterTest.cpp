// Splitting the SQL of saved queries into rows, written out as "attribute|flag|name1|name2|expression", and
// rebuilding it from them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Text.h"
#include "query/Query.h"
#include "query/SqlSplitter.h"

namespace tolvane {
namespace {

std::string Field(const std::optional<std::u16string>& text) {
  return text ? ToUtf8(*text) : std::string();
}

std::string Rows(std::u16string_view sql) {
  SSplitQuery query;
  std::u16string reason;
  if (!SplitQueryText(sql, query, reason)) return "refused: " + ToUtf8(reason);
  std::string text = query.isWhole ? "whole\n" : "";
  for (const SQueryRow& row : query.rows) {
    if (row.attribute == 0 || row.attribute == 255) continue;
    text += std::to_string(row.attribute) + '|' + (row.flag ? std::to_string(*row.flag) : "") + '|' +
            Field(row.name1) + '|' + Field(row.name2) + '|' + Field(row.expression) + '\n';
  }
  return text;
}

TEST(SqlSplitter, SelectWithJoinsAndLiterals) {
  EXPECT_EQ(Rows(u"SELECT DISTINCT T1.*, [Order Details].[a,b] AS [x y], Count(*)\n"
                 u"FROM ((T1) LEFT JOIN (T3) ON (T1.a = T3.a)) INNER JOIN ([T 2] AS u) ON ((T3.a = u.a) AND "
                 u"(T3.a = u.b))\n"
                 u"WHERE (((u.b)=\"it \"\"is\"\" FROM x\")) AND d>#1/1/2001# AND [WHERE].[Order]=1\n"
                 u"GROUP BY f(a, b), c\nHAVING Count(*)>1\nORDER BY u.a DESC, b ASC, c;"),
            "1|1|||\n3|2|||\n5||T1||\n5||T3||\n5||T 2|u|\n"
            "6|0|||T1.*\n6|0|x y||[Order Details].[a,b]\n6|0|||Count(*)\n"
            "7|2|T1|T3|T1.a = T3.a\n7|1|T3|u|T3.a = u.a\n7|1|T3|u|T3.a = u.b\n"
            "8||||(((u.b)=\"it \"\"is\"\" FROM x\")) AND d>#1/1/2001# AND [WHERE].[Order]=1\n"
            "9|0|||f(a, b)\n9|0|||c\n10||||Count(*)>1\n11||D||u.a\n11||||b\n11||||c\n");
}

TEST(SqlSplitter, ActionQueries) {
  EXPECT_EQ(Rows(u"INSERT INTO [my t] ( [a], b )\nSELECT x, f(y, z)\nFROM [T]"),
            "1|3|my t||\n3|0|||\n5||T||\n6|0||a|x\n6|0||b|f(y, z)\n");
  EXPECT_EQ(Rows(u"UPDATE [a b] SET x = \"a=b\", [y] = ([z]=1)\nWHERE q"),
            "1|4|||\n3|0|||\n5||a b||\n6|0||x|\"a=b\"\n6|0||[y]|([z]=1)\n8||||q\n");
  EXPECT_EQ(Rows(u"DELETE FROM [B]\nWHERE w"), "1|5|||\n3|1|||\n5||B||\n8||||w\n");
}

TEST(SqlSplitter, CrosstabAndUnion) {
  EXPECT_EQ(
      Rows(u"TRANSFORM Sum(x) AS [S]\nSELECT a\nFROM [T]\nGROUP BY a\nORDER BY a\nPIVOT p In (\"a\",\"b\")"),
      "1|6|||\n3|0|||\n5||T||\n6|0|S||Sum(x)\n6|2|||a\n6|1|||p In (\"a\",\"b\")\n"
      "9|2|||a\n9|1|||p\n11||||a\n");
  EXPECT_EQ(Rows(u"SELECT a FROM b\r\nUNION SELECT c FROM d\r\nUNION ALL\nSELECT e FROM f ORDER BY a;"),
            "1|9|||\n3|1|||\n5|||X7YZ_____1|SELECT a FROM b\r\nUNION SELECT c FROM d\r\n\n"
            "5|||X7YZ_____2|SELECT e FROM f\n11||||a\n");
}

TEST(SqlSplitter, OnlyWholeConditionsBecomeRows) {
  const auto joins = [](std::u16string_view condition) {
    const std::string rows = Rows(u"SELECT x FROM (A) INNER JOIN (B) ON " + std::u16string(condition));
    return rows.substr(std::min(rows.find("7|1"), rows.size()));
  };
  EXPECT_EQ(joins(u"((e1) AND (e2)) AND (e3)"), "7|1|A|B|e1\n7|1|A|B|e2\n7|1|A|B|e3\n");
  EXPECT_EQ(joins(u"((e1) AND (e2) OR (e3))"), "7|1|A|B|(e1) AND (e2) OR (e3)\n");
  EXPECT_EQ(joins(u"((a) = (b))"), "7|1|A|B|(a) = (b)\n");
  EXPECT_EQ(joins(u"a = b"), "7|1|A|B|a = b\n");
  EXPECT_EQ(joins(u"()"), "7|1|A|B|\n");
}

TEST(SqlSplitter, WhatCannotBeSplitIsStoredWhole) {
  for (const char16_t* sql : {u"SELECT", u"SELECT (((", u"SELECT a FROM b LEFT JOIN c", u"SELECT a FROM (b",
                              u"gibberish", u"SELECT * FROM a,, b", u"INSERT INTO t (a) SELECT 1, 2 FROM b",
                              u"UPDATE t SET", u"SELECT a FROM b INNER JOIN c ON", u"TRANSFORM x", u"UNION",
                              u"SELECT 'open", u"SELECT a FROM b WHERE xUNION\nSELECT c FROM d"})
    EXPECT_EQ(Rows(sql), "whole\n1|7|||" + ToUtf8(sql) + "\n");
  EXPECT_TRUE(Rows(u" \r\n").starts_with("refused"));
  EXPECT_TRUE(Rows(std::u16string_view(u"SELECT\0 1", 9)).starts_with("refused"));
}

TEST(SqlSplitter, DeepNestingNeitherRecursesNorCrawls) {
  constexpr size_t kDepth = 200'000;
  const std::u16string open(kDepth, u'(');
  const std::u16string close(kDepth, u')');
  EXPECT_EQ(Rows(u"SELECT a FROM " + open + u"b" + close), "1|1|||\n3|0|||\n5||b||\n6|0|||a\n");
  EXPECT_EQ(Rows(u"SELECT a FROM b INNER JOIN c ON " + open + u"b.x=c.x" + close),
            "1|1|||\n3|0|||\n5||b||\n5||c||\n6|0|||a\n7|1|b|c|" + std::string(kDepth - 1, '(') + "b.x=c.x" +
                std::string(kDepth - 1, ')') + "\n");
}

// A stored row, what is rarely set last.
struct STestRow {
  uint8_t attribute;
  std::optional<std::u16string> expression = {}, name1 = {}, name2 = {};
  std::optional<int16_t> flag = {};
};

template <class TRow>
std::u16string SqlOf(uint32_t type, const std::vector<TRow>& rows) {
  CQuery query;
  query.type = ToDecimal(type);
  for (const TRow& from : rows) {
    auto row = std::make_unique<CQueryAttributes>();
    row->Attribute = ToDecimal(from.attribute);
    row->Expression = from.expression.value_or(u"");
    row->Name1 = from.name1.value_or(u"");
    row->Name2 = from.name2.value_or(u"");
    if (from.flag) row->Flag = ToDecimal(*from.flag);
    query.rows.Append(std::move(row));
  }
  return query.GetSql();
}

// What the builders write from rows in any state comes back letter by letter from the rows that are stored.
TEST(SqlSplitter, RebuiltStatementsComeBackUnchanged) {
  std::vector<STestRow> chain;
  for (int i = 0; i < 20'000; ++i) {
    const std::u16string left = u"T" + ToDecimal(i);
    const std::u16string right = u"T" + ToDecimal(i + 1);
    chain.push_back({7, left + u".a = " + right + u".b", left, right, 1});
  }
  const std::vector<STestRow> clauses{
      {5, u"", u"my t"}, {6, u"f(a, \"b, (\")", u"x y"}, {8, u"w"}, {9, u"g"}, {10, u"h"}, {11, u"o", u"D"}};
  const std::vector<STestRow> crosstab{{5, u"", u"T"},         {6, u"Sum(x)", u"S", u"", 0},
                                       {6, u"n", u"", u"", 0}, {6, u"a", u"", u"", 2},
                                       {9, u"a", u"", u"", 2}, {9, u"p", u"", u"", 1}};
  struct SCase {
    uint32_t type;
    std::vector<STestRow> rows;
  };
  const std::vector<SCase> cases{
      {0, {}},
      {0, clauses},
      {0, {{10, u""}, {11, u""}}},
      {0, chain},
      {0, {{8, std::u16string(1'000'000, u'[') + u"]"}}},
      {0, {{8, std::u16string(500'000, u'(') + u"x" + std::u16string(500'000, u')')}}},
      {0,
       {{5, u"", u"Order Lines", u"l"},
        {7, u"l.a = B.a", u"l", u"B", 2},
        {7, u"(l.b) = (B.b)", u"l", u"B", 2},
        {7, u"", u"C-D", u"E(old)", 3},
        {7, u"B.c = [E(old)].c", u"B", u"E(old)", 1},
        {7, u"(B.d = [C-D].d)", u"C-D", u"B", 1}}},
      {64, {{1, u"", u"my t"}, {5, u"", u"S"}, {6, u"x", u"", u"a"}, {6, u"y"}}},
      {64, {{1, u"", u"t(old)"}, {5, u"", u"S"}}},
      {64, {{6, u"x", u"", u"a"}}},
      {48, {{5, u"", u"T"}, {6, u"\"=\"", u"", u"A B.c"}, {6, u"1", u"", u"d"}, {8, u"w"}}},
      {48, {{7, u"e", u"A", u"B", 1}, {6, u"1", u"", u"d"}}},
      {32, clauses},
      {16, crosstab},
      {16, {crosstab.begin() + 3, crosstab.end()}},
      {16, {crosstab.begin() + 5, crosstab.end()}},
      {128,
       {{3, u"", u"", u"", 3},
        {5, u"SELECT 1\r\n", u"", u"X7YZ_____1"},
        {5, u"SELECT 2", u"", u"X7YZ_____2"}}},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const std::u16string sql = SqlOf(cases[i].type, cases[i].rows);
    SSplitQuery stored;
    std::u16string reason;
    ASSERT_TRUE(SplitQueryText(sql, stored, reason));
    const std::u16string again = SqlOf(stored.flags, stored.rows);
    EXPECT_TRUE(again == sql) << ToUtf8(again.substr(0, 500)) << "\n" << ToUtf8(sql.substr(0, 500));
    EXPECT_FALSE(stored.isWhole);
  }
}

}  // namespace
}  // namespace tolvane
