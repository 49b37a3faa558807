// The structure step: which calls it makes, in which order, with which values.
#include "platform/FileCust.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {

namespace {

CAccessTableIndex MakeIndex(std::initializer_list<CAccessIndexColumnInfo> columns) {
  CAccessTableIndex index;
  for (const CAccessIndexColumnInfo& column : columns) index.columns[index.columnCount++] = column;
  return index;
}

}  // namespace

using CStructureTest = CWriterTest;

TEST_F(CStructureTest, CreatesDatabaseTablesFieldsAndIndexesInOrder) {
  CAccessTable& table = AddTable(u"Orders", {{u"Id", kTypeLong, 4, 0x07}, {u"Name", kTypeText, 50, 0x02}});
  CAccessTableIndex index = MakeIndex({{2, true}, {1, false}});
  index.unique = index.ignoreNulls = 1;
  table.indexes.Add(index);
  table.indexes.MarkPrimary(0, 1);
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.calls,
            (Lines{"create " + ToUtf8(InFolder(u"new.mdb")) + " ;LANGID=0x0409;CP=1252;COUNTRY=0 options=64",
                   "table Orders attributes=65536", "field Id type=4 size=4 attributes=49",
                   "field Name type=10 size=50 attributes=34",
                   "index Primary Key (Name,Id desc) primary unique clustered ignore-nulls distinct=1",
                   "append", "close table", "close database"}));
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 1);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 1);
  EXPECT_EQ(CStatusProgress::Instance().GetText(), u"(Step 1/2)Saving table name and structure: Orders");
  EXPECT_EQ(GetSummary().tablesSaved, 1u);
}

TEST_F(CStructureTest, JetThreeSourceAsksForAJetThreeDatabaseAndReportsTheRefusal) {
  m_data.source.isJet3 = true;
  Refuse("create", EDaoError::NotSupported, u"Access 97 databases cannot be written.");
  EXPECT_FALSE(m_writer.Save());
  ASSERT_EQ(m_engine.log.calls.size(), 1u);
  EXPECT_TRUE(m_engine.log.calls[0].ends_with("options=32"));
  EXPECT_EQ(GetSummary().failure, u"Access 97 databases cannot be written.");
}

TEST_F(CStructureTest, EveryTypeBecomesItsField) {
  std::vector<STestColumn> columns;
  for (uint8_t type = 0; type <= 20; ++type) columns.push_back({u"c", type, 8, 0});
  AddTable(u"T", columns);
  ASSERT_TRUE(m_writer.SaveStructure());
  const std::string c = "field c type=";
  EXPECT_EQ(m_engine.log.Find("field"),
            (Lines{c + "0 size=8 attributes=33",    c + "1 size=8 attributes=33",
                   c + "2 size=8 attributes=33",    c + "3 size=8 attributes=33",
                   c + "4 size=8 attributes=33",    c + "5 size=8 attributes=33",
                   c + "6 size=8 attributes=33",    c + "7 size=8 attributes=33",
                   c + "8 size=8 attributes=33",    c + "11 size=8 attributes=34",
                   c + "10 size=8 attributes=34",   c + "11 size=8 attributes=34",
                   c + "12 size=8 attributes=34",   c + "11 size=8 attributes=34",
                   c + "11 size=8 attributes=34",   c + "15 size=8 attributes=33",
                   c + "7 size=8 attributes=33",    c + "10 size=255 attributes=34",
                   c + "10 size=255 attributes=34", c + "10 size=255 attributes=34",
                   c + "10 size=255 attributes=34"}));
  // A complex column is expected to be text; the types that nobody knows are mentioned.
  EXPECT_EQ(GetSummary().notes.size(), 3u);
  EXPECT_NE(GetLog().find("has the unknown type 19 and was saved as text"), std::string::npos);
}

TEST_F(CStructureTest, SizesMarkersAndDefaultsFollowTheColumnsOfOneTable) {
  const std::vector<STestColumn> columns{
      {u"none", kTypeNone, 0, 0},   {u"long text", kTypeText, 300, 0}, {u"id", kTypeLong, 4, 0x07},
      {u"id2", kTypeLong, 4, 0x07}, {u"n", kTypeLong, 4, 0x03},        {u"g", kTypeGuid, 16, 0x43},
      {u"g2", kTypeGuid, 16, 0x43},
  };
  AddTable(u"A", columns);
  AddTable(u"B", {{u"id", kTypeLong, 4, 0x07}});
  ASSERT_TRUE(m_writer.SaveStructure());
  Lines fields = m_engine.log.Find("field");
  const Lines described = m_engine.log.Find("described");
  EXPECT_EQ(fields,
            (Lines{"field none type=10 size=255 attributes=34",
                   "field long text type=10 size=255 attributes=34", "field id type=4 size=4 attributes=49",
                   "field id2 type=4 size=4 attributes=33", "field n type=4 size=4 attributes=33",
                   "field g2 type=15 size=16 attributes=33", "field id type=4 size=4 attributes=49"}));
  EXPECT_EQ(described, Lines{"described field g type=15 size=16 attributes=8192 default=GenGUID()"});
}

TEST_F(CStructureTest, SystemNamelessAndColumnlessTablesAreSkipped) {
  AddTable(u"MSysObjects", {{u"a"}});
  AddTable(u"", {{u"a"}});
  AddTable(u"Empty", {});
  AddTable(u"xMSys", {{u"a"}});
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("table"), Lines{"table xMSys attributes=65536"});
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 4);
}

TEST_F(CStructureTest, IndexesEndAtTheFirstWithoutColumnsAndNameColumnsByTheirNumber) {
  CAccessTable& table = AddTable(u"T", {{u"a"}, {u"b"}});
  table.indexes.Add(MakeIndex({{2, true}}));
  table.indexes.Add(MakeIndex({{9, true}}));
  table.indexes.Add(MakeIndex({}));
  table.indexes.Add(MakeIndex({{1, true}}));
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("index"), Lines{"index Index_0 (b) clustered distinct=1"});
  EXPECT_EQ(GetSummary().indexesLost, 3u);
  EXPECT_NE(GetLog().find("Index \"Index_1\" could not be created"), std::string::npos);
  EXPECT_NE(GetLog().find("Index \"Index_2\" and those behind it were left out"), std::string::npos);
}

TEST_F(CStructureTest, AnExistingOutputIsReplaced) {
  CFileCust file;
  ASSERT_TRUE(
      file.Open(InFolder(u"new.mdb"), EFileAccess::Write, EFileShare::None, EFileCreation::CreateNew));
  file.Close();
  m_engine.log.refuse = [this](const std::string& line) -> CDaoResult {
    if (line.starts_with("create")) {
      EXPECT_FALSE(FileExists(InFolder(u"new.mdb")));
    }
    return CDaoResult::Ok();
  };
  EXPECT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("create").size(), 1u);
}

TEST_F(CStructureTest, StopBetweenTablesAndColumnsClosesWhatIsOpen) {
  AddTable(u"A", {{u"a"}, {u"b"}});
  AddTable(u"B", {{u"a"}});
  for (const auto& [at, last] : {std::pair{"field a", "close table"}, {"append", "close table"}}) {
    CSavingStatus::Instance().SetSaving(true);
    m_engine.log.calls.clear();
    m_engine.log.refuse = [at = std::string(at)](const std::string& line) -> CDaoResult {
      if (line.starts_with(at)) CSavingStatus::Instance().SetSaving(false);
      return CDaoResult::Ok();
    };
    EXPECT_FALSE(m_writer.Save());
    const Lines& calls = m_engine.log.calls;
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[calls.size() - 3].substr(0, 5), std::string(at).substr(0, 5));
    EXPECT_EQ(calls[calls.size() - 2], last);
    EXPECT_EQ(calls.back(), "close database");
  }
  EXPECT_TRUE(GetSummary().failure.empty());
}

TEST_F(CStructureTest, NothingStartsWithoutSavingDataOrPath) {
  CSavingStatus::Instance().SetSaving(false);
  EXPECT_FALSE(m_writer.SaveStructure());
  CSavingStatus::Instance().SetSaving(true);
  m_writer.SetOutputPath(u"");
  EXPECT_FALSE(m_writer.SaveStructure());
  m_writer.SetOutputPath(u"x");
  m_writer.SetData(nullptr);
  EXPECT_FALSE(m_writer.SaveStructure());
  EXPECT_TRUE(m_engine.log.calls.empty());
}

// --- what the engine refuses ---

TEST_F(CStructureTest, RefusedTableNameIsVariedAndTheRowsFollow) {
  CAccessTable& table = AddTable(u"Or[d]ers", {{u"a"}});
  WriteRows(table, {{u"x"}});
  Refuse("table Or[", EDaoError::InvalidName, u"not a valid name");
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("rows"), Lines{"rows SELECT * FROM [Or_d_ers]"});
  ASSERT_EQ(GetSummary().notes.size(), 1u);
  EXPECT_EQ(GetSummary().notes[0], u"Table \"Or[d]ers\" was saved as \"Or_d_ers\": not a valid name");
  EXPECT_EQ(GetSummary().recordsSaved, 1u);
}

TEST_F(CStructureTest, TablesOfTheSameNameAreNumbered) {
  for (int i = 0; i < 3; ++i) WriteRows(AddTable(u"Orders", {{u"a"}}), {{u"x"}});
  m_engine.log.refuse = [this](const std::string& line) -> CDaoResult {
    const Lines tables = m_engine.log.Find("table ");
    const bool isTaken = line == "append" && std::count(tables.begin(), tables.end(), tables.back()) > 1;
    return isTaken ? CDaoResult{EDaoError::TableExists, u"exists"} : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("rows"), (Lines{"rows SELECT * FROM [Orders]", "rows SELECT * FROM [Orders_1]",
                                              "rows SELECT * FROM [Orders_2]"}));
  EXPECT_EQ(GetSummary().recordsSaved, 3u);
}

TEST_F(CStructureTest, TakenEmptyAndInvalidFieldNamesAreVaried) {
  AddTable(u"T", {{u"a"}, {u"a"}, {u""}, {u"b.c"}});
  m_engine.log.refuse = [this](const std::string& line) -> CDaoResult {
    if (!line.starts_with("field ")) return CDaoResult::Ok();
    if (line.starts_with("field  ") || line.starts_with("field b.c")) return {EDaoError::InvalidName, u"bad"};
    const Lines fields = m_engine.log.Find("field ");
    return std::count(fields.begin(), fields.end(), line) > 1
               ? CDaoResult{EDaoError::DuplicateField, u"twice"}
               : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.SaveStructure());
  const std::string rest = " type=10 size=50 attributes=34";
  EXPECT_EQ(m_engine.log.Find("field"),
            (Lines{"field a" + rest, "field a" + rest, "field a_1" + rest, "field " + rest,
                   "field Field" + rest, "field b.c" + rest, "field b_c" + rest}));
  EXPECT_EQ(GetSummary().columnsLost, 0u);
  EXPECT_EQ(GetSummary().notes.size(), 3u);
}

TEST_F(CStructureTest, RefusedTypeBecomesText) {
  AddTable(u"T", {{u"a", kTypeNone, 4, 0}});
  Refuse("field a type=0", EDaoError::InvalidDataType, u"no such type");
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("field"),
            (Lines{"field a type=0 size=4 attributes=33", "field a type=10 size=255 attributes=34"}));
}

TEST_F(CStructureTest, OnlyTheFirst255ColumnsAreKept) {
  std::vector<STestColumn> columns(257, STestColumn{u"c"});
  CAccessTable& table = AddTable(u"Wide", columns);
  Row row(257);
  row[0] = u"first";
  row[256] = u"last";
  WriteRows(table, {row});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("field").size(), 255u);
  EXPECT_EQ(GetSummary().columnsLost, 2u);
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].fields, 1u);
  EXPECT_EQ(m_engine.log.Find("set"), Lines{"set 0 first"});
}

TEST_F(CStructureTest, ATableThatCannotBeCreatedLosesItsRowsAndNoOther) {
  WriteRows(AddTable(u"Bad", {{u"a"}}), {{u"x"}, {u"y"}});
  WriteRows(AddTable(u"Good", {{u"a"}}), {{u"z"}});
  Refuse("table Bad", EDaoError::NotSupported, u"not possible");
  ASSERT_TRUE(m_writer.Save());
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].table, u"Bad");
  EXPECT_EQ(GetSummary().losses[0].records, 2u);
  EXPECT_EQ(GetSummary().losses[0].reason, u"not possible");
  EXPECT_NE(GetLog().find("2 records of table Bad could not be saved: not possible"), std::string::npos);
  EXPECT_EQ(m_engine.log.Find("rows"), Lines{"rows SELECT * FROM [Good]"});
  EXPECT_EQ(GetSummary().tablesSaved, 1u);
}

TEST_F(CStructureTest, IndexesAreGivenUpBeforeTheTable) {
  CAccessTable& table = AddTable(u"T", {{u"a"}});
  table.indexes.Add(MakeIndex({{1, true}}));
  Refuse("append", EDaoError::NotSupported, u"no", 1);
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("index").size(), 1u);
  EXPECT_EQ(m_engine.log.Find("append").size(), 2u);
  EXPECT_EQ(GetSummary().indexesLost, 1u);
}

TEST_F(CStructureTest, AFullDiskEndsTheSave) {
  AddTable(u"A", {{u"a"}});
  AddTable(u"B", {{u"a"}});
  Refuse("append", EDaoError::DiskFull, u"The disk is full.");
  EXPECT_FALSE(m_writer.Save());
  EXPECT_EQ(GetSummary().failure, u"The disk is full.");
  EXPECT_EQ(m_engine.log.Find("table").size(), 1u);
  EXPECT_EQ(m_engine.log.calls.back(), "close database");
}

}  // namespace tolvane
