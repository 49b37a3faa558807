// The SQL texts of every builder, written out, and how rows become queries.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "query/Query.h"
#include "tests/query/QueryRows.h"

namespace tolvane {
namespace {

void Fill(CTList<CQueryAttributes>& rows, const std::vector<std::u16string_view>& texts) {
  for (const std::u16string_view text : texts) {
    const std::vector<std::u16string> fields = SplitRow(text);
    auto row = std::make_unique<CQueryAttributes>();
    row->Attribute = fields[0];
    row->Flag = fields[1];
    row->Name1 = fields[2];
    row->Name2 = fields[3];
    row->Expression = fields[4];
    rows.Append(std::move(row));
  }
}

// A column of the query with that id.
void AddRow(CTList<CQueryAttributes>& rows, const std::u16string& id, const char16_t* expression) {
  Fill(rows, {u"6||||" + std::u16string(expression)});
  rows.GetTail()->ObjectId = id;
}

std::u16string Sql(const char16_t* type, const std::vector<std::u16string_view>& rows) {
  CQuery query;
  query.type = type;
  Fill(query.rows, rows);
  return query.GetSql();
}

TEST(SelectBuilder, WritesEachClauseOnItsLine) {
  EXPECT_EQ(Sql(u"0", {u"3|2", u"5||Customers", u"6||Full Name||Name", u"8||||City='Rome'", u"11||D||Name"}),
            u"SELECT DISTINCT Name AS [Full Name]\nFROM [Customers]\nWHERE City='Rome'\nORDER BY Name DESC");
  EXPECT_EQ(
      Sql(u"8", {u"5||A", u"5||B|x", u"5||C|a b", u"9||||a", u"9||||b", u"10||||Count(*)>1", u"11||desc||a",
                 u"11||d||b"}),
      u"SELECT *\nFROM [A], [B] AS x, [C] AS [a b]\nGROUP BY a, b\nHAVING Count(*)>1\nORDER BY a, b DESC");
}

TEST(SelectBuilder, KeepsItsOddities) {
  EXPECT_EQ(Sql(u"", {}), u"SELECT *\n");
  EXPECT_EQ(Sql(u"0", {u"10||||x"}), u"SELECT *\n\nHAVING x");
  for (const char16_t* options : {u"3|3", u"3|10", u"3|1", u"3", u"3|x"})
    EXPECT_EQ(Sql(u"0", {options}), u"SELECT *\n");
  EXPECT_EQ(Sql(u"0", {u"3|8"}), u"SELECT DISTINCTROW *\n");
  // An empty condition does not replace an earlier one; an empty group condition does.
  EXPECT_EQ(Sql(u"0", {u"8||||a", u"8", u"10||||h", u"10"}), u"SELECT *\n\nWHERE a\nHAVING ");
  EXPECT_EQ(Sql(u"0", {u"4294967302||||x", u"junk||||y", u"||||z"}), u"SELECT *\n");
}

TEST(JoinBuilder, NestsJoinsAndMergesConditions) {
  EXPECT_EQ(Sql(u"0", {u"7|1|T1|T2|T1.x=T2.x", u"7|2|T2|T3|T2.y=T3.y"}),
            u"SELECT *\nFROM ((T1) INNER JOIN (T2) ON (T1.x=T2.x)) LEFT JOIN (T3) ON (T2.y=T3.y)");
  EXPECT_EQ(Sql(u"0", {u"7|1|A|B|e1", u"7|3|A|B|e2", u"7||A|B|e3"}),
            u"SELECT *\nFROM (A) INNER JOIN (B) ON (((e1) AND (e2)) AND (e3))");
  EXPECT_EQ(Sql(u"0", {u"7|1|A|B|e1", u"7||A|B|e2"}),
            u"SELECT *\nFROM (A) INNER JOIN (B) ON ((e1) AND (e2))");
  // The pair in reverse order is a second condition of the same statement.
  EXPECT_EQ(Sql(u"0", {u"7|1|A|B|e1", u"7|1|B|A|e2"}), u"SELECT *\nFROM (A) INNER JOIN (B) ON (e1) AND (e2)");
  // Two groups that a later join connects; the names of sources with blanks and aliases.
  EXPECT_EQ(Sql(u"0", {u"5||Order Details|od", u"7|1|od|B|e1", u"7|2|C C|D|e2", u"7|3|B|D|e3"}),
            u"SELECT *\nFROM (([Order Details] AS od) INNER JOIN (B) ON (e1)) RIGHT JOIN (([C C]) LEFT JOIN "
            u"(D) ON (e2)) ON (e3)");
}

// A statement that grows moves behind those that stand already, so the first one left is another group.
TEST(JoinBuilder, AGrownStatementMovesToTheEnd) {
  EXPECT_EQ(Sql(u"0", {u"7|1|A|B|e1", u"7|1|C|D|e2", u"7|1|B|E|e3"}),
            u"SELECT *\nFROM (C) INNER JOIN (D) ON (e2)");
  // A table joined with itself; the first source of an alias; a source row that is none by its letters.
  EXPECT_EQ(Sql(u"0", {u"7|2|A|A|e"}), u"SELECT *\nFROM A AND (e)");
  EXPECT_EQ(Sql(u"0", {u"05||Not|x", u"5||One|x", u"5||Two|x", u"7|1|x|B|e"}),
            u"SELECT *\nFROM (One AS x) INNER JOIN (B) ON (e)");
}

TEST(JoinBuilder, WritesOnlyTheFirstOfUnrelatedGroups) {
  EXPECT_EQ(Sql(u"0", {u"7|1|A|B|e1", u"7|1|C|D|e2"}), u"SELECT *\nFROM (A) INNER JOIN (B) ON (e1)");
  EXPECT_EQ(Sql(u"0", {u"7|9|A|B"}), u"SELECT *\nFROM (A)  (B) ON ()");
}

// A table whose name reads like the registry's own marks counts as seen when its entry occurs in the
// registry.
TEST(JoinBuilder, NamesLikeRegistryMarksStayBounded) {
  EXPECT_EQ(Sql(u"0", {u"7|1|x#<<A B>>#y|A B|e"}), u"SELECT *\nFROM ([x#<<A B>>#y]) INNER JOIN (A B) ON (e)");
}

TEST(AppendBuilder, BracketsTargets) {
  EXPECT_EQ(Sql(u"64", {u"1||t", u"5||T", u"6|||a|x", u"6|||b|y"}),
            u"INSERT INTO t ( [a], [b] )\nSELECT x, y\nFROM [T]");
  EXPECT_EQ(Sql(u"64", {u"1||my t", u"3|8", u"6||alias||1", u"8||||c"}),
            u"INSERT INTO [my t] ( [] )\nSELECT DISTINCTROW 1\n\nWHERE c");
}

TEST(AppendBuilder, TakesTheClausesOfASelectAndTheLaterTarget) {
  EXPECT_EQ(Sql(u"64", {u"1||first", u"1||later", u"5||T", u"6|||a|x", u"8||||w", u"9||||g", u"10||||h",
                        u"11||D||o"}),
            u"INSERT INTO later ( [a] )\nSELECT x\nFROM [T]\nWHERE w\nGROUP BY g\nHAVING h\nORDER BY o DESC");
}

TEST(UpdateBuilder, SplitsTargetsOnlyWhereTheTableHasABlank) {
  EXPECT_EQ(Sql(u"48", {u"5||Old", u"5||Order Details", u"6|||Order Details.Qty|1", u"6|||Qty|2",
                        u"6|||T.[Q ty]|3", u"6|||T.Q ty|4", u"8||||a", u"9||||g", u"10||||h", u"11||||o"}),
            u"UPDATE [Order Details]\nSET [Order Details].Qty = 1, Qty = 2, T.[Q ty] = 3, T.Q ty = 4\nWHERE "
            u"a\nHAVING h");
  EXPECT_EQ(Sql(u"48", {u"5||A", u"7|1|A|B|e"}), u"UPDATE (A) INNER JOIN (B) ON (e)\nSET");
}

TEST(DeleteBuilder, NamesTheLastTableOnly) {
  EXPECT_EQ(Sql(u"32", {u"5||A", u"5||B", u"7|1|A|B|e", u"8||||w", u"10||||h", u"11||||o"}),
            u"DELETE FROM [B]\nWHERE w\nHAVING h");
  EXPECT_EQ(Sql(u"32", {}), u"DELETE FROM ");
}

TEST(CrosstabBuilder, SortsRowsByTheirFlags) {
  EXPECT_EQ(Sql(u"16", {u"5||T", u"6|0|S||Sum(x)", u"6|0|||Avg(x)", u"6|2|||a", u"6|1|||p", u"9|2|||a",
                        u"9|2|||b", u"9|1|||p", u"9|7|||q", u"11||||a"}),
            u"TRANSFORM Sum(x) AS [S],\nAvg(x)\nSELECT a\nFROM [T]\nGROUP BY a,\nb\nORDER BY a\nPIVOT p");
}

TEST(CrosstabBuilder, WritesItsClausesInOneOrder) {
  EXPECT_EQ(
      Sql(u"16", {u"11||||o", u"10||||h", u"9|1|||p", u"9|2|||a", u"8||||w", u"6|2|||a", u"5||T", u"3|8"}),
      u"SELECT DISTINCTROW a\nFROM [T]\nWHERE w\nGROUP BY a\nHAVING h\nORDER BY o\nPIVOT p");
}

TEST(UnionBuilder, NeedsKnownOptions) {
  const auto union_ = [](const char16_t* options) {
    return Sql(u"128", {u"3|9", options, u"5|||X7YZ_____1|SELECT -1", u"5|||X7YZ_____1|SELECT 1\r\n",
                        u"5|||X7YZ_____2|SELECT 0", u"5|||X7YZ_____2|SELECT 2", u"5|||X7YZ_____3|SELECT 3"});
  };
  EXPECT_EQ(union_(u"3|3"), u"SELECT 1\r\nUNION\nSELECT 2");
  EXPECT_EQ(union_(u"3|1"), u"SELECT 1\r\nUNION ALL\nSELECT 2");
  EXPECT_EQ(union_(u"3|0"), u"");
  EXPECT_EQ(union_(u"3|2"), u"");
}

TEST(QueryEngine, GroupsInterleavedRowsInTheirOrder) {
  CTList<CQueryAttributes> rows;
  AddRow(rows, u"-1", u"a");
  AddRow(rows, u"-2", u"x");
  AddRow(rows, u"-1", u"b");
  AddRow(rows, u"", u"lost");
  AddRow(rows, u"-2", u"y");
  AddRow(rows, u"", u"too");
  CTList<CQuery> queries;
  EXPECT_EQ(CQueryEngine().GroupRows(queries, rows), 1);
  EXPECT_EQ(rows.GetCount(), 0);
  ASSERT_EQ(queries.GetCount(), 3);
  EXPECT_EQ(queries.GetHead()->GetSql(), u"SELECT a, b\n");
  EXPECT_EQ(queries.GetHead()->GetNext()->GetSql(), u"SELECT x, y\n");
  EXPECT_EQ(queries.GetTail()->GetSql(), u"SELECT lost, too\n");
}

TEST(QueryEngine, TheLaterObjectWins) {
  CTList<CQueryAttributes> rows;
  AddRow(rows, u"-1", u"a");
  AddRow(rows, u"-2", u"b");
  CTList<CQuery> queries;
  CQueryEngine engine;
  engine.GroupRows(queries, rows);

  CTList<CQuerySysObject> objects;
  objects.Append(std::make_unique<CQuerySysObject>(u"First", u"-1", u""));
  objects.Append(std::make_unique<CQuerySysObject>(u"Unknown", u"-9", u"32"));
  objects.Append(std::make_unique<CQuerySysObject>(u"Second", u"-1", u"80"));
  engine.MatchObjects(queries, objects);
  EXPECT_EQ(queries.GetHead()->name, u"Second");
  EXPECT_EQ(queries.GetHead()->GetSql(), u"");  // no builder for make-table queries
  EXPECT_EQ(queries.GetTail()->name, u"");
  EXPECT_EQ(queries.GetTail()->GetSql(), u"SELECT b\n");
}

TEST(List, HalfAMillionElementsAreFreedOneByOne) {
  CTList<CQueryAttributes> rows;
  for (int i = 0; i < 500'000; ++i) AddRow(rows, u"1", u"");
  EXPECT_EQ(rows.GetCount(), 500'000);
  // Neither a copy of an element nor a taken one drags its followers along.
  EXPECT_EQ(CQueryAttributes(*rows.GetHead()).GetNext(), nullptr);
  EXPECT_EQ(rows.TakeFront()->GetNext(), nullptr);
  EXPECT_NE(rows.GetHead()->GetNext(), nullptr);
  rows.Clear();
  EXPECT_TRUE(rows.GetCount() == 0 && !rows.GetHead() && !rows.GetTail());
}

}  // namespace
}  // namespace tolvane
