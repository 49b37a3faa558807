#include <array>

#include "engine/AccessTableDataFileParser.h"
#include "engine/LostNames.h"
#include "format/PropertyBlob.h"
#include "render/ObjectProperties.h"
#include "status/JobContext.h"
#include "tests/support/PageBuilder.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

// Id, name, type and flags of a row of the catalogue.
using CatalogueRow = std::array<const char16_t*, 4>;

class TableNaming : public CStoreTest {
 protected:
  void SetUp() override {
    CStoreTest::SetUp();
    CRepairingFileStatus::Instance().SetRunning(true);
  }
  void TearDown() override { CRepairingFileStatus::Instance().SetRunning(false); }

  CAccessTableList& Tables() { return m_data.GetTables(); }
  // The rows may end with one of other values.
  CAccessTable& AddCatalogue(const std::vector<CatalogueRow>& rows, const std::vector<Row>& last = {}) {
    CAccessTable& catalogue = AddTable(2);
    AddTextColumns(catalogue, 9);
    std::vector<Row> stored;
    for (const auto& [id, name, type, flags] : rows)
      stored.push_back({id, u"251658241", name, type, u"d", u"d", u"", flags, u"last"});
    stored.insert(stored.end(), last.begin(), last.end());
    catalogue.header.rowCount = static_cast<uint32_t>(stored.size());
    WriteRows(catalogue.GetDefinitionOffset(), stored);
    return catalogue;
  }
  CAccessTable& AddTable(uint64_t page) { return Tables().AddTable(page * m_pageSize); }
  bool Scan() { return m_parser.ScanTableNames(m_data, m_pageSize); }
  uint64_t LostTables() const { return m_data.GetLedger().GetCount(EDamage::LostTable); }

  uint32_t m_pageSize = 4096;
  CAccessData m_data{kStandardRules, GetWorkFolder()};
  CAccessTableDataFileParser m_parser{kStandardRules, ShownJob()};
};

TEST_F(TableNaming, TablesTakeTheirNamesAndQueriesAreListedTwice) {
  AddCatalogue({{u"74", u"Orders", u"1", u"0"},
                {u"2", u"MSysObjects", u"1", u"-2147483648"},
                {u"-2147483638", u"Open orders", u"5", u"16"},
                {u"75", u"Form", u"-32768", u"0"}});
  CAccessTable& orders = AddTable(74);
  orders.keepFlag = 0;
  const CAccessTable& form = AddTable(75);
  CAccessTable& unknown = AddTable(76);
  unknown.keepFlag = 0;

  EXPECT_TRUE(Scan());
  EXPECT_EQ(orders.name, u"Orders");
  EXPECT_EQ(orders.keepFlag, 1);
  EXPECT_EQ(form.name, u"Form") << "the type does not matter";
  EXPECT_EQ(Tables().FindTable(0x2000)->name, u"MSysObjects");
  EXPECT_EQ(unknown.name, u"");
  EXPECT_EQ(unknown.keepFlag, 0);
  std::vector<Row> queries;
  for (const auto* object = m_data.GetQueryObjects().GetHead(); object != nullptr; object = object->GetNext())
    queries.push_back({object->GetName(), object->GetId(), object->GetType()});
  EXPECT_EQ(queries, (std::vector<Row>{{u"Open orders", u"-2147483638", u""},
                                       {u"Open orders", u"-2147483638", u"16"}}));
  EXPECT_EQ(CStatusProgress::Instance().GetText(),
            u"(Step 4/4)Scanning table name from raw table data...Form");
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 4);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 4);
  EXPECT_EQ(LostTables(), 0U);
}

TEST_F(TableNaming, AnIdMatchesTheFirstTableAndOnlyAsText) {
  AddCatalogue({{u"74", u"good", u"2", u""},
                {u"074", u"zero", u"2", u""},
                {u"+74", u"plus", u"2", u""},
                {u"74 ", u"blank", u"2", u""},
                {u"4294967370", u"2^32 + 74", u"2", u""},
                {u"", u"empty", u"2", u""}});
  const CAccessTable& first = AddTable(74);
  const CAccessTable& second = AddTable(74);
  EXPECT_TRUE(Scan());
  EXPECT_EQ(first.name, u"good");
  EXPECT_EQ(second.name, u"");
}

TEST_F(TableNaming, ARowThatEndsAfterItsIdEmptiesTheName) {
  // The four values are used as they come: a table takes the still empty name first.
  AddCatalogue({{u"74", u"Orders", u"1", u"0"}}, {{u"74"}});
  const CAccessTable& orders = AddTable(74);
  EXPECT_TRUE(Scan());
  EXPECT_EQ(orders.name, u"");
  EXPECT_EQ(orders.keepFlag, 1);
}

TEST_F(TableNaming, TablesThatTheCatalogueAloneKnowsAreLost) {
  m_pageSize = 2048;
  AddCatalogue({{u"74", u"Gone", u"1", u"0"},
                {u"75", u"Linked", u"6", u"0"},
                {u"76", u"Linked too", u"4", u"0"},
                {u"-5", u"Odd", u"1", u"0"},
                {u"2", u"MSysObjects", u"1", u"0"}});
  EXPECT_TRUE(Scan());
  ASSERT_EQ(LostTables(), 1U);
  EXPECT_EQ(m_data.GetLedger().GetPlaces(EDamage::LostTable)[0].page, 74U);
}

TEST_F(TableNaming, NoMoreRowsAreReadThanWereDecoded) {
  CAccessTable& catalogue = AddCatalogue({{u"74", u"First", u"2", u""}, {u"75", u"Second", u"2", u""}});
  catalogue.header.rowCount = 1;
  const CAccessTable& first = AddTable(74);
  const CAccessTable& second = AddTable(75);
  EXPECT_TRUE(Scan());
  EXPECT_EQ(first.name, u"First");
  EXPECT_EQ(second.name, u"");
  catalogue.header.rowCount = 0xFFFF'FFFF;
  EXPECT_TRUE(Scan());
  EXPECT_EQ(second.name, u"Second");
}

TEST_F(TableNaming, WithoutACatalogueOrWhenStoppedNothingIsNamed) {
  EXPECT_FALSE(Scan());
  const CAccessTable& catalogue = AddCatalogue({{u"2", u"MSysObjects", u"1", u"0"}});
  CRepairingFileStatus::Instance().SetRunning(false);
  EXPECT_FALSE(Scan());
  m_parser.NameUnnamedTables(Tables(), true);
  EXPECT_EQ(catalogue.name, u"");
  CRepairingFileStatus::Instance().SetRunning(true);
  CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(0x2000);
  EXPECT_FALSE(Scan());
}

TEST_F(TableNaming, UnnamedTablesAreNamedByTheirPlaceOrNumbered) {
  const auto namesOf = [this](bool isJet4Pages) {
    CAccessTableList tables{GetWorkFolder()};
    for (const uint64_t key : std::vector<uint64_t>{0x3000, 0x2000, 0x10000, 0xB000, 0x1800, 0x99000})
      tables.AddTable(key);
    tables.GetAt(5)->name = u"Named";
    m_parser.NameUnnamedTables(tables, isJet4Pages);
    Row names;
    for (const auto& table : tables)
      names.push_back(table->name +
                      std::array{u"", u"~", u"?", u"!"}[static_cast<size_t>(table->nameSource)]);
    return names;
  };
  EXPECT_EQ(namesOf(true), (Row{u"MSysACEs?", u"MSysObjects?", u"MSysAccessObjects?", u"RecoveredTable###0!",
                                u"RecoveredTable###1!", u"Named"}));
  EXPECT_EQ(namesOf(false), (Row{u"RecoveredTable###0!", u"MSysQueries?", u"RecoveredTable###1!",
                                 u"MSysModules2?", u"MSysACEs?", u"Named"}));
  // A name from the catalogue is better, but for the tables that every file has.
  CAccessTable& objects = AddTable(2);
  objects.name = u"Forms";
  for (const std::u16string column : {u"ACM", u"FInheritable", u"ObjectId", u"SID"})
    AddColumn(objects, kTypeText, column);
  CAccessTableDataFileParser(kExactRules, ShownJob()).NameUnnamedTables(Tables(), true);
  EXPECT_EQ(objects.name, u"MSysACEs");
  CAccessTable& table = AddTable(3);
  m_parser.NameUnnamedTables(Tables(), true);
  EXPECT_FALSE(m_parser.AssignTableName(Tables(), u"No", u"1", m_pageSize));
  EXPECT_TRUE(m_parser.AssignTableName(Tables(), u"Yes", u"3", m_pageSize));
  EXPECT_EQ(table.name, u"Yes");
  EXPECT_EQ(table.nameSource, ENameSource::Catalogue);
}

TEST_F(TableNaming, OtherPlacesNameWhatTheCatalogueLost) {
  const auto addTable = [this](uint64_t page, const Row& columns, const std::vector<Row>& rows) -> auto& {
    CAccessTable& table = AddTable(page);
    for (const std::u16string& column : columns) AddColumn(table, kTypeText, column);
    WriteRows(table.GetDefinitionOffset(), rows);
    return table;
  };
  AddCatalogue({{u"74", u"Orders", u"1", u"0"}, {u"-7", u"Listed", u"5", u"0"}});
  AddTable(74);
  addTable(4, {u"ObjectId"}, {{u"-7"}, {u"-5"}, {u"-5"}, {u"-8"}});
  addTable(5, {u"szRelationship", u"szObject", u"szReferencedObject"},
           {{u"Buys", u"Purchases", u"Customers"}, {u"Unknown", u"X", u"Y"}});
  addTable(60, {u"Id", u"Name", u"Type"},
           {{u"75", u"ORDERS", u"1"},
            {u"76", u"One", u"1"},
            {u"76", u"Two", u"1"},
            {u"77", u"Old", u"1"},
            {u"79", u"Items", u"1"},
            {u"80", u"Query", u"5"},
            {u"-5", u"Open orders", u"5"},
            {u"-6", u"Its rows are gone", u"5"},
            {u"-7", u"Renamed", u"5"},
            {u"9", u"Entry", u"32768"}});
  for (uint64_t page = 75; page <= 80; page++) AddTable(page);
  Tables().GetAt(7)->foreignKeys = {{u"Buys", 78}};

  EXPECT_TRUE(Scan());
  const CTempFile file(CDatabaseBuilder(kLayoutJet4).Build());
  CSource source;
  source.Open(file.GetPath());
  RestoreLostNames(m_data, source, ShownJob());
  Row names;
  for (uint32_t page = 74; page <= 80; page++) names.push_back(Tables().FindTable(page * m_pageSize)->name);
  // Taken, told in two ways, told by a relationship as well, its other table, told by the pane, no table.
  EXPECT_EQ(names, (Row{u"Orders", u"", u"", u"Purchases", u"Customers", u"Items", u""}));
  EXPECT_EQ(m_data.GetLedger().GetCount(EDamage::RestoredName), 3U);
  Row queries;
  for (const auto* object = m_data.GetQueryObjects().GetHead(); object != nullptr; object = object->GetNext())
    if (object->IsRestored()) queries.push_back(object->GetId() + u" " + object->GetName());
  EXPECT_EQ(queries, (Row{u"-5 Open orders"}));
  ASSERT_EQ(m_data.GetOtherObjects().size(), 1U);
  EXPECT_EQ(m_data.GetOtherObjects()[0].name, u"Entry");
}

TEST_F(TableNaming, PropertiesFindTheirTableByItsColumns) {
  const auto stored = [](std::u16string_view text) {
    const Bytes bytes = StoredText(text, kLayoutJet4);
    return std::string(bytes.begin(), bytes.end());
  };
  Bytes map(44);
  for (const Bytes& part : {StoredText(u"Pets", kLayoutJet4), Little(0, 6)})
    map.insert(map.end(), part.begin(), part.end());
  const std::vector<SPropertyOwner> owners{
      {kPropertiesOfObject, {}, {{stored(u"NameMap"), 0, kTypeOle, map}}},
      {kPropertiesOfColumn, stored(u"Name"), {{stored(u"Caption"), 0, kTypeText, Little('N', 2)}}},
      {kPropertiesOfColumn, stored(u"Age"), {}}};
  const Bytes blob = EncodePropertyBlob(false, owners);
  // A chain of two pieces, and a piece that leads back into it.
  CDatabaseBuilder builder(kLayoutJet4);
  const auto piece = [&](uint32_t next, size_t from, size_t to) {
    Bytes row = Little(next, 4);
    row.insert(row.end(), blob.begin() + static_cast<ptrdiff_t>(from),
               blob.begin() + static_cast<ptrdiff_t>(to));
    return row;
  };
  const uint32_t last = builder.AddDataPage(kOwnerLongValues, {{piece(0, 100, blob.size())}});
  builder.AddDataPage(kOwnerLongValues, {{piece(last << 8, 0, 100)}, {piece(last << 8, 0, 4)}});
  const CTempFile file(builder.Build());
  CSource source;
  source.Open(file.GetPath());

  CAccessTable& pets = AddTable(74);
  for (const char16_t* const column : {u"Age", u"Name"}) AddColumn(pets, kTypeText, column);
  AddColumn(AddTable(75), kTypeText, u"Age");
  RestoreLostNames(m_data, source, ShownJob());
  EXPECT_EQ(pets.name, u"Pets");
  EXPECT_EQ(Tables().GetAt(1)->name, u"");
  EXPECT_EQ(TextOf(FindProperty(pets.columns.GetAt(1)->properties, u"Caption")), u"N");

  // Of two tables with these columns nobody knows which one the properties mean.
  pets.name.clear();
  AddColumn(*Tables().GetAt(1), kTypeText, u"Name");
  RestoreLostNames(m_data, source, ShownJob());
  EXPECT_EQ(pets.name, u"");
}

}  // namespace
}  // namespace tolvane
