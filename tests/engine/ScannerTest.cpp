#include <vector>

#include "engine/FreePageMap.h"
#include "engine/TableScanner.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class ScannerOfBoth : public CBothFormats {
 protected:
  std::vector<uint64_t> Candidates() const {
    std::vector<uint64_t> pages;
    for (const auto& table : data.GetTables())
      pages.push_back(table->GetDefinitionOffset() / layout.pageSize);
    return pages;
  }
  void FindTables(const CTempFile& source) { scanner.ScanTableDefinitions(data, source.GetPath()); }
  void FindPages(const CTempFile& source) { scanner.ScanDataPages(data, source.GetPath()); }
  std::vector<uint64_t> PagesOf(uint32_t table) const {
    std::vector<uint64_t> pages;
    for (const uint64_t offset : data.GetTables().FindTable(uint64_t{table} * layout.pageSize)->dataPages)
      pages.push_back(offset / layout.pageSize);
    return pages;
  }
  uint64_t Lost(EDamage kind) const { return data.GetLedger().GetCount(kind); }

  CTableScanner scanner{layout, kStandardRules};
  CAccessData data;
  CDatabaseBuilder file{layout};
};
INSTANTIATE_TEST_SUITE_P(Formats, ScannerOfBoth, testing::Values(&kJet3Layout, &kJet4Layout), FormatName);

TEST_P(ScannerOfBoth, CatalogueComesFirstAndOnce) {
  const uint32_t table = file.AddTable(SmallTable());
  FindTables(CTempFile(file.Build()));
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2, table}));
}

TEST_P(ScannerOfBoth, CatalogueIsACandidateWhateverItsPageHolds) {
  file.Page(kCataloguePage).Fill(0xFF);
  FindTables(CTempFile(file.Build()));
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2}));
}

TEST_P(ScannerOfBoth, OnlyTheFormatsOwnMarksStartATable) {
  const uint32_t odd = file.AddTable(SmallTable());
  file.Page(odd).Put8(layout.definition.tableType, 'X');
  const uint32_t unmarked = file.AddTable(SmallTable());
  file.Page(unmarked).Put16(2, 0);
  const uint32_t other = file.AddTable(SmallTable());
  file.Page(other).Put8(1, 0);
  FindTables(CTempFile(file.Build()));
  // Jet 3 asks for the two letters and not for the type, Jet 4 the other way round.
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2, layout.isJet3 ? odd : unmarked}));
}

TEST_P(ScannerOfBoth, PartialLastPageIsNoPage) {
  const uint32_t table = file.AddTable(SmallTable());
  Bytes bytes = file.Build();
  bytes.pop_back();
  const CTempFile source(bytes);
  FindTables(source);
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2}));
  FindPages(source);
  EXPECT_EQ(Lost(EDamage::PartialPage), 1u);
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), static_cast<int32_t>(2 * table));
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), static_cast<int32_t>(2 * table));
}

TEST_P(ScannerOfBoth, FilesWithoutAPageHaveTheCatalogueOnly) {
  FindTables(CTempFile(Bytes{}));
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2}));
  EXPECT_EQ(StatusText(), "(Step 1/4)Scanning file for table definition: 0(kb) / 0(kb)");
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 1);

  data.GetTables().Clear();
  FindTables(CTempFile(Bytes(1999, 2)));
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2}));
  EXPECT_EQ(StatusText(), "(Step 1/4)Scanning file for table definition: 0(kb) / 1(kb)");
}

TEST_P(ScannerOfBoth, FileThatCannotBeOpenedDoesNothing) {
  scanner.ScanTableDefinitions(data, u"/no/such/file");
  scanner.DropContinuationDefinitions(data, u"/no/such/file");
  scanner.ScanDataPages(data, u"/no/such/file");
  EXPECT_EQ(data.GetTables().GetCount(), 0u);
}

TEST_P(ScannerOfBoth, StatusEndsWithTheLastPage) {
  while (file.GetPageCount() < 130) file.AddPage();
  const CTempFile source(file.Build());
  const std::string end = layout.isJet3 ? "264(kb) / 266(kb)" : "528(kb) / 532(kb)";
  FindTables(source);
  EXPECT_EQ(StatusText(), "(Step 1/4)Scanning file for table definition: " + end);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 130);
  FindPages(source);
  EXPECT_EQ(StatusText(), "(Step 2/4)Scanning file for table data: " + end);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 260);
}

// Pages whose owner cannot be leave the Jet 4 status line as it was.
TEST_P(ScannerOfBoth, StatusAfterPagesOfImpossibleOwners) {
  while (file.GetPageCount() < 100) file.AddDataPage(0x80000000, {});
  FindPages(CTempFile(file.Build()));
  EXPECT_EQ(StatusText(), std::string("(Step 2/4)Scanning file for table data: ") +
                              (layout.isJet3 ? "202(kb) / 204(kb)" : "20(kb) / 409(kb)"));
}

TEST_P(ScannerOfBoth, StopLeavesTheScanAtOnce) {
  file.AddTable(SmallTable());
  const CTempFile source(file.Build());
  CRepairingFileStatus::Instance().SetRunning(false);
  FindTables(source);
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2}));
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
}

TEST_P(ScannerOfBoth, DataPagesGoToTheirOwners) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t first = file.AddDataPage(table, {});
  const uint32_t catalogued = file.AddDataPage(kCataloguePage, {});
  const uint32_t second = file.AddDataPage(table, {});
  const uint32_t unformatted = file.AddDataPage(table, {});
  file.Page(unformatted).Put8(1, 0);
  file.Page(kCataloguePage).Fill(0);  // its rows are found all the same
  const CTempFile source(file.Build());
  FindTables(source);
  FindPages(source);
  EXPECT_EQ(PagesOf(table), (std::vector<uint64_t>{first, second}));
  EXPECT_EQ(PagesOf(kCataloguePage), (std::vector<uint64_t>{catalogued}));
  EXPECT_TRUE(data.GetLedger().IsClean());
}

TEST_P(ScannerOfBoth, PagesWithoutATableAreOrphans) {
  const uint32_t noTable = file.AddPage();
  file.Page(noTable).PutBytes(0, Bytes{kPageDefinition, kPageFormatted});  // no candidate
  std::vector<uint64_t> orphans;
  for (const uint32_t owner : {noTable, 3u, 0x00FFFFFFu, 0xFFFFFFFFu})
    orphans.push_back(file.AddDataPage(owner, {}));
  file.AddDataPage(kLongValueOwner, {});
  file.AddDataPage(kUsageMapOwner, {});
  const CTempFile source(file.Build());
  FindTables(source);
  FindPages(source);
  std::vector<uint64_t> counted;
  for (const auto& place : data.GetLedger().GetPlaces(EDamage::OrphanDataPage)) counted.push_back(place.page);
  EXPECT_EQ(counted, orphans);
}

// A definition in the header's place may own pages in a Jet 4 file only.
TEST_P(ScannerOfBoth, OwnerZero) {
  file.Page(0).PutBytes(0, MakeDefinition(SmallTable(), layout));
  const uint32_t page = file.AddDataPage(0, {});
  const CTempFile source(file.Build());
  FindTables(source);
  FindPages(source);
  EXPECT_EQ(PagesOf(0), layout.isJet3 ? std::vector<uint64_t>{} : std::vector<uint64_t>{page});
}

// In template mode a table may be known whose page in the damaged file is gone.
TEST_P(ScannerOfBoth, DataPagesOfALostDefinitionAreOrphansInTemplateMode) {
  const uint32_t table = file.AddTable(SmallTable());
  file.AddDataPage(table, {});
  FindTables(CTempFile(file.Build()));
  file.Page(table).Fill(0);
  FindPages(CTempFile(file.Build()));
  EXPECT_TRUE(PagesOf(table).empty());
  EXPECT_EQ(Lost(EDamage::OrphanDataPage), 1u);
}

TEST_P(ScannerOfBoth, FreePagesAreNoLoss) {
  const uint32_t page = file.AddDataPage(3, {});
  // Slot 0 of page 1 is the inline map; its bits stand behind five bytes, and it ends with the page.
  const size_t map = layout.pageSize - (layout.isJet3 ? 133 : 69);
  file.Page(kGlobalMapPage).Put8(map + 5 + page / 8, 1u << page % 8);
  const CTempFile source(file.Build());
  FindTables(source);
  FindPages(source);
  EXPECT_EQ(Lost(EDamage::OrphanDataPage), 0u);

  CPageReader reader;
  ASSERT_TRUE(reader.Open(source.GetPath()));
  CFreePageMap map2;
  map2.Load(reader, layout);
  EXPECT_TRUE(map2.IsFree(page));
  EXPECT_FALSE(map2.IsFree(page - 1));
  EXPECT_FALSE(map2.IsFree(~uint64_t{0}));
}

TEST_P(ScannerOfBoth, MapOfFreePagesMayStandOnMapPages) {
  const uint32_t bits = file.AddPage();
  const uint32_t freed = file.AddDataPage(3, {});
  file.Page(bits).Put8(0, kPageMap).Put8(1, kPageFormatted).Put8(4 + freed / 8, 1u << freed % 8);
  const size_t map = layout.pageSize - (layout.isJet3 ? 133 : 69);
  file.Page(kGlobalMapPage).Put8(map, 1).Put32(map + 1, bits).Put32(map + 5, 0xFFFFFFFF);
  const CTempFile source(file.Build());
  CPageReader reader;
  ASSERT_TRUE(reader.Open(source.GetPath()));
  CFreePageMap free;
  free.Load(reader, layout);
  EXPECT_TRUE(free.IsFree(freed));
  EXPECT_FALSE(free.IsFree(bits));
}

TEST_P(ScannerOfBoth, ContinuationsAreDropped) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t continuation = file.AddTable(SmallTable());
  const uint32_t third = file.AddTable(SmallTable());
  file.Page(table).Put32(kNextPageOffset, continuation);
  const CTempFile source(file.Build());
  FindTables(source);
  scanner.DropContinuationDefinitions(data, source.GetPath());
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2, table, third}));
}

TEST_P(ScannerOfBoth, ADefinitionThatLeadsBackToItsStartStays) {
  const uint32_t alone = file.AddTable(SmallTable());
  file.Page(alone).Put32(kNextPageOffset, alone);
  const uint32_t second = file.AddTable(SmallTable()), first = file.AddTable(SmallTable());
  file.Page(first).Put32(kNextPageOffset, second);
  file.Page(second).Put32(kNextPageOffset, first);
  // Only Jet 3 takes a page for a definition that does not name the kind of its table.
  if (layout.isJet3) file.Page(second).Put8(layout.definition.tableType, 0);
  const CTempFile source(file.Build());
  FindTables(source);
  scanner.DropContinuationDefinitions(data, source.GetPath());
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2, alone, layout.isJet3 ? first : second}));
}

// The link from outside counts.
TEST_P(ScannerOfBoth, ARingThatContinuesAnotherDefinitionGoes) {
  const uint32_t table = file.AddTable(SmallTable()), ring = file.AddTable(SmallTable());
  file.Page(table).Put32(kNextPageOffset, ring);
  file.Page(ring).Put32(kNextPageOffset, ring);
  const CTempFile source(file.Build());
  FindTables(source);
  scanner.DropContinuationDefinitions(data, source.GetPath());
  EXPECT_EQ(Candidates(), (std::vector<uint64_t>{2, table}));
}

TEST_P(ScannerOfBoth, NothingIsDroppedWhenACandidateLiesBeyondTheFile) {
  const uint32_t table = file.AddTable(SmallTable());
  const uint32_t continuation = file.AddTable(SmallTable());
  file.Page(table).Put32(kNextPageOffset, continuation);
  const CTempFile source(file.Build());
  FindTables(source);
  data.GetTables().AddTable(file.OffsetOf(file.GetPageCount()) + 1);
  scanner.DropContinuationDefinitions(data, source.GetPath());
  EXPECT_EQ(data.GetTables().GetCount(), 4u);
}

}  // namespace

}  // namespace tolvane
