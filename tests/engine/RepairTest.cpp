// Whole runs over small databases.

#include "engine/AccessRepair.h"
#include "store/FileNameManager.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class Repair : public CAllFormats {
 protected:
  // A table "People" with two rows and its row in the catalogue.
  Repair() {
    STableSpec people = SmallTable();
    people.rowCount = 2;
    table = file.AddTable(people);
    rows = file.AddDataPage(table, {{SmallRow(layout, 1, u"Ann")}, {SmallRow(layout, 2, u"Bob")}});
    file.AddCatalogueRow(table, u"People", 1);
  }

  CAccessData* Run(const Bytes& bytes) {
    const CTempFile source(bytes);
    repair.Repair(source.GetPath(), u"", source.GetPath());
    EXPECT_EQ(source.Read(), bytes) << "the source was changed";
    return repair.GetData();
  }
  CAccessData* Run() { return Run(file.Build()); }

  CDatabaseBuilder file{layout};
  uint32_t table = 0;
  uint32_t rows = 0;
  CAccessRepair repair{kStandardRules, ShownJob()};
};
INSTANTIATE_TEST_SUITE_P(Formats, Repair, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

TEST_P(Repair, SoundFileComesBackWhole) {
  const CAccessData* const data = Run();
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->source.isJet3, layout.isJet3);
  EXPECT_EQ(data->source.pageCount, file.GetPageCount());
  ASSERT_EQ(data->GetTables().GetCount(), 2u);
  EXPECT_EQ(data->GetTables().GetAt(0)->name, u"MSysObjects");
  const CAccessTable* const people = TableNamed(*data, u"People");
  ASSERT_NE(people, nullptr);
  EXPECT_EQ(people->header.rowCount, 2u);
  EXPECT_EQ(people->columns.GetCount(), 2u);
  EXPECT_TRUE(data->GetLedger().IsClean());
  EXPECT_EQ(StatusText(), "(Step 4/4)Scanning table name from raw table data...People");
  EXPECT_EQ(ToUtf8(CRepairLog::Instance().Get()),
            "Scanning file for table definition...\r\nScanning file for table data...\r\n"
            "Parsing file data for table fields...\r\nParsing file data for table name...");
  EXPECT_TRUE(FileExists(CFileNameManager(GetWorkFolder()).GetDataFilePath(people->GetDefinitionOffset())));
}

TEST_P(Repair, NewRunReplacesTheOldOneAndItsFiles) {
  const std::u16string path = CFileNameManager(GetWorkFolder()).GetDataFilePath(file.OffsetOf(table));
  Run();
  ASSERT_TRUE(FileExists(path));
  ASSERT_NE(Run(Bytes(file.OffsetOf(3))), nullptr);
  EXPECT_EQ(repair.GetData()->GetTables().GetCount(), 1u);
  EXPECT_FALSE(FileExists(path));
  // Also where it is stopped, which leaves no result, or where the file cannot be opened.
  Run();
  CRepairingFileStatus::Instance().SetRunning(false);
  EXPECT_EQ(Run(), nullptr);
  EXPECT_FALSE(FileExists(path));
  EXPECT_EQ(CRepairLog::Instance().Get(), u"") << "the log of the run before is gone";
  CRepairingFileStatus::Instance().SetRunning(true);
  repair.Repair(u"/no/such/file", u"", u"/no/such/file");
  ASSERT_NE(repair.GetData(), nullptr);
  EXPECT_EQ(repair.GetData()->GetTables().GetCount(), 0u);
}

TEST_P(Repair, WhatIsLostIsCounted) {
  file.AddCatalogueRow(77, u"Gone", 1);
  const uint32_t unnamed = file.AddTable(SmallTable());
  file.Page(rows).Fill(0);
  file.Page(kObjectsPage).Fill(0);  // its definition is not needed
  const CAccessData* const data = Run();
  ASSERT_NE(data, nullptr);
  const CDamageLedger& ledger = data->GetLedger();
  EXPECT_EQ(ledger.GetCount(EDamage::LostTable), 1u);
  EXPECT_EQ(ledger.GetCount(EDamage::MissingRows), 2u);
  ASSERT_EQ(ledger.GetCount(EDamage::UnnamedTable), 1u);
  EXPECT_EQ(ledger.GetPlaces(EDamage::UnnamedTable)[0].page, unnamed);
  EXPECT_NE(TableNamed(*data, u"RecoveredTable###0"), nullptr);
  EXPECT_NE(TableNamed(*data, u"People"), nullptr);
}

TEST_P(Repair, BytesInFrontOfTheDatabaseAreSkippedWhereItsStartIsSure) {
  const auto isFound = [this](Bytes bytes, size_t inFront) {
    bytes.insert(bytes.begin(), inFront, 0xAB);
    const CAccessData* const data = Run(bytes);
    const bool hasPeople = TableNamed(*data, u"People") != nullptr;
    EXPECT_EQ(data->GetLedger().GetCount(EDamage::LeadingBytes), hasPeople ? inFront : 0u);
    return hasPeople;
  };
  const Bytes sound = file.Build();
  for (const size_t inFront : {size_t{1}, size_t{777}, size_t{layout.pageSize}, size_t{500'000}})
    EXPECT_TRUE(isFound(sound, inFront)) << inFront;
  EXPECT_FALSE(isFound(sound, size_t{2} << 20)) << "too far for a search";
  // The pages of a file without a header stay where they are, whatever its values hold.
  file.AddDataPage(table, {{SmallRow(layout, 3, u"Cid")}, {Bytes(sound.begin(), sound.begin() + 30)}});
  file.Page(0).Fill(0).Put8(kHeaderVersion, sound[kHeaderVersion]);
  EXPECT_TRUE(isFound(file.Build(), 0));
  file.Page(kObjectsPage).Fill(0);
  EXPECT_TRUE(isFound(file.Build(), 0));
  // Neither do they where another file's first pages were written over its last ones.
  Bytes mixed = file.Build();
  mixed.insert(mixed.end(), sound.begin(), sound.begin() + 3 * layout.pageSize);
  EXPECT_TRUE(isFound(mixed, 0));
}

}  // namespace

}  // namespace tolvane
