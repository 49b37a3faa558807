// The queries step: rows read back, named and created; each refusal costs one query.
#include <cstring>

#include "format/PropertyBlob.h"
#include "format/SystemObjects.h"
#include "store/ObjectPlace.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"
#include "writer/QueryProperties.h"
#include "writer/QuerySaver.h"
#include "writer/RecoveredQuery.h"

namespace tolvane {

// What stands between bars.
Row Fields(std::u16string_view text) {
  Row fields(1);
  for (const char16_t unit : text) {
    if (unit == u'|')
      fields.emplace_back();
    else
      fields.back() += unit;
  }
  return fields;
}

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
            (Lines{open, "query First flags=0: 6 a 6 b", "close database", open, "rows SELECT * FROM [T]",
                   "add", "set 0 v", "update", "close rows", "close database"}));
  // One query is of a kind without a builder; those of forms are not the user's.
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 1 records, 1 queries, 1 changed queries, 1 skipped queries",
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
            (Lines{"1 queries, 1 changed queries, 2 lost queries",
                   "Query without rows could not be saved: its rows are lost.",
                   "Query bad could not be saved: no", "Query good ~sq: some of its rows are lost."}));
  EXPECT_NE(GetLog().find("Query bad could not be saved: no"), std::string::npos);
}

TEST_F(CQueryStepTest, ARefusedNameIsVaried) {
  AddQueries({{u"-1", u"a"}}, {{u"my.query", u"-1", u"0"}});
  Refuse("query my.query", EDaoError::InvalidName, u"no", 1);
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query ").back(), "query my_query flags=0: 6 a");
  EXPECT_EQ(Outcome(), (Lines{"1 queries, 1 changed queries", "Query my.query was saved as my_query.",
                              "Query my_query: some of its rows are lost."}));
}

TEST_F(CQueryStepTest, NamelessQueriesGetNamesOfTheirOwn) {
  AddQueries({{u"-1", u"a"}, {u"-2", u"b"}}, {});
  ASSERT_TRUE(m_writer.Save());
  const Lines queries = m_engine.log.Find("query Query_");
  ASSERT_EQ(queries.size(), 2u);
  EXPECT_NE(queries[0].substr(0, queries[0].find(" flags")), queries[1].substr(0, queries[1].find(" flags")));

  std::array<uint8_t, 16> guid{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0x05, 0x00};
  std::memset(guid.data() + 8, 0xFF, 8);
  EXPECT_EQ(MakeQueryName(guid), u"Query_123456789ABC_ 57F8");
}

TEST_F(CQueryStepTest, RowsAreReadUpToTheCut) {
  CAccessTable& table = AddQueries({}, {{u"Q", u"-1", u"0"}});
  WriteRows(table, {{u"-1", u"6", u"", u"", u"", u"a", u"", u""}, {u"-1", u"6", u"", u"", u"", u"b"}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query").front(), "query Q flags=0: 6 a 6 b");
  // Without its data file the queries are gone and nothing else.
  CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(table.GetDefinitionOffset());
  EXPECT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome(), (Lines{"1 lost queries, 2 lost system rows", "Error code : - 004",
                              "Query Q could not be saved: its rows are lost."}));
}

// What the statements of the standard rules leave out is told and counted; what they write in other words is
// not.
TEST_F(CQueryStepTest, WhatChangesAQueryIsTold) {
  CAccessTable& table = AddQueries({}, {{u"same", u"-1", u"0"},
                                        {u"delete", u"-2", u"32"},
                                        {u"union", u"-3", u"128"},
                                        {u"sign", u"-4", u"0"},
                                        {u"options", u"-5", u"0"},
                                        {u"pivot", u"-6", u"16"}});
  std::vector<Row> rows;
  for (const char16_t* id : {u"-1", u"-2", u"-3", u"-4", u"-5", u"-6", u"-7"})
    for (const char16_t* end : {u"|0||0|||", u"|255|||||"}) rows.push_back(Fields(std::u16string(id) + end));
  // Id, attribute, order, flag, two names, expression.
  for (const char16_t* more :
       {// Joins nested and conditions merged, sort keys and brackets.
        u"-1|5|||T 1||", u"-1|5|||U|u|", u"-1|5|||V||", u"-1|7||2|T 1|u|([T 1].a = u.a) AND (1=1)",
        u"-1|7||2|T 1|u|[T 1].b = u.b", u"-1|7||1|u|V|u.c = V.c", u"-1|6||0|x y||f(a, b)", u"-1|11|||D||a",
        u"-1|3||2|||",
        // The first table goes, and what joined it.
        u"-2|1||5|||", u"-2|5|||A||", u"-2|5|||B||", u"-2|7||1|A|B|A.x = B.x", u"-3|3||3|||",
        u"-3|5||||X7YZ_____1|SELECT a FROM T\r\n", u"-3|5||||X7YZ_____2|SELECT b FROM U;", u"-3|11|||||a",
        // A name that the text cannot hold without brackets.
        u"-4|5|||it's||", u"-4|5|||B||", u"-4|7||1|it's|B|e", u"-5|2||10|p||", u"-5|3||29|10||",
        u"-5|5|||T||", u"-5|6||0|||a", u"-6|1||6|||", u"-6|5|||T||", u"-6|6||2|||a", u"-6|6||1|||p In (1,2)",
        u"-6|9||2|||a", u"-6|9||1|||p", u"-7|1||9|||", u"-7|5|||T||"})
    rows.push_back(Fields(more));
  for (Row& row : rows) row = {row[0], row[1], row[2], row[4], row[5], row[6], row[3], u""};
  WriteRows(table, rows);
  ASSERT_TRUE(m_writer.Save());
  Lines told;
  for (const std::string& line : Outcome())
    if (const size_t at = line.find(" is not what it was"); at != std::string::npos)
      told.push_back(line.starts_with("Query Query_") ? line.substr(at) : line);
  EXPECT_EQ(told, (Lines{"Query delete is not what it was: sources, joins.",
                         "Query union is not what it was: sources.", "Query sign is not what it was: kind.",
                         "Query options is not what it was: *, TOP, OWNERACCESS, parameters.",
                         "Query pivot is not what it was: columns.", " is not what it was: kind."}));
  EXPECT_EQ(GetSummary().queriesChanged, 6u);
}

TEST_F(CQueryStepTest, AfterAFullDiskEachQueryIsTriedAndCounted) {
  AddQueries({{u"-1", u"a"}, {u"-2", u"b"}, {u"-3", u"c"}},
             {{u"One", u"-1", u"0"}, {u"Two", u"-2", u"0"}, {u"Three", u"-3", u"0"}});
  Refuse("query", EDaoError::DiskFull, u"full");
  EXPECT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("query").size(), 3u);
  EXPECT_EQ(GetSummary().queriesLost, 3u);
  // What was taken and could not be completed is lost as well.
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    return line == "close database" ? CDaoResult{EDaoError::DiskFull, u"full"} : CDaoResult::Ok();
  };
  SSaveSummary summary;
  CIdentity identity;
  EXPECT_FALSE(CQuerySaver(m_engine, m_data, u"x", summary, ShownJob(), identity).Save());
  EXPECT_EQ(summary.queriesLost, 3u);
  EXPECT_EQ(summary.queriesSaved, 0u);
}

// A query of rows "attribute|order|flag|name1|name2|expression", prepared by the exact rules.
SPreparedQuery Prepared(const char16_t* type, const std::vector<std::u16string>& rows,
                        std::u16string_view name = u"Q", bool areRowsLost = false) {
  CQuery query;
  query.name = name;
  query.type = type;
  for (const std::u16string& text : rows) {
    auto row = std::make_unique<CQueryAttributes>();
    Row fields = Fields(text);
    fields.resize(6);
    size_t at = 0;
    for (auto* field : {&row->Attribute, &row->Order, &row->Flag, &row->Name1, &row->Name2, &row->Expression})
      *field = fields[at++];
    if (!row->Order.empty()) row->Order.insert(0, u"0000000");
    query.rows.Append(std::move(row));
  }
  return PrepareQuery(query, CQuerySaver::IsHidden(name), {kExactRules, areRowsLost});
}

std::string Shown(const SPreparedQuery& prepared) {
  std::string text = std::to_string(prepared.query.flags) + ":";
  for (const SQueryRow& row : prepared.query.rows)
    text += " " + std::to_string(row.attribute) + (row.flag ? "/" + std::to_string(*row.flag) : "") +
            ToUtf8(row.name1.value_or(u"")) + ToUtf8(row.expression.value_or(u""));
  for (const std::u16string& change : prepared.changes) text += "\n" + ToUtf8(change);
  return text + (prepared.problem.empty() ? "" : "\nnot saved: " + ToUtf8(prepared.problem));
}

TEST(PreparedQuery, HoldsTheStoredRowsInTheirOrder) {
  EXPECT_EQ(Shown(Prepared(u"8", {u"255|1", u"6|2|0|||b", u"5|1||T", u"6|1|0|||a", u"0|1|0", u"6|2|0|||again",
                                  u"3|1|24|10", u"1|1|1"})),
            "8: 0/0 1/1 3/2410 5T 6/0a 6/0b 255");
  // Of a form; a statement as a whole; a length of a parameter.
  EXPECT_EQ(Shown(Prepared(u"3", {u"0|1|0", u"3|1|9", u"5|1||T", u"255|1"}, u"~sq_fForm")),
            "3: 0/0 3/9 5T 255");
  EXPECT_EQ(Shown(Prepared(u"112", {u"0|1|0", u"1|1|8|ODBC;||exec p", u"255|1"})),
            "112: 0/0 1/8ODBC;exec p 255");
}

TEST(PreparedQuery, WhatIsLostIsRestoredOrSaid) {
  // Start, end and kind are the same in every query of a kind.
  EXPECT_EQ(
      Shown(Prepared(u"48", {u"5|1||T", u"6|1|0||a|1"}, u"Q", true)),
      "48: 0/0 1/4 5T 6/01 255\nnot saved: rows of queries are lost, and its condition may be among them.");
  EXPECT_EQ(Shown(Prepared(u"0", {u"0|1|0", u"5|1||T", u"6|2|0|||b", u"255|1"})),
            "0: 0/0 5T 6/0b 255\n: some of its rows are lost.");
  EXPECT_EQ(Shown(Prepared(u"0", {u"0|1|0", u"5|1||T", u"200|1||x", u"6|1|0|||b", u"255|1"})),
            "0: 0/0 5T 6/0b 255\n: some of its rows are lost.");
  // The kind: by its row where the object is lost, by the object where the row is damaged.
  const std::vector<std::u16string> rows{u"0|1|0", u"1|1|5", u"3|1|1", u"5|1||T", u"255|1"};
  EXPECT_EQ(Shown(Prepared(u"", rows, u"")), "32: 0/0 1/5 3/1 5T 255\n: its name is lost.");
  EXPECT_EQ(Shown(Prepared(u"-1", rows)), "47: 0/0 1/5 3/1 5T 255");
  EXPECT_EQ(Shown(Prepared(u"32", {u"0|1|0", u"1|1|-7", u"3|1|1", u"5|1||T", u"255|1"})),
            "32: 0/0 1/5 3/1 5T 255");
  // No statement.
  EXPECT_EQ(Shown(Prepared(u"80", {u"0|1|0", u"5|1||T", u"255|1"})),
            "80: 0/0 1/2 5T 255\nnot saved: lost are its columns, its target.");
}

class CExactQueryTest : public CWriterTest {
 protected:
  CExactQueryTest() : CWriterTest(kExactRules) {}
};

// Texts of the code page become wide ones, ids of the damaged database stay there, and what is lost is said.
TEST_F(CExactQueryTest, PropertiesComeFromTheCatalogue) {
  const std::vector<uint8_t> text{'E', 0xE9}, number{7, 0, 0, 0};
  const SPropertyOwner object{kPropertiesOfObject,
                              "",
                              {{"Description", 1, kTypeText, text},
                               {"GUID", 0, kTypeBinary, std::vector<uint8_t>(16)},
                               {"NameMap", 0, kTypeOle, number},
                               {"RecordLocks", 0x80, kTypeLong, number}}},
      column{kPropertiesOfColumn, "c", {{"Format", 0, kTypeMemo, text}}};
  const std::vector<uint8_t> blob = EncodePropertyBlob(true, std::vector{object, column});
  m_data.source.isJet3 = true;

  CAccessTable& table = AddTable(u"MSysObjects", {{u"Id", kTypeLong, 4, kColumnFixed},
                                                  {u"Type", kTypeInteger, 2, kColumnFixed},
                                                  {u"LvProp", kTypeOle, 0}});
  table.columns.GetAt(0)->number = kObjectsId;
  table.columns.GetAt(1)->number = kObjectsType;
  table.columns.GetAt(2)->number = kObjectsProperties;
  WriteText(table.GetObjectFilePath(), std::string(blob.begin(), blob.end()));
  CAccessTableDataFile file(m_folder.GetPath());
  ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
  const auto write = [&](uint8_t id, uint8_t type, size_t offset, size_t length) {
    file.WriteRecord(std::vector<uint8_t>{id, 0, 0, 0x80});
    file.WriteRecord(std::vector<uint8_t>{type, 0});
    file.WriteRecord(MakeObjectReference(offset, length));
  };
  write(1, kObjectQuery, 0, blob.size());
  write(2, kObjectQuery, 0, blob.size() - 3);
  write(3, kObjectQuery, 4, blob.size());
  write(4, kObjectQuery, 0, 0);
  write(4, kObjectTable, 0, blob.size());
  file.CloseDataFile();

  CTList<CQuery> queries;
  for (const char16_t* id : {u"-2147483647", u"-2147483646", u"-2147483645", u"-2147483644"}) {
    auto query = std::make_unique<CQuery>();
    auto row = std::make_unique<CQueryAttributes>();
    row->ObjectId = id;
    query->rows.Append(std::move(row));
    queries.Append(std::move(query));
  }
  ReadQueryProperties(m_data, queries);
  Lines shown;
  for (const CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    std::vector<SPropertyOwner> owners;
    DecodePropertyBlob(false, query->properties, owners);
    std::string line = query->arePropertiesLost ? "lost" : "";
    for (const SPropertyOwner& owner : owners)
      for (const SStoredProperty& property : owner.properties) {
        line += (line.empty() ? "" : " ") + owner.name + property.name + "/" +
                std::to_string(property.flags) + "=";
        for (const uint8_t byte : property.value) line += std::to_string(byte) + ".";
      }
    std::erase(line, '\0');
    shown.push_back(line);
  }
  EXPECT_EQ(shown, (Lines{"Description/1=69.0.233.0. RecordLocks/128=7.0.0.0. cFormat/0=69.0.233.0.",
                          "lost Description/1=69.0.233.0. RecordLocks/128=7.0.0.0.", "lost", ""}));
}

TEST_F(CQueryStepTest, AStopLeavesNoQuery) {
  AddQueries({{u"-1", u"a"}}, {});
  CSavingStatus::Instance().SetSaving(false);
  SSaveSummary summary;
  CIdentity identity;
  EXPECT_FALSE(CQuerySaver(m_engine, m_data, u"x", summary, ShownJob(), identity).Save());
  EXPECT_TRUE(m_engine.log.calls.empty());
}

}  // namespace tolvane
