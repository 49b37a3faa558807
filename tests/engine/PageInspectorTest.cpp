#include <vector>

#include "engine/PageInspector.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class PageInspectorOfBoth : public CAllFormats {
 protected:
  PageInspectorOfBoth() {
    table = file.AddTable(SmallTable());
    rows = file.AddDataPage(table, {{SmallRow(layout, 1, u"Ann")}, {SmallRow(layout, 2, u"Bob")}});
    leaf = file.AddIndexLeaf(table, {Bytes(9, 0x7F), Bytes(9, 0x80)});
  }

  // The report on one page.
  SPageReport Inspect(uint32_t page) {
    COpenedFile source(file.Build(), layout);
    reports.clear();
    EXPECT_TRUE(inspector.Inspect(source, [&](const SPageReport& r) { reports.push_back(r); }));
    EXPECT_EQ(reports.size(), file.GetPageCount());
    return reports.at(page);
  }
  uint64_t Damaged() const { return inspector.GetTotals().Of(EPageVerdict::Damaged); }

  CDatabaseBuilder file{layout};
  uint32_t table = 0;
  uint32_t rows = 0;
  uint32_t leaf = 0;
  CPageInspector inspector{ShownJob()};
  std::vector<SPageReport> reports;
};
INSTANTIATE_TEST_SUITE_P(Formats, PageInspectorOfBoth, testing::Values(&kLayoutJet3, &kLayoutJet4),
                         FormatName);

TEST_P(PageInspectorOfBoth, SoundPagesAreWhatTheyAre) {
  STableSpec wide;
  for (int i = 0; i < 250; i++) wide.AddFixed(u"SomeColumn", kTypeLong, 4);
  const uint32_t definition = file.AddTable(wide);
  const uint32_t longValues = file.AddDataPage(kOwnerLongValues, {{Bytes(100)}});
  Inspect(0);
  EXPECT_EQ(inspector.GetTotals().Of(EPageVerdict::Ok), file.GetPageCount());
  const std::pair<uint32_t, EPageKind> kinds[] = {{0, EPageKind::Header},
                                                  {1, EPageKind::UsageMap},
                                                  {2, EPageKind::Definition},
                                                  {3, EPageKind::Zero},
                                                  {rows, EPageKind::Data},
                                                  {leaf, EPageKind::IndexLeaf},
                                                  {definition + 1, EPageKind::DefinitionContinuation},
                                                  {longValues, EPageKind::LongValue}};
  for (const auto& [page, kind] : kinds) EXPECT_EQ(reports[page].kind, kind) << page;
  EXPECT_EQ(reports[rows].owner, table);
  EXPECT_EQ(reports[longValues].owner, SPageReport::kNoOwner);
}

TEST_P(PageInspectorOfBoth, NumbersThatContradictEachOtherAreDamage) {
  const uint32_t first = file.Page(rows).Get16(layout.data.slots);
  const uint32_t free = file.Page(rows).Get16(kFreeBytesOffset);
  using SLie = std::pair<uint32_t, uint32_t>;
  for (const auto& [position, value] :
       {SLie{layout.data.slotCount, 0xFFFF}, SLie{layout.data.slotCount, 3}, SLie{layout.data.slots, 4},
        SLie{layout.data.slots, first - 100}, SLie{kFreeBytesOffset, free + 1}}) {
    const uint32_t truth = file.Page(rows).Get16(position);
    file.Page(rows).Put16(position, value);
    EXPECT_EQ(Inspect(rows).verdict, EPageVerdict::Damaged) << position << " " << value;
    EXPECT_FALSE(reports[rows].reason.empty());
    EXPECT_EQ(Damaged(), 1u) << "one bad page is no other page's fault";
    file.Page(rows).Put16(position, truth);
  }
}

TEST_P(PageInspectorOfBoth, OtherDamage) {
  file.Page(leaf).Put8(layout.index.mask + 4, 0xFF);
  EXPECT_EQ(Inspect(leaf).verdict, EPageVerdict::Damaged);
  file.Page(table).Put32(kDefinitionNext, rows);
  EXPECT_EQ(Inspect(table).verdict, EPageVerdict::Damaged);
  file.Page(table).Put32(kDefinitionNext, 0).Put16(layout.definition.columnCount, 900);
  EXPECT_EQ(Inspect(table).verdict, EPageVerdict::Damaged);
  file.Page(4).Fill(0x66);
  EXPECT_EQ(Inspect(4).kind, EPageKind::Unknown);
  EXPECT_EQ(Damaged(), 3u);
}

TEST_P(PageInspectorOfBoth, PagesOfALostTableAreOrphans) {
  file.Page(table).Fill(0);
  EXPECT_EQ(Inspect(rows).verdict, EPageVerdict::Orphan);
  EXPECT_EQ(reports[leaf].verdict, EPageVerdict::Orphan);
  EXPECT_EQ(Damaged(), 0u);
  // The catalogue's rows are read by a definition that needs no page.
  const uint32_t catalogue = file.AddCatalogueRow(table, u"People", 1);
  file.Page(kObjectsPage).Fill(0);
  EXPECT_EQ(Inspect(catalogue).verdict, EPageVerdict::Ok);
}

TEST_P(PageInspectorOfBoth, StopEndsTheWork) {
  COpenedFile source(file.Build());
  int count = 0;
  EXPECT_FALSE(inspector.Inspect(source, [&](const SPageReport&) {
    count++;
    CRepairingFileStatus::Instance().SetRunning(false);
  }));
  EXPECT_EQ(count, 1);
}

}  // namespace

}  // namespace tolvane
