// Grouping rows into queries and matching them to their objects.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "query/Query.h"

namespace tolvane {
namespace {

void AddRow(CTList<CQueryAttributes>& rows, const std::u16string& id, const char16_t* expression) {
  auto row = std::make_unique<CQueryAttributes>();
  row->ObjectId = id;
  row->Attribute = u"6";
  row->Expression = expression;
  rows.Append(std::move(row));
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
  // A copy of an element must not drag its followers along.
  const CQueryAttributes copy = *rows.GetHead();
  EXPECT_EQ(copy.GetNext(), nullptr);
  EXPECT_NE(rows.GetHead()->GetNext(), nullptr);
  rows.Clear();
  EXPECT_EQ(rows.GetHead(), nullptr);
  EXPECT_EQ(rows.GetTail(), nullptr);
  AddRow(rows, u"1", u"again");
  EXPECT_EQ(rows.TakeFront()->GetNext(), nullptr);
  EXPECT_EQ(rows.GetCount(), 0);
}

}  // namespace
}  // namespace tolvane
