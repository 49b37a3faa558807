#include <vector>

#include "engine/TableScanner.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

using Pages = std::vector<uint64_t>;

class ScannerOfBoth : public CAllFormats {
 protected:
  Pages Candidates() const {
    Pages pages;
    for (const auto& table : data.GetTables())
      pages.push_back(table->GetDefinitionOffset() / layout.pageSize);
    return pages;
  }
  Pages FindTables() {
    scanner.ScanTableDefinitions(data, COpenedFile(file.Build(), layout));
    return Candidates();
  }
  void FindPages() { scanner.ScanDataPages(data, COpenedFile(file.Build(), layout)); }
  Pages WithoutContinuations() {
    scanner.DropContinuationDefinitions(data, COpenedFile(file.Build(), layout));
    return Candidates();
  }
  Pages PagesOf(uint32_t table) const {
    Pages pages;
    for (const uint64_t offset : data.GetTables().FindTable(uint64_t{table} * layout.pageSize)->dataPages)
      pages.push_back(offset / layout.pageSize);
    return pages;
  }
  uint64_t Lost(EDamage kind) const { return data.GetLedger().GetCount(kind); }

  CTableScanner scanner{kStandardRules, ShownJob()};
  CAccessData data{kStandardRules, GetWorkFolder()};
  CDatabaseBuilder file{layout};
};
INSTANTIATE_TEST_SUITE_P(Formats, ScannerOfBoth, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

// The catalogue comes first and once, whatever its page holds. Jet 3 asks for the two letters and not for the
// type, Jet 4 the other way round.
TEST_P(ScannerOfBoth, OnlyTheFormatsOwnMarksStartATable) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t odd = file.AddTable(SmallTable());
  file.Page(odd).Put8(layout.definition.tableType, 'X');
  const uint32_t unmarked = file.AddTable(SmallTable());
  file.Page(unmarked).Put16(2, 0);
  file.Page(file.AddTable(SmallTable())).Put8(1, 0);
  const Pages expected{2, table, layout.isJet3 ? odd : unmarked};
  EXPECT_EQ(FindTables(), expected);
  data.GetTables().Clear();
  file.Page(kObjectsPage).Fill(0xFF);
  EXPECT_EQ(FindTables(), expected);
}

TEST_P(ScannerOfBoth, PartialLastPageIsNoPage) {
  const uint32_t table = file.AddTable(SmallTable());
  Bytes bytes = file.Build();
  bytes.pop_back();
  COpenedFile source(bytes, layout);
  scanner.ScanTableDefinitions(data, source);
  EXPECT_EQ(Candidates(), Pages{2});
  scanner.ScanDataPages(data, source);
  EXPECT_EQ(Lost(EDamage::PartialPage), layout.pageSize - 1u);
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), static_cast<int32_t>(2 * table));
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), static_cast<int32_t>(2 * table));
}

TEST_P(ScannerOfBoth, FilesWithoutAPageHaveTheCatalogueOnly) {
  for (const auto& [length, status] : {std::pair{0, "0(kb) / 0(kb)"}, {1999, "0(kb) / 1(kb)"}}) {
    data.GetTables().Clear();
    scanner.ScanTableDefinitions(data, COpenedFile(Bytes(static_cast<size_t>(length), 2), layout));
    EXPECT_EQ(Candidates(), Pages{2});
    EXPECT_EQ(StatusText(), std::string("(Step 1/4)Scanning file for table definition: ") + status);
    EXPECT_EQ(CProgressStatus::Instance().GetMax(), 1);
  }
  data.GetTables().Clear();
  CSource closed;
  scanner.ScanTableDefinitions(data, closed);
  scanner.DropContinuationDefinitions(data, closed);
  scanner.ScanDataPages(data, closed);
  EXPECT_EQ(data.GetTables().GetCount(), 0u);
}

TEST_P(ScannerOfBoth, StatusEndsWithTheLastPage) {
  while (file.GetPageCount() < 130) file.AddPage();
  const std::string end = layout.isJet3 ? "264(kb) / 266(kb)" : "528(kb) / 532(kb)";
  FindTables();
  EXPECT_EQ(StatusText(), "(Step 1/4)Scanning file for table definition: " + end);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 130);
  FindPages();
  EXPECT_EQ(StatusText(), "(Step 2/4)Scanning file for table data: " + end);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 260);
}

// Pages whose owner cannot be leave the Jet 4 status line as it was.
TEST_P(ScannerOfBoth, StatusAfterPagesOfImpossibleOwners) {
  while (file.GetPageCount() < 100) file.AddDataPage(0x80000000, {});
  FindPages();
  EXPECT_EQ(StatusText(), std::string("(Step 2/4)Scanning file for table data: ") +
                              (layout.isJet3 ? "202(kb) / 204(kb)" : "20(kb) / 409(kb)"));
}

TEST_P(ScannerOfBoth, StopLeavesTheScanAtOnce) {
  file.AddTable(SmallTable());
  CRepairingFileStatus::Instance().SetRunning(false);
  EXPECT_EQ(FindTables(), Pages{2});
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
}

TEST_P(ScannerOfBoth, DataPagesGoToTheirOwnersOrAreOrphans) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t first = file.AddDataPage(table, {});
  const uint32_t catalogued = file.AddDataPage(kObjectsPage, {});
  const uint32_t second = file.AddDataPage(table, {});
  const uint32_t unformatted = file.AddDataPage(table, {});
  file.Page(unformatted).Put8(1, 0);
  file.Page(kObjectsPage).Fill(0);  // its rows are found all the same
  const uint32_t noTable = file.AddPage();
  file.Page(noTable).PutBytes(0, Bytes{kPageDefinition, kPageFormatted});  // no candidate
  Pages orphans;
  for (const uint32_t owner : {noTable, 3u, 0x00FFFFFFu, 0xFFFFFFFFu})
    orphans.push_back(file.AddDataPage(owner, {}));
  file.AddDataPage(kOwnerLongValues, {});
  file.AddDataPage(kOwnerMaps, {});
  FindTables();
  FindPages();
  EXPECT_EQ(PagesOf(table), (Pages{first, second}));
  EXPECT_EQ(PagesOf(kObjectsPage), Pages{catalogued});
  Pages counted;
  for (const auto& place : data.GetLedger().GetPlaces(EDamage::OrphanDataPage)) counted.push_back(place.page);
  EXPECT_EQ(counted, orphans);
}

// A definition in the header's place may own pages in a Jet 4 file only.
TEST_P(ScannerOfBoth, OwnerZero) {
  file.Page(0).PutBytes(0, MakeDefinition(SmallTable(), layout));
  const uint32_t page = file.AddDataPage(0, {});
  FindTables();
  FindPages();
  EXPECT_EQ(PagesOf(0), layout.isJet3 ? Pages{} : Pages{page});
}

TEST_P(ScannerOfBoth, FreePagesAreNoLoss) {
  // Slot 0 of page 1 is the inline map; its bits stand behind five bytes, and it ends with the page.
  const size_t map = layout.pageSize - (layout.isJet3 ? 133 : 69);
  const uint32_t bits = file.AddPage();
  const uint32_t freed = file.AddDataPage(3, {});
  const auto check = [&] {
    COpenedFile source(file.Build(), layout);
    scanner.ScanDataPages(data, source);
    EXPECT_EQ(Lost(EDamage::OrphanDataPage), 0u);
    const CFreePageMap& free = source->GetFreePages();
    EXPECT_TRUE(free.IsFree(freed));
    EXPECT_FALSE(free.IsFree(freed - 1));
    EXPECT_FALSE(free.IsFree(~uint64_t{0}));
  };
  file.Page(kGlobalMapPage).Put8(map + 5 + freed / 8, 1u << freed % 8);
  check();
  // Or the bits stand on pages of their own.
  file.Page(bits).Put8(0, kPageMap).Put8(1, kPageFormatted).Put8(4 + freed / 8, 1u << freed % 8);
  file.Page(kGlobalMapPage).Put8(map, 1).Put32(map + 1, bits).Put32(map + 5, 0xFFFFFFFF);
  check();
}

TEST_P(ScannerOfBoth, ContinuationsAreDropped) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t continuation = file.AddTable(SmallTable());
  const uint32_t third = file.AddTable(SmallTable());
  file.Page(table).Put32(kDefinitionNext, continuation);
  EXPECT_EQ(FindTables(), (Pages{2, table, continuation, third}));
  CAccessData beyondTheFile{kStandardRules, GetWorkFolder()};
  for (const uint64_t offset : {file.OffsetOf(table), file.OffsetOf(continuation), uint64_t{1} << 40})
    beyondTheFile.GetTables().AddTable(offset);
  EXPECT_EQ(WithoutContinuations(), (Pages{2, table, third}));
  scanner.DropContinuationDefinitions(beyondTheFile, COpenedFile(file.Build(), layout));
  EXPECT_EQ(beyondTheFile.GetTables().GetCount(), 3u) << "nothing when a candidate lies beyond the file";
  // A link from outside counts also where the continuation leads back to itself.
  file.Page(continuation).Put32(kDefinitionNext, continuation);
  data.GetTables().Clear();
  FindTables();
  EXPECT_EQ(WithoutContinuations(), (Pages{2, table, third}));
}

TEST_P(ScannerOfBoth, ADefinitionThatLeadsBackToItsStartStays) {
  const uint32_t alone = file.AddTable(SmallTable());
  file.Page(alone).Put32(kDefinitionNext, alone);
  const uint32_t second = file.AddTable(SmallTable());
  const uint32_t first = file.AddTable(SmallTable());
  file.Page(first).Put32(kDefinitionNext, second);
  file.Page(second).Put32(kDefinitionNext, first);
  // Only Jet 3 takes a page for a definition that does not name the kind of its table.
  if (layout.isJet3) file.Page(second).Put8(layout.definition.tableType, 0);
  FindTables();
  EXPECT_EQ(WithoutContinuations(), (Pages{2, alone, layout.isJet3 ? first : second}));
}

}  // namespace

}  // namespace tolvane
