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
#include "tests/query/QueryRows.h"

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

std::u16string SqlOf(uint32_t type, const std::vector<SQueryRow>& rows) {
  CQuery query;
  query.type = ToDecimal(type);
  for (const SQueryRow& from : rows) {
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
  using Texts = std::vector<std::u16string>;
  Texts chain;
  for (uint64_t i = 0; i < 20'000; ++i)
    chain.push_back(u"7|1|T" + ToDecimal(i) + u"|T" + ToDecimal(i + 1) + u"|e" + ToDecimal(i));
  const std::u16string many(500'000, u'('), closed(500'000, u')');
  const Texts clauses{u"5||my t", u"6||x y||f(a, \"b, (\")", u"8||||w", u"9||||g", u"10||||h", u"11||D||o"};
  const Texts crosstab{u"5||T", u"6|0|S||Sum(x)", u"6|0|||n", u"6|2|||a", u"9|2|||a", u"9|1|||p"};
  const std::pair<uint32_t, Texts> cases[] = {
      {0, {}},
      {0, clauses},
      {0, {u"10", u"11"}},
      {0, chain},
      {0, {u"8||||" + many + u"x" + closed}},
      {0,
       {u"5||Order Lines|l", u"7|2|l|B|l.a = B.a", u"7|2|l|B|(l.b) = (B.b)", u"7|3|C-D|E(old)",
        u"7|1|B|E(old)|B.c = [E(old)].c", u"7|1|C-D|B|(B.d = [C-D].d)"}},
      {64, {u"1||my t", u"5||S", u"6|||a|x", u"6||||y"}},
      {64, {u"1||t(old)", u"5||S"}},
      {64, {u"6|||a|x"}},
      {48, {u"5||T", u"6|||A B.c|\"=\"", u"6|||d|1", u"8||||w"}},
      {48, {u"7|1|A|B|e", u"6|||d|1"}},
      {32, clauses},
      {16, crosstab},
      {16, {crosstab.begin() + 3, crosstab.end()}},
      {16, {crosstab.begin() + 5, crosstab.end()}},
      {128, {u"3|3", u"5|||X7YZ_____1|SELECT 1\r\n", u"5|||X7YZ_____2|SELECT 2"}},
  };
  for (const auto& [type, texts] : cases) {
    std::vector<SQueryRow> rows;
    for (const std::u16string& text : texts) rows.push_back(Row(text));
    const std::u16string sql = SqlOf(type, rows);
    SCOPED_TRACE(ToUtf8(sql.substr(0, 500)));
    SSplitQuery stored;
    std::u16string reason;
    ASSERT_TRUE(SplitQueryText(sql, stored, reason));
    const std::u16string again = SqlOf(stored.flags, stored.rows);
    EXPECT_TRUE(again == sql) << ToUtf8(again.substr(0, 500));
    EXPECT_FALSE(stored.isWhole);
  }
}

}  // namespace
}  // namespace tolvane
