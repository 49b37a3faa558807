#include "app/status/Status.h"
#include "store/AccessTableDataFileParser.h"
#include "tests/store/StoreTest.h"

namespace tolvane {
namespace {

class TableNaming : public CStoreTest {
 protected:
  void SetUp() override {
    CStoreTest::SetUp();
    CRepairingFileStatus::Instance().SetRunning(true);
  }
  void TearDown() override { CRepairingFileStatus::Instance().SetRunning(false); }

  CAccessTableList& Tables() { return m_data.GetTables(); }
  static Row CatalogueRow(std::u16string id, std::u16string name, std::u16string type, std::u16string flags) {
    return {std::move(id), u"251658241", std::move(name),  std::move(type), u"d",
            u"d",          u"",          std::move(flags), u"last"};
  }
  void AddCatalogue(const std::vector<Row>& rows, uint32_t pageSize = 4096) {
    CAccessTable& catalogue = Tables().AddTable(2 * uint64_t{pageSize});
    AddTextColumns(catalogue, 9);
    catalogue.header.rowCount = static_cast<uint32_t>(rows.size());
    WriteRows(2 * uint64_t{pageSize}, rows);
  }
  std::vector<Row> QueryObjects() {
    std::vector<Row> rows;
    for (const auto* object = m_data.GetQueryObjects().GetHead(); object != nullptr;
         object = object->GetNext())
      rows.push_back({object->GetName(), object->GetId(), object->GetType()});
    return rows;
  }
  uint64_t LostTables() const { return m_data.GetLedger().GetCount(EDamage::LostTable); }

  CAccessData m_data;
  CAccessTableDataFileParser m_parser;
};

TEST_F(TableNaming, TablesTakeTheirNamesAndQueriesAreListedTwice) {
  AddCatalogue({CatalogueRow(u"74", u"Orders", u"1", u"0"),
                CatalogueRow(u"2", u"MSysObjects", u"1", u"-2147483648"),
                CatalogueRow(u"-2147483638", u"Open orders", u"5", u"16"),
                CatalogueRow(u"75", u"Form", u"-32768", u"0")});
  CAccessTable& orders = Tables().AddTable(74 * 4096);
  orders.keepFlag = 0;
  CAccessTable& form = Tables().AddTable(75 * 4096);
  CAccessTable& unknown = Tables().AddTable(76 * 4096);
  unknown.keepFlag = 0;

  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 4096));
  EXPECT_EQ(orders.name, u"Orders");
  EXPECT_EQ(orders.keepFlag, 1);
  EXPECT_EQ(form.name, u"Form") << "the type does not matter";
  EXPECT_EQ(Tables().FindTable(0x2000)->name, u"MSysObjects");
  EXPECT_EQ(unknown.name, u"");
  EXPECT_EQ(unknown.keepFlag, 0);
  EXPECT_EQ(QueryObjects(), (std::vector<Row>{{u"Open orders", u"-2147483638", u""},
                                              {u"Open orders", u"-2147483638", u"16"}}));
  EXPECT_EQ(CStatusProgress::Instance().GetText(),
            u"(Step 4/4)Scanning table name from raw table data...Form");
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 4);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 4);
  EXPECT_EQ(LostTables(), 0U);
}

TEST_F(TableNaming, AnIdMatchesOnlyAsText) {
  AddCatalogue({CatalogueRow(u"74", u"good", u"2", u""), CatalogueRow(u"074", u"zero", u"2", u""),
                CatalogueRow(u"+74", u"plus", u"2", u""), CatalogueRow(u"74 ", u"blank", u"2", u""),
                CatalogueRow(u"4294967370", u"2^32 + 74", u"2", u""),
                CatalogueRow(u"", u"empty", u"2", u"")});
  CAccessTable& first = Tables().AddTable(74 * 4096);
  CAccessTable& second = Tables().AddTable(74 * 4096);
  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 4096));
  EXPECT_EQ(first.name, u"good");
  EXPECT_EQ(second.name, u"");
}

TEST_F(TableNaming, ARowThatEndsAfterItsIdEmptiesTheName) {
  // The four values are used as they come: a table takes the still empty name first.
  AddCatalogue({CatalogueRow(u"74", u"Orders", u"1", u"0"), {u"74"}});
  CAccessTable& orders = Tables().AddTable(74 * 4096);
  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 4096));
  EXPECT_EQ(orders.name, u"");
  EXPECT_EQ(orders.keepFlag, 1);
}

TEST_F(TableNaming, TablesThatTheCatalogueAloneKnowsAreLost) {
  AddCatalogue({CatalogueRow(u"74", u"Gone", u"1", u"0"), CatalogueRow(u"75", u"Linked", u"6", u"0"),
                CatalogueRow(u"76", u"Linked too", u"4", u"0"), CatalogueRow(u"-5", u"Odd", u"1", u"0"),
                CatalogueRow(u"2", u"MSysObjects", u"1", u"0")},
               2048);
  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 2048));
  ASSERT_EQ(LostTables(), 1U);
  EXPECT_EQ(m_data.GetLedger().GetPlaces(EDamage::LostTable)[0].page, 74U);
}

TEST_F(TableNaming, NoMoreRowsAreReadThanWereDecoded) {
  AddCatalogue({CatalogueRow(u"74", u"First", u"2", u""), CatalogueRow(u"75", u"Second", u"2", u"")});
  Tables().GetAt(0)->header.rowCount = 1;
  CAccessTable& first = Tables().AddTable(74 * 4096);
  CAccessTable& second = Tables().AddTable(75 * 4096);
  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 4096));
  EXPECT_EQ(first.name, u"First");
  EXPECT_EQ(second.name, u"");

  Tables().GetAt(0)->header.rowCount = 0xFFFF'FFFF;
  EXPECT_TRUE(m_parser.ScanTableNames(m_data, 4096));
  EXPECT_EQ(second.name, u"Second");
}

TEST_F(TableNaming, WithoutACatalogueOrWhenStoppedNothingIsNamed) {
  EXPECT_FALSE(m_parser.ScanTableNames(m_data, 4096));
  AddCatalogue({CatalogueRow(u"2", u"MSysObjects", u"1", u"0")});
  CRepairingFileStatus::Instance().SetRunning(false);
  EXPECT_FALSE(m_parser.ScanTableNames(m_data, 4096));
  m_parser.NameUnnamedTables(Tables(), true);
  EXPECT_EQ(Tables().GetAt(0)->name, u"");
  CRepairingFileStatus::Instance().SetRunning(true);
  CAccessTableDataFile::RemoveDataFile(0x2000);
  EXPECT_FALSE(m_parser.ScanTableNames(m_data, 4096));
}

TEST_F(TableNaming, UnnamedTablesAreNamedByTheirPlaceOrNumbered) {
  const auto namesOf = [this](bool isJet4Pages) {
    CAccessTableList tables;
    for (const uint64_t key : std::vector<uint64_t>{0x3000, 0x2000, 0x10000, 0xB000, 0x1800, 0x99000})
      tables.AddTable(key);
    tables.GetAt(5)->name = u"Named";
    m_parser.NameUnnamedTables(tables, isJet4Pages);
    Row names;
    for (const auto& table : tables) names.push_back(table->name + (table->isNameGenerated ? u"!" : u""));
    return names;
  };
  EXPECT_EQ(namesOf(true), (Row{u"MSysACEs", u"MSysObjects", u"MSysAccessObjects", u"RecoveredTable###0!",
                                u"RecoveredTable###1!", u"Named"}));
  EXPECT_EQ(namesOf(false), (Row{u"RecoveredTable###0!", u"MSysQueries", u"RecoveredTable###1!",
                                 u"MSysModules2", u"MSysACEs", u"Named"}));
}

TEST_F(TableNaming, AssigningANameKeepsTheTable) {
  CAccessTable& table = Tables().AddTable(0x1800);
  table.keepFlag = 0;
  table.isNameGenerated = true;
  EXPECT_FALSE(m_parser.AssignTableName(Tables(), u"No", u"1", 2048));
  EXPECT_TRUE(m_parser.AssignTableName(Tables(), u"Yes", u"3", 2048));
  EXPECT_EQ(table.name, u"Yes");
  EXPECT_EQ(table.keepFlag, 1);
  EXPECT_FALSE(table.isNameGenerated);
}

}  // namespace
}  // namespace tolvane
