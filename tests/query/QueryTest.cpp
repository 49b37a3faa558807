// The SQL texts of every builder, written out, and how rows become queries.
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "query/QB.h"
#include "query/Query.h"

namespace tolvane {
namespace {

struct SRow {
  const char16_t* attribute = u"";
  const char16_t* expression = u"";
  const char16_t* name1 = u"";
  const char16_t* name2 = u"";
  const char16_t* flag = u"";
};

void Fill(CTList<CQueryAttributes>& rows, std::initializer_list<SRow> fields) {
  for (const SRow& field : fields) {
    auto row = std::make_unique<CQueryAttributes>();
    row->Attribute = field.attribute;
    row->Expression = field.expression;
    row->Name1 = field.name1;
    row->Name2 = field.name2;
    row->Flag = field.flag;
    rows.Append(std::move(row));
  }
}

// A column of the query with that id.
void AddRow(CTList<CQueryAttributes>& rows, const std::u16string& id, const char16_t* expression) {
  Fill(rows, {{u"6", expression}});
  rows.GetTail()->ObjectId = id;
}

std::u16string Sql(const char16_t* type, std::initializer_list<SRow> fields) {
  CQuery query;
  query.type = type;
  Fill(query.rows, fields);
  return query.GetSql();
}

TEST(SelectBuilder, WritesEachClauseOnItsLine) {
  EXPECT_EQ(Sql(u"0", {{u"3", u"", u"", u"", u"2"},
                       {u"5", u"", u"Customers"},
                       {u"6", u"Name", u"Full Name"},
                       {u"8", u"City='Rome'"},
                       {u"11", u"Name", u"D"}}),
            u"SELECT DISTINCT Name AS [Full Name]\nFROM [Customers]\nWHERE City='Rome'\nORDER BY Name DESC");
  EXPECT_EQ(
      Sql(u"8", {{u"5", u"", u"A"},
                 {u"5", u"", u"B", u"x"},
                 {u"5", u"", u"C", u"a b"},
                 {u"9", u"a"},
                 {u"9", u"b"},
                 {u"10", u"Count(*)>1"},
                 {u"11", u"a", u"desc"},
                 {u"11", u"b", u"d"}}),
      u"SELECT *\nFROM [A], [B] AS x, [C] AS [a b]\nGROUP BY a, b\nHAVING Count(*)>1\nORDER BY a, b DESC");
}

TEST(SelectBuilder, KeepsItsOddities) {
  EXPECT_EQ(Sql(u"", {}), u"SELECT *\n");
  EXPECT_EQ(Sql(u"0", {{u"10", u"x"}}), u"SELECT *\n\nHAVING x");
  for (const char16_t* options : {u"3", u"10", u"1", u"", u"x"})
    EXPECT_EQ(Sql(u"0", {{u"3", u"", u"", u"", options}}), u"SELECT *\n");
  EXPECT_EQ(Sql(u"0", {{u"3", u"", u"", u"", u"8"}}), u"SELECT DISTINCTROW *\n");
  // An empty condition does not replace an earlier one; an empty group condition does.
  EXPECT_EQ(Sql(u"0", {{u"8", u"a"}, {u"8", u""}, {u"10", u"h"}, {u"10", u""}}),
            u"SELECT *\n\nWHERE a\nHAVING ");
  EXPECT_EQ(Sql(u"0", {{u"4294967302", u"x"}, {u"junk", u"y"}, {u"", u"z"}}), u"SELECT *\n");
}

TEST(JoinBuilder, NestsJoinsAndMergesConditions) {
  EXPECT_EQ(Sql(u"0", {{u"7", u"T1.x=T2.x", u"T1", u"T2", u"1"}, {u"7", u"T2.y=T3.y", u"T2", u"T3", u"2"}}),
            u"SELECT *\nFROM ((T1) INNER JOIN (T2) ON (T1.x=T2.x)) LEFT JOIN (T3) ON (T2.y=T3.y)");
  EXPECT_EQ(
      Sql(u"0",
          {{u"7", u"e1", u"A", u"B", u"1"}, {u"7", u"e2", u"A", u"B", u"3"}, {u"7", u"e3", u"A", u"B"}}),
      u"SELECT *\nFROM (A) INNER JOIN (B) ON (((e1) AND (e2)) AND (e3))");
  EXPECT_EQ(Sql(u"0", {{u"7", u"e1", u"A", u"B", u"1"}, {u"7", u"e2", u"A", u"B"}}),
            u"SELECT *\nFROM (A) INNER JOIN (B) ON ((e1) AND (e2))");
  // The pair in reverse order is a second condition of the same statement.
  EXPECT_EQ(Sql(u"0", {{u"7", u"e1", u"A", u"B", u"1"}, {u"7", u"e2", u"B", u"A", u"1"}}),
            u"SELECT *\nFROM (A) INNER JOIN (B) ON (e1) AND (e2)");
  // Two groups that a later join connects; the names of sources with blanks and aliases.
  EXPECT_EQ(Sql(u"0", {{u"5", u"", u"Order Details", u"od"},
                       {u"7", u"e1", u"od", u"B", u"1"},
                       {u"7", u"e2", u"C C", u"D", u"2"},
                       {u"7", u"e3", u"B", u"D", u"3"}}),
            u"SELECT *\nFROM (([Order Details] AS od) INNER JOIN (B) ON (e1)) RIGHT JOIN "
            u"(([C C]) LEFT JOIN (D) ON (e2)) ON (e3)");
}

// A statement that grows moves behind those that stand already, so the first one left is another group.
TEST(JoinBuilder, AGrownStatementMovesToTheEnd) {
  EXPECT_EQ(Sql(u"0", {{u"7", u"e1", u"A", u"B", u"1"},
                       {u"7", u"e2", u"C", u"D", u"1"},
                       {u"7", u"e3", u"B", u"E", u"1"}}),
            u"SELECT *\nFROM (C) INNER JOIN (D) ON (e2)");
  // A table joined with itself; the first source of an alias; a source row that is none by its letters.
  EXPECT_EQ(Sql(u"0", {{u"7", u"e", u"A", u"A", u"2"}}), u"SELECT *\nFROM A AND (e)");
  EXPECT_EQ(Sql(u"0", {{u"05", u"", u"Not", u"x"},
                       {u"5", u"", u"One", u"x"},
                       {u"5", u"", u"Two", u"x"},
                       {u"7", u"e", u"x", u"B", u"1"}}),
            u"SELECT *\nFROM (One AS x) INNER JOIN (B) ON (e)");
}

TEST(JoinBuilder, WritesOnlyTheFirstOfUnrelatedGroups) {
  EXPECT_EQ(Sql(u"0", {{u"7", u"e1", u"A", u"B", u"1"}, {u"7", u"e2", u"C", u"D", u"1"}}),
            u"SELECT *\nFROM (A) INNER JOIN (B) ON (e1)");
  EXPECT_EQ(Sql(u"0", {{u"7", u"", u"A", u"B", u"9"}}), u"SELECT *\nFROM (A)  (B) ON ()");
}

// A table whose name reads like the registry's own marks counts as seen when its entry occurs in the
// registry.
TEST(JoinBuilder, NamesLikeRegistryMarksStayBounded) {
  EXPECT_EQ(Sql(u"0", {{u"7", u"e", u"x#<<A B>>#y", u"A B", u"1"}}),
            u"SELECT *\nFROM ([x#<<A B>>#y]) INNER JOIN (A B) ON (e)");
}

TEST(AppendBuilder, BracketsTargets) {
  EXPECT_EQ(
      Sql(u"64", {{u"1", u"", u"t"}, {u"5", u"", u"T"}, {u"6", u"x", u"", u"a"}, {u"6", u"y", u"", u"b"}}),
      u"INSERT INTO t ( [a], [b] )\nSELECT x, y\nFROM [T]");
  EXPECT_EQ(
      Sql(u"64", {{u"1", u"", u"my t"}, {u"3", u"", u"", u"", u"8"}, {u"6", u"1", u"alias"}, {u"8", u"c"}}),
      u"INSERT INTO [my t] ( [] )\nSELECT DISTINCTROW 1\n\nWHERE c");
}

TEST(AppendBuilder, TakesTheClausesOfASelectAndTheLaterTarget) {
  EXPECT_EQ(Sql(u"64", {{u"1", u"", u"first"},
                        {u"1", u"", u"later"},
                        {u"5", u"", u"T"},
                        {u"6", u"x", u"", u"a"},
                        {u"8", u"w"},
                        {u"9", u"g"},
                        {u"10", u"h"},
                        {u"11", u"o", u"D"}}),
            u"INSERT INTO later ( [a] )\nSELECT x\nFROM [T]\nWHERE w\nGROUP BY g\nHAVING h\nORDER BY o DESC");
}

TEST(UpdateBuilder, SplitsTargetsOnlyWhereTheTableHasABlank) {
  EXPECT_EQ(Sql(u"48", {{u"5", u"", u"Old"},
                        {u"5", u"", u"Order Details"},
                        {u"6", u"1", u"", u"Order Details.Qty"},
                        {u"6", u"2", u"", u"Qty"},
                        {u"6", u"3", u"", u"T.[Q ty]"},
                        {u"6", u"4", u"", u"T.Q ty"},
                        {u"8", u"a"},
                        {u"9", u"g"},
                        {u"10", u"h"},
                        {u"11", u"o"}}),
            u"UPDATE [Order Details]\nSET [Order Details].Qty = 1, Qty = 2, T.[Q ty] = 3, T.Q ty = 4\nWHERE "
            u"a\nHAVING h");
  EXPECT_EQ(Sql(u"48", {{u"5", u"", u"A"}, {u"7", u"e", u"A", u"B", u"1"}}),
            u"UPDATE (A) INNER JOIN (B) ON (e)\nSET");
}

TEST(DeleteBuilder, NamesTheLastTableOnly) {
  EXPECT_EQ(Sql(u"32", {{u"5", u"", u"A"},
                        {u"5", u"", u"B"},
                        {u"7", u"e", u"A", u"B", u"1"},
                        {u"8", u"w"},
                        {u"10", u"h"},
                        {u"11", u"o"}}),
            u"DELETE FROM [B]\nWHERE w\nHAVING h");
  EXPECT_EQ(Sql(u"32", {}), u"DELETE FROM ");
}

TEST(CrosstabBuilder, SortsRowsByTheirFlags) {
  EXPECT_EQ(Sql(u"16", {{u"5", u"", u"T"},
                        {u"6", u"Sum(x)", u"S", u"", u"0"},
                        {u"6", u"Avg(x)", u"", u"", u"0"},
                        {u"6", u"a", u"", u"", u"2"},
                        {u"6", u"p", u"", u"", u"1"},
                        {u"9", u"a", u"", u"", u"2"},
                        {u"9", u"b", u"", u"", u"2"},
                        {u"9", u"p", u"", u"", u"1"},
                        {u"9", u"q", u"", u"", u"7"},
                        {u"11", u"a"}}),
            u"TRANSFORM Sum(x) AS [S],\nAvg(x)\nSELECT a\nFROM [T]\nGROUP BY a,\nb\nORDER BY a\nPIVOT p");
}

TEST(CrosstabBuilder, WritesItsClausesInOneOrder) {
  EXPECT_EQ(Sql(u"16", {{u"11", u"o"},
                        {u"10", u"h"},
                        {u"9", u"p", u"", u"", u"1"},
                        {u"9", u"a", u"", u"", u"2"},
                        {u"8", u"w"},
                        {u"6", u"a", u"", u"", u"2"},
                        {u"5", u"", u"T"},
                        {u"3", u"", u"", u"", u"8"}}),
            u"SELECT DISTINCTROW a\nFROM [T]\nWHERE w\nGROUP BY a\nHAVING h\nORDER BY o\nPIVOT p");
}

TEST(UnionBuilder, NeedsKnownOptions) {
  const auto union_ = [](const char16_t* flag) {
    return Sql(u"128", {{u"3", u"", u"", u"", u"9"},
                        {u"3", u"", u"", u"", flag},
                        {u"5", u"SELECT -1", u"", u"X7YZ_____1"},
                        {u"5", u"SELECT 1\r\n", u"", u"X7YZ_____1"},
                        {u"5", u"SELECT 0", u"", u"X7YZ_____2"},
                        {u"5", u"SELECT 2", u"", u"X7YZ_____2"},
                        {u"5", u"SELECT 3", u"", u"X7YZ_____3"}});
  };
  EXPECT_EQ(union_(u"3"), u"SELECT 1\r\nUNION\nSELECT 2");
  EXPECT_EQ(union_(u"1"), u"SELECT 1\r\nUNION ALL\nSELECT 2");
  EXPECT_EQ(union_(u"0"), u"");
  EXPECT_EQ(union_(u"2"), u"");
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
