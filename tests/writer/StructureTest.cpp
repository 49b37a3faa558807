// The structure step: which calls it makes, in which order, with which values; and what the engine refuses.
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {

class CStructureTest : public CWriterTest {
 protected:
  static void AddIndex(CAccessTable& table, std::initializer_list<CAccessIndexColumnInfo> columns,
                       int unique = 0) {
    CAccessTableIndex index;
    for (const CAccessIndexColumnInfo& column : columns) index.columns[index.columnCount++] = column;
    index.unique = index.ignoreNulls = static_cast<uint8_t>(unique);
    table.indexes.Add(index);
  }
};

class CExactStructureTest : public CWriterTest {
 protected:
  CExactStructureTest() : CWriterTest(kExactRules) {}
};

TEST_F(CStructureTest, CreatesDatabaseTablesFieldsAndIndexesInOrder) {
  CAccessTable& table = AddTable(u"Orders", {{u"Id", kTypeLong, 4, 0x07}, {u"Name", kTypeText, 50, 0x02}});
  AddIndex(table, {{2, true}, {1, false}}, 1);
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
  EXPECT_EQ(Outcome(), Lines{"1 tables"});
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
  Lines expected;
  for (const char* field : {"0 33", "1 33", "2 33", "3 33", "4 33", "5 33", "6 33", "7 33", "8 33", "11 34",
                            "10 34", "11 34", "12 34", "11 34", "11 34", "15 33", "7 33"}) {
    const std::string type(field, std::string_view(field).find(' '));
    expected.push_back("field c type=" + type + " size=8 attributes=" + std::string(field + type.size() + 1));
  }
  expected.insert(expected.end(), 4, "field c type=10 size=255 attributes=34");
  EXPECT_EQ(m_engine.log.Find("field"), expected);
  // A complex column is expected to be text; the types that nobody knows are mentioned.
  EXPECT_EQ(GetSummary().notes.size(), 3u);
  EXPECT_NE(GetLog().find("has the unknown type 19 and was saved as text"), std::string::npos);
}

// A text that is fixed would be filled with blanks.
TEST_F(CExactStructureTest, WhatBecomesATextIsNotFixed) {
  AddTable(u"T", {{u"d", kTypeDecimal, 17, kColumnFixed},
                  {u"e", kTypeExtendedDate, 42, kColumnFixed},
                  {u"t", kTypeText, 8, kColumnFixed}});
  m_writer.SetFormat(EOutputFormat::Jet3);
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("described field"),
            (Lines{"described field d type=10 size=31 attributes=34 default=",
                   "described field e type=10 size=27 attributes=34 default=",
                   "described field t type=10 size=8 attributes=33 default="}));
}

TEST_F(CStructureTest, SizesMarkersAndDefaultsFollowTheColumnsOfOneTable) {
  AddTable(u"A", {{u"none", kTypeNone, 0, 0},
                  {u"long text", kTypeText, 300, 0},
                  {u"id", kTypeLong, 4, 0x07},
                  {u"id2", kTypeLong, 4, 0x07},
                  {u"n", kTypeLong, 4, 0x03},
                  {u"g", kTypeGuid, 16, 0x43},
                  {u"g2", kTypeGuid, 16, 0x43}});
  AddTable(u"B", {{u"id", kTypeLong, 4, 0x07}});
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("field"),
            (Lines{"field none type=10 size=255 attributes=34",
                   "field long text type=10 size=255 attributes=34", "field id type=4 size=4 attributes=49",
                   "field id2 type=4 size=4 attributes=33", "field n type=4 size=4 attributes=33",
                   "field g2 type=15 size=16 attributes=33", "field id type=4 size=4 attributes=49"}));
  EXPECT_EQ(m_engine.log.Find("described"),
            Lines{"described field g type=15 size=16 attributes=8192 default=GenGUID()"});
}

TEST_F(CStructureTest, SystemNamelessAndColumnlessTablesAreSkipped) {
  for (const std::u16string_view name : {u"MSysObjects", u"", u"xMSys"}) AddTable(name, {{u"a"}});
  AddTable(u"Empty", {});
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("table"), Lines{"table xMSys attributes=65536"});
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 4);
}

TEST_F(CStructureTest, IndexesEndAtTheFirstWithoutColumnsAndNameColumnsByTheirNumber) {
  CAccessTable& table = AddTable(u"T", {{u"a"}, {u"b"}});
  AddIndex(table, {{2, true}});
  AddIndex(table, {{9, true}});
  AddIndex(table, {});
  AddIndex(table, {{1, true}});
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("index"), Lines{"index Index_0 (b) clustered distinct=1"});
  EXPECT_EQ(
      Outcome(),
      (Lines{
          "1 tables, 3 lost indexes",
          "Table \"T\": Index \"Index_1\" could not be created: A column of it is not there.",
          "Table \"T\": Index \"Index_2\" and those behind it were left out: its columns cannot be read"}));
}

TEST_F(CStructureTest, RefusedTableNameIsVariedAndTheRowsFollow) {
  WriteRows(AddTable(u"Or[d]ers", {{u"a"}}), {{u"x"}});
  Refuse("table Or[", EDaoError::InvalidName, u"not a valid name");
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("rows"), Lines{"rows SELECT * FROM [Or_d_ers]"});
  EXPECT_EQ(Outcome(),
            (Lines{"1 tables, 1 records", "Table \"Or[d]ers\" was saved as \"Or_d_ers\": not a valid name"}));
}

TEST_F(CStructureTest, TakenEmptyAndInvalidFieldNamesAreVaried) {
  AddTable(u"T", {{u"a"}, {u"a"}, {u""}, {u"b.c"}});
  m_engine.log.refuse = [this](const std::string& line) -> CDaoResult {
    if (!line.starts_with("field ")) return CDaoResult::Ok();
    if (line.starts_with("field  ") || line.starts_with("field b.c")) return {EDaoError::InvalidName, u"bad"};
    return m_engine.log.Find(line).size() > 1 ? CDaoResult{EDaoError::DuplicateField, u"twice"}
                                              : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.SaveStructure());
  Lines expected;
  for (const char* name : {"a", "a", "a_1", "", "Field", "b.c", "b_c"})
    expected.push_back(std::string("field ") + name + " type=10 size=50 attributes=34");
  EXPECT_EQ(m_engine.log.Find("field"), expected);
  EXPECT_EQ(Outcome(), (Lines{"1 tables", "Table \"T\": Column \"a\" was saved as \"a_1\": twice",
                              "Table \"T\": Column \"\" was saved as \"Field\": bad",
                              "Table \"T\": Column \"b.c\" was saved as \"b_c\": bad"}));
}

TEST_F(CStructureTest, RefusedTypeBecomesText) {
  AddTable(u"T", {{u"a", kTypeNone, 4, 0}});
  Refuse("field a type=0", EDaoError::InvalidDataType, u"no such type");
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("field"),
            (Lines{"field a type=0 size=4 attributes=33", "field a type=10 size=255 attributes=34"}));
}

// Status 0 says that nothing is changed: whatever a remark tells has a count, where the rules call it a loss.
class CChangeTest : public CWriterTest, public testing::WithParamInterface<ERules> {
 protected:
  CChangeTest() : CWriterTest(RulesOf(GetParam())) {}
};

TEST_P(CChangeTest, EveryChangeHasACountWhereItIsALoss) {
  CAccessTable& first = AddTable(u"T!", {{u"kept"},
                                         {u"n.n"},
                                         {u"no type", kTypeNone, 4},
                                         {u"counts", kTypeLong, 4, 7},
                                         {u"counts too", kTypeLong, 4, 7},
                                         {u"odd", 14, 4},
                                         {u"result", kTypeText, 509, kColumnUpdatable}});
  first.columns.GetAt(6)->extendedFlags = kColumnCalculated;
  AddTable(u"U", {{u"kept"}});
  CAccessTable& relations = AddTable(u"MSysRelationships", std::vector<STestColumn>(8, STestColumn{u""}));
  for (uint16_t i = 0; i < 8; ++i) relations.columns.GetAt(i)->number = i;
  WriteRows(relations, {{u"R", u"2", u"1", u"0", u"U", u"kept", u"T!", u"kept"}});
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    const auto has = [&line](const char* text) { return line.find(text) != line.npos; };
    if (has("table T!") || has("field n.n")) return {EDaoError::InvalidName, u"no"};
    if (has("relation R:")) return {EDaoError::RelationExists, u"no"};
    return has("field no type type=0") ? CDaoResult{EDaoError::InvalidDataType, u"no"} : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.Save());
  const bool isExact = GetParam() == ERules::Exact;
  EXPECT_FALSE(GetSummary().notes.empty());
  EXPECT_EQ(GetSummary().tablesChanged, isExact ? 1u : 0u);
  EXPECT_EQ(GetSummary().columnsChanged, isExact ? 5u : 0u) << testing::PrintToString(Outcome());
  EXPECT_EQ(GetSummary().relationsChanged, isExact ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(BothRules, CChangeTest, testing::Values(ERules::Standard, ERules::Exact));

TEST_F(CStructureTest, OnlyTheFirst255ColumnsAreKept) {
  Row row(257);
  row[0] = u"first";
  row[256] = u"last";
  WriteRows(AddTable(u"Wide", std::vector<STestColumn>(257, STestColumn{u"c"})), {row});
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
  EXPECT_EQ(Outcome(),
            (Lines{"1 tables, 1 records, 1 lost columns", "Bad lost 2 records, 0 values: not possible",
                   "Table \"Bad\" could not be created: not possible"}));
  EXPECT_NE(GetLog().find("2 records of table Bad could not be saved: not possible"), std::string::npos);
  EXPECT_EQ(m_engine.log.Find("rows"), Lines{"rows SELECT * FROM [Good]"});
}

TEST_F(CStructureTest, IndexesAreGivenUpBeforeTheTable) {
  AddIndex(AddTable(u"T", {{u"a"}}), {{1, true}});
  Refuse("append", EDaoError::NotSupported, u"no", 1);
  ASSERT_TRUE(m_writer.SaveStructure());
  EXPECT_EQ(m_engine.log.Find("index").size(), 1u);
  EXPECT_EQ(m_engine.log.Find("append").size(), 2u);
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 1 lost indexes", "Table \"T\" was saved without its indexes"}));
}

}  // namespace tolvane
