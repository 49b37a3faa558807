// The walk over a table's pages: slots, moved rows, counts that lie, reports and stops.
#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

constexpr uint16_t kDeleted = 0xC000;
constexpr uint16_t kMoved = kSlotHidden;

class RecordParser : public CRowTest {
 protected:
  void SetUp() override {
    CRowTest::SetUp();
    StartText(kLayoutJet4);
  }
  void StartText(const SLayout& newLayout) {
    Start(newLayout);
    AddVariable(kTypeText, 0, 0);
  }
  Bytes Row(std::u16string_view text) const { return OneColumnRow(StoredText(text, *layout)); }
};

// The same over both formats.
class RecordParserOfBoth : public RecordParser, public testing::WithParamInterface<const SLayout*> {
 protected:
  void SetUp() override {
    CRowTest::SetUp();
    StartText(*GetParam());
  }
};
INSTANTIATE_TEST_SUITE_P(Formats, RecordParserOfBoth, testing::Values(&kLayoutJet3, &kLayoutJet4),
                         FormatName);

TEST_P(RecordParserOfBoth, LiveRowsOfAllPagesInTheirOrder) {
  table->header.rowCount = 77;
  Put(5, NewPage().Row(Row(u"one")).Row(Row(u"two")).Row(Row(u"gone"), kDeleted).Row(Row(u"three")));
  Put(4, NewPage().Row({}, kDeleted).Row(Row(u"hidden"), kMoved).Row(Row(u"four")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"one", "two", "three", "four"}));
  EXPECT_EQ(table->header.rowCount, 4u);
  EXPECT_EQ(table->promisedRows, 77u);
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_P(RecordParserOfBoth, MovedRowsAreFollowedForOneHop) {
  Put(4, NewPage()
             .Row(MakePointerRow(5, 1), kSlotPointer)
             .Row(Row(u"here"))
             .Row(MakePointerRow(5, 0), kSlotPointer));
  Put(5, NewPage().Row(Row(u"first"), kMoved).Row(Row(u"second"), kMoved), false);
  Parse();
  EXPECT_EQ(Values(), (Texts{"second", "here", "first"}));
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_P(RecordParserOfBoth, PointersThatLeadNowhereCostOneRow) {
  Put(4, NewPage()
             .Row(MakePointerRow(0xFFFFFF, 0), kSlotPointer)  // behind the file
             .Row(MakePointerRow(6, 0), kSlotPointer)         // no data page
             .Row(MakePointerRow(5, 7), kSlotPointer)         // no such slot
             .Row(Row(u"kept"))
             .Slot(kSlotPointer | (layout->pageSize - 2)));  // cut by the page end
  Put(5, NewPage().Row(Row(u"unused")), false);
  pages[6] = Bytes(layout->pageSize, 2);
  Parse();
  EXPECT_EQ(Values(), (Texts{"kept"}));
  ASSERT_EQ(Lost(EDamage::BrokenOverflow), 4u);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::BrokenOverflow)[2].row, 2);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::BrokenOverflow)[2].page, 4u);
}

TEST_P(RecordParserOfBoth, TheRowCountOfAPageIsNotTrusted) {
  CTestPage above = NewPage().Row(Row(u"lost"));
  above.Put16(layout->data.slotCount, layout->pageSize + 1);
  CTestPage full = NewPage().Row(Row(u"found"));
  full.Put16(layout->data.slotCount, layout->pageSize);
  Put(4, above);
  Put(5, full);
  Put(6, NewPage().Row(Row(u"next")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"found", "next"}));
  EXPECT_EQ(Lost(EDamage::BrokenPage), 2u);
}

// Every byte of a page's head, slots and rows is set to several values: no crash, and rows stay whole.
TEST_P(RecordParserOfBoth, NoByteOfAPageBreaksTheWalk) {
  Put(4, NewPage().Row(Row(u"one")).Row(MakePointerRow(5, 0), kSlotPointer).Row(Row(u"two")));
  Put(5, NewPage().Row(Row(u"moved"), kMoved), false);
  const Bytes sound = pages[4];
  for (size_t at = 0; at < sound.size(); at++) {
    if (at >= 24 && at < sound.size() - 48) continue;
    for (const uint8_t value : {uint8_t{0}, uint8_t{1}, uint8_t{0x7F}, uint8_t{0xFF}}) {
      pages[4] = sound;
      pages[4][at] = value;
      Parse();
      ASSERT_EQ(Values().size(), table->header.rowCount) << at << " = " << int{value};
      ASSERT_LE(table->header.rowCount, 100u) << at << " = " << int{value};
    }
  }
}

TEST_F(RecordParser, SlotsThatHoldNoRowCostThatRow) {
  Put(4, NewPage()
             .Row(Row(u"one"))
             .Row({})
             .Row(MakePointerRow(4, 2), kSlotPointer)  // to itself, and so to another pointer
             .Row(Row(u"two")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"one", "two"}));
  EXPECT_EQ(Lost(EDamage::RejectedRow), 2u);
}

TEST_F(RecordParser, RowsThatOverlapCannotFloodTheOutput) {
  // Every other slot claims nearly the whole page.
  CTestPage page = NewPage();
  for (int i = 0; i < 1000; i++) page.Slot(2100).Slot(4000);
  page.PutBytes(2100, Row(u"row")).Put8(3999, 1);  // null mask of the long rows
  Put(4, page);
  Parse();
  EXPECT_GT(table->header.rowCount, 0u);
  EXPECT_LE(table->header.rowCount, 8u * 4096 / 1900);
  EXPECT_GT(Lost(EDamage::RejectedRow), 900u);
}

TEST_F(RecordParser, APageBehindTheFileEndsTheTableOnly) {
  CAccessTable& first = *table;
  first.dataPages.Add(uint64_t{4096} * 900);
  table = &data->GetTables().AddTable(uint64_t{9} * 4096);
  AddVariable(kTypeText, 0, 0);
  Put(4, NewPage(9).Row(Row(u"next table")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"next table"}));
  EXPECT_EQ(first.header.rowCount, 0u);
}

TEST_F(RecordParser, HiddenRowsWithoutAPointerAreRowsWhereTheRulesSaySo) {
  rules.skipHiddenRows = false;
  rules.trustOverflowTarget = false;
  Put(4, NewPage().Row(MakePointerRow(5, 0), kSlotPointer).Row(MakePointerRow(6, 0), kSlotPointer));
  Put(5, NewPage().Row(Row(u"moved"), kMoved).Row(Row(u"orphan"), kMoved).Row(Row(u"gone"), kDeleted));
  Put(6, NewPage(77).Row(Row(u"another table's"), kMoved), false);
  Parse();
  EXPECT_EQ(Values(), (Texts{"moved", "orphan"}));
  EXPECT_EQ(Lost(EDamage::BrokenOverflow), 1u);
}

TEST_F(RecordParser, ReportsEachTableAndEachRowUntilTheRunIsStopped) {
  table->header.rowCount = 3'000'000'000u;
  data->GetTables().AddTable(uint64_t{9} * 4096).header.rowCount = 5;
  Put(4, NewPage().Row(Row(u"one")).Row(Row(u"two")));
  CProgressStatus::Instance().SetPos(7);
  CRepairingFileStatus::Instance().SetRunning(false);
  Parse();
  EXPECT_EQ(table->header.rowCount, 3'000'000'000u);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
  CRepairingFileStatus::Instance().SetRunning(true);
  Parse();
  EXPECT_EQ(StatusText(), "(Step 3/4) Parsing table records from raw table data: table - 2 / 2");
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 2147483647);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 2147483647);
}

TEST_F(RecordParser, ATableThatCannotBeStoredIsLoggedAndCounted) {
  Put(4, NewPage().Row(Row(u"one")));
  ASSERT_TRUE(CreateFolder(table->GetDataFilePath()));  // in the way of the file
  Parse();
  EXPECT_EQ(table->header.rowCount, 0u);
  EXPECT_EQ(Lost(EDamage::SkippedTable), 1u);
  EXPECT_NE(CRepairLog::Instance().Get().find(u"Records of table 3 could not be stored: "),
            std::u16string::npos);
}

}  // namespace
}  // namespace tolvane
