// The relationships step: rows put together, tables and columns followed to their new names, and what becomes
// of what is damaged or refused.
#include "format/HeaderLayout.h"
#include "tests/writer/WriterTest.h"
#include "writer/FieldValue.h"
#include "writer/RelationReader.h"

namespace tolvane {

class CRelationStepTest : public CWriterTest {
 protected:
  using CWriterTest::CWriterTest;
  // Rows: name, attributes, count, position, table, column, referenced table, referenced column.
  CAccessTable& AddRelations(const std::vector<Row>& rows) {
    CAccessTable& table = AddTable(u"MSysRelationships", std::vector<STestColumn>(8, STestColumn{u""}));
    for (uint16_t i = 0; i < 8; ++i) table.columns.GetAt(i)->number = i;
    WriteRows(table, rows);
    return table;
  }
  Lines Created() const { return m_engine.log.Find("relation "); }
};

TEST_F(CRelationStepTest, RelationsAreReadBeforeTheRowsAndCreatedBehindThem) {
  AddRelations({{u"B", u"2", u"2", u"1", u"Orders", u"Part", u"Customers", u"Branch"},
                {u"A", u"4096", u"1", u"0", u"ORDERS", u"customer", u"Customers", u"Id"},
                {u"System", u"0", u"1", u"0", u"MSysA", u"x", u"MSysB", u"y"},
                {u"b", u"2", u"2", u"0", u"Orders", u"Customer", u"Customers", u"Id"}});
  WriteRows(AddTable(u"Customers", {{u"Id"}, {u"Branch"}}), {{u"1", u"2"}});
  WriteRows(AddTable(u"Orders", {{u"Customer"}, {u"Part"}}), {});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("rows SELECT * FROM [Orders]"),
            (Lines{"rows SELECT * FROM [Orders]", "close rows",
                   "relation B: Orders (Customer>Id,Part>Branch) Customers attributes=2",
                   "relation A: Orders (Customer>Id) Customers attributes=4096", "close database"}));
  EXPECT_EQ(GetLog(), "Saving relations\r\nSaving data for Customers...\r\nSaving data for Orders...");
  EXPECT_EQ(Outcome(), Lines{"2 tables, 1 records, 2 relations"});
}

TEST_F(CRelationStepTest, NewNamesAreFollowed) {
  AddRelations({{u"", u"0", u"1", u"0", u"bad.name", u"c[1]", u"T", u"a"},
                {u"R", u"0", u"1", u"0", u"T", u"a", u"Lost", u"x"},
                {u"S", u"0", u"1", u"0", u"T", u"b", u"T", u"a"}});
  AddTable(u"bad.name", {{u"c[1]"}});
  AddTable(u"T", {{u"a"}});
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    const bool isBad = line.starts_with("table bad.") || line.starts_with("field c[1]");
    return isBad ? CDaoResult{EDaoError::InvalidName, u"no"} : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Created(), (Lines{"relation Tbad_name: bad_name (c_1_>a) T attributes=0"}));
  EXPECT_EQ(
      Outcome(),
      (Lines{
          "2 tables, 1 relations, 2 lost relations",
          "Table \"bad.name\": Column \"c[1]\" was saved as \"c_1_\": no",
          "Table \"bad.name\" was saved as \"bad_name\": no",
          "The relationship of tables \"T\" and \"bad.name\" was saved as \"Tbad_name\"",
          "Relationship \"R\" could not be saved: Table \"Lost\" is not in the new database.",
          "Relationship \"S\" could not be saved: Column \"b\" of table \"T\" is not in the new database."}));
  EXPECT_TRUE(GetLog().ends_with("Column \"b\" of table \"T\" is not in the new database."));
}

TEST_F(CRelationStepTest, WhatRowsDoNotAllowIsSavedUnenforced) {
  AddRelations({{u"R", u"16781568", u"1", u"0", u"T", u"a", u"T", u"b"},
                {u"Q", u"", u"1", u"0", u"T", u"b", u"T", u"a"},
                {u"P", u"8", u"1", u"0", u"T", u"b", u"T", u"b"}});
  AddTable(u"T", {{u"a"}, {u"b"}});
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    if (line.starts_with("relation R:") && !line.ends_with("=16777218"))
      return {EDaoError::RelatedRecordMissing, u"1 record refers to no record (7)."};
    return line.starts_with("relation P:") ? CDaoResult{EDaoError::RelationExists, u"again"}
                                           : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Created(),
            (Lines{"relation R: T (a>b) T attributes=16781568", "relation R: T (a>b) T attributes=16777218",
                   "relation Q: T (b>a) T attributes=2", "relation P: T (b>b) T attributes=2",
                   "relation P_1: T (b>b) T attributes=2"}));
  EXPECT_EQ(Outcome(),
            (Lines{"1 tables, 3 relations, 3 weakened relations",
                   "Relationship \"R\" was saved, but is not enforced: 1 record refers to no record (7).",
                   "Relationship \"Q\" was saved, but is not enforced: Its properties are lost.",
                   "Relationship \"P\" was saved as \"P_1\"",
                   "Relationship \"P\" was saved, but is not enforced: Its properties are lost."}));
}

TEST_F(CRelationStepTest, FailuresEndOnlyWhatTheyMust) {
  CAccessTable& relations = AddRelations({{u"R", u"0", u"1", u"0", u"T", u"a", u"T", u"b"}});
  AddTable(u"T", {{u"a"}, {u"b"}});
  Refuse("relation", EDaoError::DiskFull, u"full");
  EXPECT_FALSE(m_writer.Save());
  EXPECT_EQ(GetSummary().failure, u"full");
  EXPECT_EQ(Created().size(), 1u);

  m_engine.log.refuse = {};
  CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(relations.GetDefinitionOffset());
  EXPECT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 1 lost system rows", "Error code : - 004"}));
  EXPECT_EQ(Created().size(), 1u);
}

TEST_F(CRelationStepTest, DamagedRowsCostTheirRelationship) {
  AddRelations({
      {u"Short", u"0", u"2", u"1", u"A", u"x", u"B", u"y"},             // the first pair is gone
      {u"Counts", u"0", u"99999999999", u"0", u"A", u"x", u"B", u"y"},  // nonsense; the pairs tell
      {u"counts", u"0", u"-1", u"1", u"a", u"v", u"b", u"w"},
      {u"Twice", u"0", u"1", u"0", u"A", u"x", u"B", u"y"},
      {u"Twice", u"0", u"1", u"0", u"A", u"x", u"B", u"y"},
      {u"Twice", u"0", u"1", u"0", u"A", u"other", u"B", u"y"},
      {u"Strays", u"0", u"1", u"0", u"A", u"x", u"B", u"y"},
      {u"Strays", u"0", u"1", u"7000", u"A", u"x", u"B", u"y"},
      {u"Strays", u"0", u"1", u"", u"A", u"x", u"B", u"y"},
      {u"Strays", u"0", u"1", u"1", u"C", u"x", u"B", u"y"},
      {u"Halves", u"0", u"1", u"0", u"A", u"", u"B", u"y"},
      {u"Tables", u"0", u"1", u"0", u"", u"x", u"B", u"y"},
      {u"", u"0", u"2", u"0", u"A", u"x", u"B", u"y"},
      {u"", u"0", u"2", u"1", u"A", u"v", u"B", u"w"},
      {u"", u"0", u"1", u"0", u"A", u"x", u"C", u"y"},
      {u"", u"", u"", u"", u"", u"", u"", u""},
  });
  std::vector<SRecoveredRelation> relations;
  uint32_t rowsRead = 0;
  EXPECT_TRUE(ReadRelations(m_data, nullptr, relations, rowsRead));
  EXPECT_EQ(rowsRead, 16u);
  std::vector<std::u16string> read;
  for (const SRecoveredRelation& relation : relations)
    read.push_back(relation.name + u" " + ToDecimal(relation.pairs.size()) + u" " + relation.problem);
  EXPECT_EQ(read, (std::vector<std::u16string>{u"Short 1 1 of its 2 pairs of columns is lost.", u"Counts 2 ",
                                               u"Twice 1 ", u"Strays 1 ",
                                               u"Halves 0 1 of its 1 pairs of columns is lost.",
                                               u"Tables 1 The name of a table is lost.", u" 2 ", u" 1 "}));
}

TEST_F(CRelationStepTest, DefinitionsTellWhatRowsLost) {
  AddRelations({{u"Short", u"0", u"2", u"1", u"Orders", u"Part", u"Customers", u"Branch"},
                {u"Whole", u"2", u"1", u"0", u"Orders", u"Part", u"Customers", u"Id"}});
  CAccessTable& customers = AddTable(u"Customers", {{u"Id"}, {u"Branch"}});
  CAccessTable& orders = AddTable(u"Orders", {{u"Customer"}, {u"Part"}});
  CAccessTableIndex both;
  both.columnCount = 2;
  both.columns[1].columnNumber = 1;
  CAccessTableIndex one;
  one.columnCount = 1;
  for (CAccessTable* const table : {&customers, &orders})
    for (const CAccessTableIndex& index : {both, one}) table->indexes.Add(index);
  for (const auto& table : {&customers, &orders})
    for (uint16_t i = 0; i < 2; i++) table->columns.GetAt(i)->number = i;
  const uint32_t page = customers.GetPage(m_data.source.pageSize);
  customers.referredIndexes = {{7, 0}, {9, 1}};
  orders.foreignKeys = {{u"Short", page, 7, 0, false, true},
                        {u"Whole", page, 7, 0},
                        {u"Lost", page, 9, 1, true},
                        {u"Unfit", page, 9, 0},
                        {u"Unknown", page, 8, 1}};
  std::vector<SRecoveredRelation> relations;
  uint32_t rowsRead = 0;
  EXPECT_TRUE(ReadRelations(m_data, nullptr, relations, rowsRead));
  std::vector<std::u16string> read;
  for (const SRecoveredRelation& relation : relations)
    read.push_back(relation.name + u": " + relation.DescribeSide(false) + u" " + relation.DescribeSide(true) +
                   u" " + relation.DescribeRules() + (relation.isRestored ? u"!" : u""));
  EXPECT_EQ(read, (std::vector<std::u16string>{
                      u"Short: Orders (Customer, Part) Customers (Id, Branch) deletes cascade!",
                      u"Whole: Orders (Part) Customers (Id) not enforced",
                      u"Lost: Orders (Customer) Customers (Id) updates cascade!"}));
}

// Each set, over records of texts.
class CNullCascadeTest : public CRelationStepTest, public testing::WithParamInterface<ERules> {
 protected:
  static SRecoveryRules Rules() {
    SRecoveryRules rules = RulesOf(GetParam());
    rules.recordsHoldTexts = true;
    return rules;
  }
  CNullCascadeTest() : CRelationStepTest(Rules()) {}
};
INSTANTIATE_TEST_SUITE_P(Sets, CNullCascadeTest, testing::Values(ERules::Standard, ERules::Exact));

TEST_P(CNullCascadeTest, CostsTheAttributesWhereItIsUnknown) {
  AddRelations({{u"Nulls", u"8192", u"1", u"0", u"A", u"x", u"B", u"y"}});
  std::vector<SRecoveredRelation> relations;
  uint32_t rowsRead = 0;
  EXPECT_TRUE(ReadRelations(m_data, nullptr, relations, rowsRead));
  EXPECT_EQ(relations.at(0).hasAttributes, GetParam() == ERules::Exact);
}

TEST(SaveRules, BytesAndFormatsFollowTheirRules) {
  std::u16string text = u"200";
  int64_t number = 0;
  EXPECT_EQ(ConvertForField(kTypeByte, kStandardRules, text, number), EFieldValue::Dropped);
  EXPECT_EQ(ConvertForField(kTypeByte, kExactRules, text, number), EFieldValue::Number);
  for (const bool isExact : {false, true}) {
    CAccessData data(isExact ? kExactRules : kStandardRules, {});
    data.source.versionByte = kVersionAce12;
    EXPECT_EQ(CAccessSaveRepairedFile::DecideFormat(data, EOutputFormat::ByRules),
              isExact ? EOutputFormat::Ace : EOutputFormat::Jet4);
  }
}

// Enforcing costs a walk over both tables, so a table is walked no more often than it has room for indexes.
TEST_F(CRelationStepTest, TriesToEnforceAreBounded) {
  std::vector<Row> rows;
  rows.reserve(85);
  for (int i = 0; i < 85; ++i) {
    const char16_t* primary = i < 40 ? u"A" : i < 50 ? u"B" : u"Self";
    rows.push_back({u"R" + ToDecimal(i), u"256", u"1", u"0", i < 50 ? u"T" : u"Self", u"a", primary, u"x"});
  }
  AddRelations(rows);
  for (const std::u16string_view name : {u"T", u"A", u"B", u"Self"}) AddTable(name, {{u"a"}, {u"x"}});
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    const bool isEnforced = line.starts_with("relation") && line.ends_with("=256");
    return isEnforced ? CDaoResult{EDaoError::NoUniqueIndex, u"no"} : CDaoResult::Ok();
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Created().size(), 50u + 32u + 35u + 32u);
  EXPECT_EQ(Outcome().front(), "4 tables, 85 relations, 85 weakened relations");
}

// Thousands of relationships of nonsense are told once, and cost no more than reading them.
TEST_F(CRelationStepTest, MassesOfRowsAreToldInBrief) {
  std::vector<Row> rows;
  rows.reserve(40000);
  for (int i = 0; i < 40000; ++i)
    rows.push_back({i < 20000 ? u"R" + ToDecimal(i) : u"Same", u"0", u"1", i < 20000 ? u"0" : ToDecimal(i),
                    u"Lost", u"x", u"Gone", u"y"});
  AddRelations(rows);
  AddTable(u"T", {{u"a"}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome().front(), "1 tables, 20001 lost relations");
  EXPECT_LT(GetSummary().notes.size(), 300u);
  EXPECT_NE(GetLog().find("19801 more relationships"), std::string::npos);
}

}  // namespace tolvane
