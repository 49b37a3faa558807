// The complete SQL text of stored queries of every kind, written out.
#include "query/QueryText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/query/QueryRows.h"

namespace tolvane {
namespace {

SSavedQuery Query(const std::vector<std::u16string_view>& rows) {
  SSavedQuery query;
  for (const std::u16string_view row : rows) query.rows.push_back(Row(row));
  return query;
}

std::u16string Sql(const std::vector<std::u16string_view>& rows) {
  const SQueryText text = RenderQuery(Query(rows));
  return text.missing.empty() ? text.sql : u"missing " + text.missing + u"\n" + text.sql;
}

TEST(QueryText, SelectHasEveryClause) {
  EXPECT_EQ(Sql({u"1|1", u"2|10|User Name", u"2|4|x", u"3|54|10", u"4||C:\\a.mdb|dBASE 5.0;",
                 u"5||Order Details|od", u"5||select", u"6|0|Full Name||Name", u"6|0|||[od].[a]",
                 u"8||||City='Rome'", u"9||||a", u"9||||b", u"10||||Count(*)>1", u"11||D||a", u"11||||b"}),
            u"PARAMETERS [User Name] Text, x Long;\n"
            u"SELECT DISTINCT TOP 10 PERCENT Name AS [Full Name], [od].[a]\n"
            u"FROM [Order Details] AS od, [select] IN 'C:\\a.mdb' [dBASE 5.0;]\n"
            u"WHERE City='Rome'\nGROUP BY a, b\nHAVING Count(*)>1\nORDER BY a DESC, b\n"
            u"WITH OWNERACCESS OPTION");
  EXPECT_EQ(Sql({u"3|9", u"5||T"}), u"SELECT DISTINCTROW *\nFROM T");
  EXPECT_EQ(Sql({u"3|1", u"5||T", u"6||||a+1"}), u"SELECT a+1, *\nFROM T");
  EXPECT_EQ(Sql({u"6||||1"}), u"SELECT 1");
  // A statement as a source, and a table of another database.
  EXPECT_EQ(Sql({u"3|1", u"5|||x|SELECT a FROM b;\r\n", u"5||T||C:\\b.mdb"}),
            u"SELECT *\nFROM (SELECT a FROM b) AS x, [C:\\b.mdb].T");
}

TEST(QueryText, JoinsNestInWhateverOrderTheirRowsStand) {
  const auto from = [](std::vector<std::u16string_view> rows) {
    rows.insert(rows.begin(), {u"3|1", u"5||A", u"5||B", u"5||C", u"5||D", u"5||E|e e"});
    const std::u16string sql = Sql(rows);
    return sql.substr(sql.find(u"FROM ") + 5);
  };
  EXPECT_EQ(from({u"7|2|A|C|A.x=C.x", u"7|1|C|B|C.y=B.y", u"7|1|C|B|C.z=B.z"}),
            u"(A LEFT JOIN C ON A.x=C.x) INNER JOIN B ON (C.y=B.y) AND (C.z=B.z), D, E AS [e e]");
  // Two groups, a join between them, a condition of an inner join that comes last, sides the other way round.
  EXPECT_EQ(from({u"7|1|A|B|1", u"7|3|C|D|2", u"7|2|B|e e|3", u"7|1|D|a|4", u"7|1|B|A|5", u"7|1|[e e]|C|6"}),
            u"(C RIGHT JOIN D ON 2) INNER JOIN ((A INNER JOIN B ON (1) AND (5)) LEFT JOIN E AS [e e] ON 3) "
            u"ON (4) AND (6)");
  EXPECT_EQ(from({u"7|1|A|B|1", u"7|1|C|D|2"}), u"A INNER JOIN B ON 1, C INNER JOIN D ON 2, E AS [e e]");
  EXPECT_TRUE(Sql({u"3|1", u"5||A", u"7|1|A|Lost|1"}).starts_with(u"missing a source of a join\n"));
}

TEST(QueryText, ActionQueries) {
  EXPECT_EQ(Sql({u"1|2|Table 4|C:\\c.mdb", u"3|0", u"5||T", u"6||MaxOfa||Max(a)", u"8||||b"}),
            u"SELECT Max(a) AS MaxOfa\nINTO [Table 4] IN 'C:\\c.mdb'\nFROM T\nWHERE b");
  EXPECT_EQ(Sql({u"1|3|T3", u"5||T1", u"6|0||col2|[T1].[a]", u"6|0|b|my col|x", u"11||||x"}),
            u"INSERT INTO T3 ( col2, [my col] )\nSELECT [T1].[a], x AS b\nFROM T1\nORDER BY x");
  EXPECT_EQ(Sql({u"1|3|T3", u"5||T1", u"6||||T1.*"}), u"INSERT INTO T3\nSELECT T1.*\nFROM T1");
  EXPECT_EQ(Sql({u"1|3|T3", u"6|32768||a|1", u"6|32768||b|\"x\""}),
            u"INSERT INTO T3 ( a, b )\nVALUES (1, \"x\")");
  EXPECT_EQ(Sql({u"1|4", u"3|8", u"5||A", u"5||B", u"6|||Order Details.Qty|1", u"6|||[B].[c d]|\"foo\"",
                 u"7|1|A|B|A.x=B.x", u"8||||w"}),
            u"UPDATE DISTINCTROW A INNER JOIN B ON A.x=B.x\nSET [Order Details].Qty = 1, [B].[c d] = "
            u"\"foo\"\nWHERE w");
  EXPECT_EQ(Sql({u"1|5", u"3|8", u"5||A", u"5||B", u"6||||A.*", u"7|1|A|B|A.x=B.x", u"8||||w"}),
            u"DELETE DISTINCTROW A.*\nFROM A INNER JOIN B ON A.x=B.x\nWHERE w");
  EXPECT_EQ(Sql({u"1|5", u"5||A"}), u"DELETE\nFROM A");
}

TEST(QueryText, CrosstabUnionAndWholeTexts) {
  EXPECT_EQ(Sql({u"1|6", u"5||T", u"6|0|S||Sum(x)", u"6|2|||a", u"6|2|A||Avg(x)", u"6|1|||p In (1,2)",
                 u"8||||w", u"9|2|||a", u"9|1|||p", u"11||||a"}),
            u"TRANSFORM Sum(x) AS S\nSELECT a, Avg(x) AS A\nFROM T\nWHERE w\nGROUP BY a\nORDER BY a\n"
            u"PIVOT p In (1,2)");
  const auto union_ = [](std::u16string_view options) {
    return Sql({u"1|9", options, u"5|||X7YZ_____1|SELECT 1 UNION SELECT 2\r\n", u"5|||X7YZ_____2|SELECT 3;",
                u"11||D||a"});
  };
  EXPECT_EQ(union_(u"3|3"), u"SELECT 1 UNION SELECT 2\nUNION SELECT 3\nORDER BY a DESC");
  EXPECT_EQ(union_(u"3|1"), u"SELECT 1 UNION SELECT 2\nUNION ALL SELECT 3\nORDER BY a DESC");
  EXPECT_EQ(Sql({u"1|7|||CREATE TABLE x (y CHAR);"}), u"CREATE TABLE x (y CHAR)");
  SSavedQuery query = Query({u"1|8|ODBC;|"});
  query.rows[0].expression = std::u16string(u"exec p;\0", 8);
  EXPECT_EQ(RenderQuery(query).sql, u"exec p");
}

TEST(QueryText, WhatIsNoStatementIsSaid) {
  EXPECT_EQ(RenderQuery(Query({u"1|1", u"5||T"})).missing, u"its columns");
  EXPECT_EQ(RenderQuery(Query({u"1|2", u"6||||a"})).missing, u"its target");
  EXPECT_EQ(RenderQuery(Query({u"1|3", u"6||||a"})).missing, u"its target");
  EXPECT_EQ(RenderQuery(Query({u"1|4", u"6|||a|"})).missing, u"its sources, a side of an assignment");
  EXPECT_EQ(RenderQuery(Query({u"1|5"})).missing, u"its sources");
  EXPECT_EQ(RenderQuery(Query({u"1|6", u"6|2|||a"})).missing, u"its values, its PIVOT");
  EXPECT_EQ(RenderQuery(Query({u"1|9", u"5|||X7YZ_____2|SELECT 1"})).missing, u"a member, its kind of UNION");
  EXPECT_EQ(RenderQuery(Query({u"1|7"})).missing, u"its text");
  // Rows whose long texts are lost.
  EXPECT_EQ(RenderQuery(Query({u"1|4", u"5||T", u"6|||a|1", u"8"})).missing, u"a condition");
  EXPECT_EQ(
      RenderQuery(Query({u"1|1", u"5||A", u"5||B", u"7|1|A|B", u"6", u"6", u"9", u"10", u"11"})).missing,
      u"a column, its columns, the condition of a join, a key of its groups, a condition, a sort key");
  EXPECT_EQ(RenderQuery(Query({u"3|16", u"6||||a", u"2|99|p"})).missing,
            u"the type of a parameter, the number of TOP");
  // The object's flags tell the kind when no row does.
  SSavedQuery query = Query({u"5||T"});
  query.flags = 0x23;
  EXPECT_EQ(RenderQuery(query).sql, u"DELETE\nFROM T");
}

TEST(QueryText, LongChainsOfJoinsNeitherRecurseNorCrawl) {
  constexpr size_t kJoins = 100'000;
  SSavedQuery query = Query({u"3|1"});
  const auto name = [](size_t i) {
    return u"T" + std::u16string(1, static_cast<char16_t>(0x4E00 + i % 20'000)) +
           std::u16string(1 + i / 20'000, u'x');
  };
  for (size_t i = 0; i <= kJoins; ++i) {
    query.rows.push_back(Row(u"5"));
    query.rows.back().name1 = name(i);
  }
  for (size_t again = 0; again < 2; ++again)
    for (size_t i = 0; i < kJoins; ++i) {
      query.rows.push_back(Row(u"7|1|||1"));
      query.rows.back().name1 = name(i);
      query.rows.back().name2 = name(again == 0 ? i + 1 : i / 2 + 1);
    }
  const SQueryText text = RenderQuery(query);
  EXPECT_TRUE(text.sql.starts_with(u"SELECT *\nFROM (((((("));
  EXPECT_EQ(text.missing, u"a source of a join");  // the second row joins a table with itself
}

}  // namespace
}  // namespace tolvane
