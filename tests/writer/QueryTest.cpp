// The queries step: rows read back, named and created; each refusal costs one query.
#include <cstring>

#include "tests/writer/WriterTest.h"
#include "writer/QuerySaver.h"

namespace tolvane {

class CQueryStepTest : public CWriterTest {
 protected:
  // Rows of MSysQueries that are columns: object id and expression; and of the catalogue: name, id, type.
  CAccessTable& AddQueries(const std::vector<Row>& columns, const std::vector<Row>& objects) {
    CAccessTable& table = AddTable(u"MSysQueries", std::vector<STestColumn>(8, STestColumn{u"c"}));
    std::vector<Row> rows;
    for (const Row& column : columns) rows.push_back({column[0], u"6", u"", u"", u"", column[1], u"", u""});
    WriteRows(table, rows);
    for (const Row& object : objects)
      m_data.GetQueryObjects().Append(std::make_unique<CQuerySysObject>(object[0], object[1], object[2]));
    return table;
  }
};

TEST_F(CQueryStepTest, QueriesAreCreatedBeforeTheRows) {
  AddQueries({{u"-1", u"a"}, {u"-2", u"x"}, {u"-1", u"b"}, {u"-3", u"h"}, {u"-4", u"r"}},
             {{u"First", u"-1", u""},
              {u"First", u"-1", u"0"},
              {u"make", u"-2", u"80"},
              {u"~sq_fForm", u"-3", u"0"},
              {u"~sq_rReport", u"-4", u"80"}});
  WriteRows(AddTable(u"T", {{u"a"}}), {{u"v"}});
  ASSERT_TRUE(m_writer.Save());
  const std::string open = "open " + ToUtf8(InFolder(u"new.mdb"));
  EXPECT_EQ(CallsFrom("open"),
            (Lines{open, "query First: SELECT a, b\n", "append query", "close query", "close database", open,
                   "rows SELECT * FROM [T]", "add", "set 0 v", "update", "close rows", "close database"}));
  // One query is of a kind without a builder; those of forms are not the user's.
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 1 records, 1 queries, 1 skipped queries",
                              "Query First: some of its rows are lost."}));
  EXPECT_TRUE(GetLog().starts_with("Saving queries"));
}

TEST_F(CQueryStepTest, EachLossCostsOneQueryAndIsTold) {
  AddQueries({{u"-1", u"a"}, {u"-2", u"b"}}, {{u"bad", u"-1", u"0"},
                                              {u"without rows", u"-3", u""},
                                              {u"without rows", u"-3", u"0"},
                                              {u"~sq_cHidden", u"-4", u"3"},
                                              {u"good ~sq", u"-2", u"0"}});
  Refuse("query bad", EDaoError::InvalidArgument, u"no");
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome(),
            (Lines{"1 queries, 2 lost queries", "Query without rows could not be saved: its rows are lost.",
                   "Query bad could not be saved: no", "Query good ~sq: some of its rows are lost."}));
  EXPECT_NE(GetLog().find("Query bad could not be saved: no"), std::string::npos);
}

TEST_F(CQueryStepTest, ARefusedNameIsVaried) {
  AddQueries({{u"-1", u"a"}}, {{u"my.query", u"-1", u"0"}});
  Refuse("append query", EDaoError::InvalidName, u"no", 1);
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query ").back(), "query my_query: SELECT a\n");
  EXPECT_EQ(Outcome(), (Lines{"1 queries", "Query my.query was saved as my_query.",
                              "Query my_query: some of its rows are lost."}));
}

TEST_F(CQueryStepTest, NamelessQueriesGetNamesOfTheirOwn) {
  AddQueries({{u"-1", u"a"}, {u"-2", u"b"}}, {});
  ASSERT_TRUE(m_writer.Save());
  const Lines queries = m_engine.log.Find("query Query_");
  ASSERT_EQ(queries.size(), 2u);
  EXPECT_NE(queries[0].substr(0, queries[0].find(':')), queries[1].substr(0, queries[1].find(':')));

  std::array<uint8_t, 16> guid{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0x05, 0x00};
  std::memset(guid.data() + 8, 0xFF, 8);
  EXPECT_EQ(MakeQueryName(guid), u"Query_123456789ABC_ 57F8");
}

TEST_F(CQueryStepTest, RowsAreReadUpToTheCut) {
  CAccessTable& table = AddQueries({}, {{u"Q", u"-1", u"0"}});
  WriteRows(table, {{u"-1", u"6", u"", u"", u"", u"a", u"", u""}, {u"-1", u"6", u"", u"", u"", u"b"}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query").front(), "query Q: SELECT a, b\n");
  // Without its data file the queries are gone and nothing else.
  CAccessTableDataFile::RemoveDataFile(table.GetDefinitionOffset());
  EXPECT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome(), (Lines{"", "Error code : - 004"}));
}

TEST_F(CQueryStepTest, AStopLeavesNoQuery) {
  AddQueries({{u"-1", u"a"}}, {});
  CSavingStatus::Instance().SetSaving(false);
  SSaveSummary summary;
  EXPECT_FALSE(CQuerySaver(m_engine, m_data, u"x", summary).Save());
  EXPECT_TRUE(m_engine.log.calls.empty());
}

}  // namespace tolvane
