// The queries step: rows read back, named and created; each refusal costs one query.
#include <cstring>

#include "tests/writer/WriterTest.h"
#include "writer/QuerySaver.h"

namespace tolvane {

class CQueryStepTest : public CWriterTest {
 protected:
  CAccessTable& AddQueries(const std::vector<Row>& rows, size_t columns = 8) {
    std::vector<STestColumn> names(columns, STestColumn{u"c"});
    CAccessTable& table = AddTable(u"MSysQueries", names);
    WriteRows(table, rows);
    return table;
  }
  void AddObject(std::u16string name, std::u16string id, std::u16string type) {
    m_data.GetQueryObjects().Append(
        std::make_unique<CQuerySysObject>(std::move(name), std::move(id), std::move(type)));
  }
  // Object id, attribute and expression of one row of MSysQueries.
  static Row Column(std::u16string id, std::u16string expression) {
    return {std::move(id), u"6", u"", u"", u"", std::move(expression), u"", u""};
  }
};

TEST_F(CQueryStepTest, QueriesAreCreatedBeforeTheRows) {
  AddQueries({Column(u"-1", u"a"), Column(u"-2", u"x"), Column(u"-1", u"b"), Column(u"-3", u"h")});
  WriteRows(AddTable(u"T", {{u"a"}}), {{u"v"}});
  AddObject(u"First", u"-1", u"");
  AddObject(u"First", u"-1", u"0");
  AddObject(u"make", u"-2", u"80");
  AddObject(u"~sq_fForm", u"-3", u"0");
  ASSERT_TRUE(m_writer.Save());
  const std::string open = "open " + ToUtf8(InFolder(u"new.mdb"));
  EXPECT_EQ(CallsFrom("open"),
            (Lines{open, "query First: SELECT a, b\n", "append query", "close query", "close database", open,
                   "rows SELECT * FROM [T]", "add", "set 0 v", "update", "close rows", "close database"}));
  EXPECT_EQ(GetSummary().queriesSaved, 1u);
  EXPECT_EQ(GetSummary().queriesSkipped, 1u);  // of a kind without a builder
  EXPECT_TRUE(GetLog().starts_with("Saving queries"));
}

TEST_F(CQueryStepTest, EachLossCostsOneQueryAndIsTold) {
  AddQueries({Column(u"-1", u"a"), Column(u"-2", u"b")});
  AddObject(u"bad", u"-1", u"0");
  AddObject(u"without rows", u"-3", u"");
  AddObject(u"without rows", u"-3", u"0");
  AddObject(u"~sq_cHidden", u"-4", u"3");
  AddObject(u"good ~sq", u"-2", u"0");
  Refuse("query bad", EDaoError::InvalidArgument, u"no");
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(GetSummary().queriesSaved, 1u);
  EXPECT_EQ(GetSummary().queriesLost, 2u);
  EXPECT_EQ(GetSummary().notes,
            (std::vector<std::u16string>{u"Query without rows could not be saved: its rows are lost.",
                                         u"Query bad could not be saved: no",
                                         u"Query good ~sq: some of its rows are lost."}));
  EXPECT_NE(GetLog().find("Query bad could not be saved: no"), std::string::npos);
}

TEST_F(CQueryStepTest, ARefusedNameIsVaried) {
  AddQueries({Column(u"-1", u"a")});
  AddObject(u"my.query", u"-1", u"0");
  Refuse("append query", EDaoError::InvalidName, u"no", 1);
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(GetSummary().queriesSaved, 1u);
  EXPECT_EQ(m_engine.log.Find("query ").back(), "query my_query: SELECT a\n");
  EXPECT_EQ(GetSummary().notes.front(), u"Query my.query was saved as my_query.");
}

TEST_F(CQueryStepTest, NamelessQueriesGetNamesOfTheirOwn) {
  AddQueries({Column(u"-1", u"a"), Column(u"-2", u"b")});
  ASSERT_TRUE(m_writer.Save());
  const Lines queries = m_engine.log.Find("query Query_");
  ASSERT_EQ(queries.size(), 2u);
  EXPECT_NE(queries[0].substr(0, queries[0].find(':')), queries[1].substr(0, queries[1].find(':')));

  std::array<uint8_t, 16> guid{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0x05, 0x00};
  std::memset(guid.data() + 8, 0xFF, 8);
  EXPECT_EQ(MakeQueryName(guid), u"Query_123456789ABC_ 57F8");
}

TEST_F(CQueryStepTest, RowsAreReadUpToTheCut) {
  CAccessTable& table = AddQueries({Column(u"-1", u"a"), {u"-1", u"6", u"", u"", u"", u"b"}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query").front().substr(m_engine.log.Find("query").front().find(':')),
            ": SELECT a, b\n");
  // Without its data file the queries are gone and nothing else.
  CAccessTableDataFile::RemoveDataFile(table.GetDefinitionOffset());
  EXPECT_TRUE(m_writer.Save());
  EXPECT_EQ(GetSummary().notes, (std::vector<std::u16string>{u"Error code : - 004"}));
}

TEST_F(CQueryStepTest, AStopLeavesNoQuery) {
  AddQueries({Column(u"-1", u"a")});
  CSavingStatus::Instance().SetSaving(false);
  SSaveSummary summary;
  EXPECT_FALSE(CQuerySaver(m_engine, m_data, u"x", summary).Save());
  EXPECT_TRUE(m_engine.log.calls.empty());
}

}  // namespace tolvane
