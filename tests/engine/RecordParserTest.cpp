// The walk over a table's pages: slots, moved rows, counts that lie, reports and stops.
#include "engine/RecordParser.h"

#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

// The row of a table whose only column is a text.
Bytes TextRow(const SJetLayout& layout, const std::string& text) {
  Bytes row = layout.isJet3 ? Hex("01") : Hex("0100");
  for (const char c : text) {
    row.push_back(static_cast<uint8_t>(c));
    if (!layout.isJet3) row.push_back(0);
  }
  const auto end = static_cast<uint8_t>(row.size());
  return Joined(row, layout.isJet3 ? Bytes{end, 1, 1, 1} : Bytes{end, 0, 2, 0, 1, 0, 1});
}

Bytes Pointer(uint32_t page, uint32_t slot) {
  Bytes row(4);
  PutLittle(row, 0, page << 8 | slot, 4);
  return row;
}

constexpr uint16_t kDeleted = 0xC000;
constexpr uint16_t kMoved = kSlotHidden;

class RecordParser : public CRowTest {
 protected:
  void StartText(const SJetLayout& newLayout) {
    Start(newLayout);
    AddVariable(kTypeText, 0, 0);
  }
  Bytes Row(const std::string& text) const { return TextRow(*layout, text); }
};

constexpr const SJetLayout* kBoth[] = {&kJet3Layout, &kJet4Layout};

TEST_F(RecordParser, LiveRowsOfAllPagesInTheirOrder) {
  for (const SJetLayout* format : kBoth) {
    StartText(*format);
    table->header.rowCount = 77;
    Put(5, NewPage().Row(Row("one")).Row(Row("two")).Row(Row("gone"), kDeleted).Row(Row("three")));
    Put(4, NewPage().Row({}, kDeleted).Row(Row("hidden"), kMoved).Row(Row("four")));
    Parse();
    EXPECT_EQ(Values(), (Texts{"one", "two", "three", "four"}));
    EXPECT_EQ(table->header.rowCount, 4u);
    EXPECT_EQ(table->promisedRows, 77u);
    EXPECT_TRUE(data->GetLedger().IsClean());
  }
}

TEST_F(RecordParser, AnEmptySlotTakesNoRow) {
  StartText(kJet4Layout);
  Put(4, NewPage().Row(Row("one")).Row({}).Row(Row("two")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"one", "two"}));
  EXPECT_EQ(Lost(EDamage::RejectedRow), 1u);
}

TEST_F(RecordParser, MovedRowsAreFollowedForOneHop) {
  for (const SJetLayout* format : kBoth) {
    StartText(*format);
    Put(4, NewPage().Row(Pointer(5, 1), kSlotPointer).Row(Row("here")).Row(Pointer(5, 0), kSlotPointer));
    Put(5, NewPage().Row(Row("first"), kMoved).Row(Row("second"), kMoved), false);
    Parse();
    EXPECT_EQ(Values(), (Texts{"second", "here", "first"}));
    EXPECT_TRUE(data->GetLedger().IsClean());
  }
}

TEST_F(RecordParser, PointersThatLeadNowhereCostOneRow) {
  for (const SJetLayout* format : kBoth) {
    StartText(*format);
    Put(4, NewPage()
               .Row(Pointer(0xFFFFFF, 0), kSlotPointer)  // behind the file
               .Row(Pointer(6, 0), kSlotPointer)         // no data page
               .Row(Pointer(5, 7), kSlotPointer)         // no such slot
               .Row(Row("kept"))
               .Slot(static_cast<uint16_t>(kSlotPointer | (format->pageSize - 2))));  // cut by the page end
    Put(5, NewPage().Row(Row("unused")), false);
    pages[6] = Bytes(format->pageSize, 2);
    Parse();
    EXPECT_EQ(Values(), (Texts{"kept"}));
    EXPECT_EQ(Lost(EDamage::BrokenOverflow), 4u);
    EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::BrokenOverflow)[2].row, 2);
    EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::BrokenOverflow)[2].page, 4u);
  }
}

TEST_F(RecordParser, APointerToAPointerIsNoLoop) {
  StartText(kJet4Layout);
  Put(4, NewPage().Row(Pointer(4, 0), kSlotPointer).Row(Row("kept")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"kept"}));
  EXPECT_EQ(Lost(EDamage::RejectedRow), 1u);
}

TEST_F(RecordParser, TheRowCountOfAPageIsNotTrusted) {
  for (const SJetLayout* format : kBoth) {
    StartText(*format);
    CTestPage above = NewPage().Row(Row("lost"));
    PutLittle(above.bytes, format->data.slotCount, format->pageSize + 1, 2);
    CTestPage full = NewPage().Row(Row("found"));
    PutLittle(full.bytes, format->data.slotCount, format->pageSize, 2);
    Put(4, above);
    Put(5, full);
    Put(6, NewPage().Row(Row("next")));
    Parse();
    EXPECT_EQ(Values(), (Texts{"found", "next"}));
    EXPECT_EQ(Lost(EDamage::BrokenPage), 2u);
  }
}

TEST_F(RecordParser, RowsThatOverlapCannotFloodTheOutput) {
  StartText(kJet4Layout);
  // Every other slot claims nearly the whole page.
  CTestPage page = NewPage();
  for (int i = 0; i < 1000; i++) page.Slot(2100).Slot(4000);
  const Bytes row = Row("row");
  std::copy(row.begin(), row.end(), page.bytes.begin() + 2100);
  PutLittle(page.bytes, 3999, 1, 1);  // null mask of the long rows
  Put(4, page);
  Parse();
  EXPECT_GT(table->header.rowCount, 0u);
  EXPECT_LE(table->header.rowCount, 8u * 4096 / 1900);
  EXPECT_GT(Lost(EDamage::RejectedRow), 900u);
}

TEST_F(RecordParser, ARejectedRowLeavesTheOthersAligned) {
  StartText(kJet4Layout);
  AddFixed(kTypeLong, 1, 0, 4);
  const Bytes good = Hex("0200 07000000 4100 4200 0a00 0600 0100 03");
  Bytes tooMany = good;
  tooMany[0] = 3;
  Bytes none = good;
  none[0] = 0;
  Put(4, NewPage().Row(good).Row(tooMany).Row(none).Row({0x02}).Row(good));
  Parse();
  EXPECT_EQ(Values(), (Texts{"AB", "7", "AB", "7"}));
  EXPECT_EQ(table->header.rowCount, 2u);
  EXPECT_EQ(Lost(EDamage::RejectedRow), 3u);
}

TEST_F(RecordParser, AValueOutsideItsRowIsEmpty) {
  StartText(kJet4Layout);
  AddFixed(kTypeLong, 1, 0, 4);
  AddFixed(kTypeDouble, 2, 4, 8);
  AddVariable(kTypeText, 3, 1);
  // Fixed area of four bytes only; the second text's end lies behind the row.
  Put(4, NewPage().Row(Hex("0400 07000000 4100 4200 ff00 0a00 0600 0200 0f")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"AB", "7", "", ""}));
  EXPECT_EQ(Lost(EDamage::BrokenValue), 2u);
  EXPECT_EQ(table->header.rowCount, 1u);
}

TEST_F(RecordParser, APageBehindTheFileEndsTheTableOnly) {
  StartText(kJet4Layout);
  table->dataPages.Add(uint64_t{4096} * 900);
  CAccessTable& next = data->GetTables().AddTable(uint64_t{9} * 4096);
  table = &next;
  AddVariable(kTypeText, 0, 0);
  Put(4, NewPage(9).Row(Row("next table")));
  Parse();
  EXPECT_EQ(Values(), (Texts{"next table"}));
  EXPECT_EQ(data->GetTables().GetAt(0)->header.rowCount, 0u);
}

TEST_F(RecordParser, HiddenRowsWithoutAPointerAreRowsWhereTheRulesSaySo) {
  SRecoveryRules rules = kStandardRules;
  rules.skipHiddenRows = false;
  rules.trustOverflowTarget = false;
  StartText(kJet4Layout);
  Put(4, NewPage().Row(Pointer(5, 0), kSlotPointer).Row(Pointer(6, 0), kSlotPointer));
  Put(5, NewPage().Row(Row("moved"), kMoved).Row(Row("orphan"), kMoved).Row(Row("gone"), kDeleted));
  Put(6, NewPage(77).Row(Row("another table's"), kMoved), false);
  Parse(rules);
  EXPECT_EQ(Values(), (Texts{"moved", "orphan"}));
  EXPECT_EQ(Lost(EDamage::BrokenOverflow), 1u);
}

TEST_F(RecordParser, ReportsEachTableAndEachRow) {
  StartText(kJet4Layout);
  table->header.rowCount = 3'000'000'000u;
  data->GetTables().AddTable(uint64_t{9} * 4096).header.rowCount = 5;
  Put(4, NewPage().Row(Row("one")).Row(Row("two")));
  Parse();
  EXPECT_EQ(CStatusProgress::Instance().GetText(),
            u"(Step 3/4) Parsing table records from raw table data: table - 2 / 2");
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 2147483647);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 2147483647);
}

TEST_F(RecordParser, AStoppedRunWritesNoMoreRows) {
  StartText(kJet4Layout);
  table->header.rowCount = 9;
  Put(4, NewPage().Row(Row("one")));
  CRepairingFileStatus::Instance().SetRunning(false);
  Parse();
  EXPECT_EQ(table->header.rowCount, 9u);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
}

TEST_F(RecordParser, ATableThatCannotBeStoredIsLoggedAndCounted) {
  StartText(kJet4Layout);
  Put(4, NewPage().Row(Row("one")));
  const std::u16string folder = GetWorkFolder();
  SetWorkFolder(folder + u"missing/");
  Parse();
  SetWorkFolder(folder);
  EXPECT_EQ(table->header.rowCount, 0u);
  EXPECT_EQ(Lost(EDamage::SkippedTable), 1u);
  EXPECT_NE(CRepairLog::Instance().Get().find(u"Records of table 3 could not be stored: "),
            std::u16string::npos);
}

// Every byte of a page's head, slots and rows is set to several values: no crash, and rows stay whole.
TEST_F(RecordParser, NoByteOfAPageBreaksTheWalk) {
  for (const SJetLayout* format : kBoth) {
    StartText(*format);
    CTestPage sound = NewPage().Row(Row("one")).Row(Pointer(5, 0), kSlotPointer).Row(Row("two"));
    Put(4, sound);
    Put(5, NewPage().Row(Row("moved"), kMoved), false);
    for (size_t at = 0; at < sound.bytes.size(); at++) {
      if (at >= 24 && at < sound.bytes.size() - 48) continue;
      for (const uint8_t value : {uint8_t{0}, uint8_t{1}, uint8_t{0x7F}, uint8_t{0xFF}}) {
        pages[4] = sound.bytes;
        pages[4][at] = value;
        Parse();
        ASSERT_EQ(Values().size(), table->header.rowCount) << at << " = " << int{value};
        ASSERT_LE(table->header.rowCount, 100u) << at << " = " << int{value};
      }
    }
  }
}

}  // namespace
}  // namespace tolvane
