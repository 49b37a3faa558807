// Splitting the SQL of saved queries into rows, written out as "attribute|flag|name1|name2|expression".
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/Text.h"
#include "writer/embedded/QueryText.h"

namespace tolvane {
namespace {

std::string Field(const std::optional<std::u16string>& text) {
  return text ? ToUtf8(*text) : std::string();
}

std::string Rows(std::u16string_view sql) {
  SStoredQuery query;
  std::u16string reason;
  if (!SplitQueryText(sql, query, reason)) return "refused: " + ToUtf8(reason);
  std::string text = query.isWhole ? "whole\n" : "";
  for (const SStoredQueryRow& row : query.rows) {
    if (row.attribute == 0 || row.attribute == 255) continue;
    text += std::to_string(row.attribute) + '|' + (row.flag ? std::to_string(*row.flag) : "") + '|' +
            Field(row.name1) + '|' + Field(row.name2) + '|' + Field(row.expression) + '\n';
  }
  return text;
}

TEST(QueryText, SelectWithJoinsAndLiterals) {
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
  EXPECT_EQ(Rows(u"PARAMETERS [User Name] Text ( 255 ), x Long; select top 10 percent * from t as u, v where "
                 u"T.[from]=1"),
            "1|1|||\n2|10|User Name||\n2|4|x||\n3|49|10||\n5||t|u|\n5||v||\n8||||T.[from]=1\n");
  EXPECT_EQ(Rows(u"SELECT a INTO [new t] FROM b"), "1|2|new t||\n3|0|||\n5||b||\n6|0|||a\n");
}

TEST(QueryText, ActionQueries) {
  EXPECT_EQ(Rows(u"INSERT INTO [my t] ( [a], b )\nSELECT x, f(y, z)\nFROM [T]"),
            "1|3|my t||\n3|0|||\n5||T||\n6|0||a|x\n6|0||b|f(y, z)\n");
  EXPECT_EQ(Rows(u"UPDATE [a b] SET x = \"a=b\", [y] = ([z]=1)\nWHERE q"),
            "1|4|||\n3|0|||\n5||a b||\n6|0||x|\"a=b\"\n6|0||[y]|([z]=1)\n8||||q\n");
  EXPECT_EQ(Rows(u"DELETE FROM [B]\nWHERE w"), "1|5|||\n3|1|||\n5||B||\n8||||w\n");
  EXPECT_EQ(Rows(u"DELETE B.x FROM B"), "1|5|||\n3|0|||\n5||B||\n6|0|||B.x\n");
}

TEST(QueryText, CrosstabAndUnion) {
  EXPECT_EQ(
      Rows(u"TRANSFORM Sum(x) AS [S]\nSELECT a\nFROM [T]\nGROUP BY a\nORDER BY a\nPIVOT p In (\"a\",\"b\")"),
      "1|6|||\n3|0|||\n5||T||\n6|0|S||Sum(x)\n6|2|||a\n6|1|||p In (\"a\",\"b\")\n"
      "9|2|||a\n9|1|||p\n11||||a\n");
  EXPECT_EQ(Rows(u"SELECT a FROM b\r\nUNION SELECT c FROM d\r\nUNION ALL\nSELECT e FROM f ORDER BY a;"),
            "1|9|||\n3|1|||\n5|||X7YZ_____1|SELECT a FROM b\r\nUNION SELECT c FROM d\r\n\n"
            "5|||X7YZ_____2|SELECT e FROM f\n11||||a\n");
}

TEST(QueryText, WhatCannotBeSplitIsStoredWhole) {
  EXPECT_EQ(Rows(u"CREATE TABLE x (y CHAR)"), "1|7|||CREATE TABLE x (y CHAR)\n");
  for (const char16_t* sql :
       {u"SELECT", u"SELECT (((", u"SELECT a FROM b LEFT JOIN c", u"SELECT a FROM (b", u"gibberish",
        u"SELECT * FROM a,, b", u"INSERT INTO t (a) SELECT 1, 2 FROM b", u"UPDATE t SET",
        u"SELECT a FROM b INNER JOIN c ON", u"TRANSFORM x", u"UNION", u"SELECT 'open"})
    EXPECT_EQ(Rows(sql), "whole\n1|7|||" + ToUtf8(sql) + "\n");
  EXPECT_TRUE(Rows(u" \r\n").starts_with("refused"));
  EXPECT_TRUE(Rows(std::u16string_view(u"SELECT\0 1", 9)).starts_with("refused"));
}

TEST(QueryText, DeepNestingNeitherRecursesNorCrawls) {
  constexpr size_t kDepth = 200'000;
  const std::u16string open(kDepth, u'(');
  const std::u16string close(kDepth, u')');
  EXPECT_EQ(Rows(u"SELECT a FROM " + open + u"b" + close), "1|1|||\n3|0|||\n5||b||\n6|0|||a\n");
  EXPECT_EQ(Rows(u"SELECT a FROM b INNER JOIN c ON " + open + u"b.x=c.x" + close),
            "1|1|||\n3|0|||\n5||b||\n5||c||\n6|0|||a\n7|1|b|c|b.x=c.x\n");
}

}  // namespace
}  // namespace tolvane
