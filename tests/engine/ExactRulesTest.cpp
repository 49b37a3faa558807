// Files as the exact rules read them: pages, not one byte, decide, and a row is held against its definition.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "format/RowFrame.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class ExactRules : public CAllFormats {
 protected:
  static constexpr uint32_t kRows = 40;

  // A table "People" with two pages of rows, a map of its pages, and its row in the catalogue.
  ExactRules() {
    STableSpec people = SmallTable();
    people.rowCount = kRows;
    table = file.AddTable(people);
    for (uint32_t page = 0; page < 2; page++) rows.push_back(file.AddDataPage(table, RowsOfPage(page)));
    GiveMap(table, rows);
    file.AddCatalogueRow(table, u"People", 1);
  }

  void GiveMap(uint32_t owner, const std::vector<uint32_t>& pages) { GiveMap(file, owner, pages); }
  void GiveMap(CDatabaseBuilder& to, uint32_t owner, const std::vector<uint32_t>& pages) const {
    Bytes map(layout.isJet3 ? 133 : 69);
    for (const uint32_t page : pages) map[5 + page / 8] |= static_cast<uint8_t>(1u << page % 8);
    to.Page(owner).Put32(layout.definition.ownedMap, to.AddDataPage(kOwnerMaps, {{map}}) << 8);
  }

  [[nodiscard]] std::vector<SRowSpec> RowsOfPage(uint32_t page) const {
    std::vector<SRowSpec> specs;
    for (uint32_t i = page * kRows / 2; i < (page + 1) * kRows / 2; i++)
      specs.push_back({SmallRow(layout, i, u"Name " + ToDecimal(uint64_t{i}))});
    return specs;
  }

  // The bytes with others put in, or some of them taken out.
  static Bytes PutIn(Bytes to, size_t at, size_t count, uint8_t value) {
    to.insert(to.begin() + static_cast<ptrdiff_t>(at), count, value);
    return to;
  }
  static Bytes TakeOut(Bytes from, size_t at, size_t count) {
    const auto first = from.begin() + static_cast<ptrdiff_t>(at);
    from.erase(first, first + static_cast<ptrdiff_t>(count));
    return from;
  }
  static Bytes Join(Bytes front, std::span<const uint8_t> behind) {
    front.insert(front.end(), behind.begin(), behind.end());
    return front;
  }

  // Rows of "People"; nothing when there is no such table.
  std::optional<uint32_t> Repair(const Bytes& bytes) {
    data = Recover(bytes, kExactRules);
    const CAccessTable* const people = TableNamed(*data, u"People");
    if (people == nullptr) return std::nullopt;
    return people->header.rowCount;
  }
  // Of the table whose definition stands on this page of the file.
  [[nodiscard]] uint32_t RowsOf(uint32_t definition) const {
    const CAccessTable* const found = data->GetTables().FindTable(file.OffsetOf(definition));
    return found != nullptr ? found->header.rowCount : 0;
  }
  [[nodiscard]] uint64_t Lost(EDamage kind) const { return data->GetLedger().GetCount(kind); }

  CDatabaseBuilder file{layout};
  uint32_t table = 0;
  std::vector<uint32_t> rows;
  std::unique_ptr<CAccessData> data;
};
INSTANTIATE_TEST_SUITE_P(Formats, ExactRules, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

TEST_P(ExactRules, AFirstPageOfAnyBytesCostsNothing) {
  const Bytes sound = file.Build();
  EXPECT_EQ(Repair(sound), kRows);
  EXPECT_TRUE(data->GetLedger().IsClean());
  for (const uint8_t value : {uint8_t{0}, uint8_t{1}, uint8_t{0xA7}}) {
    Bytes bytes = sound;
    std::fill_n(bytes.begin(), layout.pageSize, value);
    EXPECT_EQ(Repair(bytes), kRows) << int{value};
    EXPECT_EQ(data->source.isJet3, layout.isJet3);
  }
  for (const int version : {1, 9, 255}) {
    Bytes bytes = sound;
    bytes[kHeaderVersion] = static_cast<uint8_t>(version);
    EXPECT_EQ(Repair(bytes), kRows) << version;
  }
}

TEST_P(ExactRules, ADatabaseIsFoundAnywhereInAFile) {
  const Bytes sound = file.Build();
  for (const size_t inFront : {size_t{1}, size_t{777}, size_t{3} << 20}) {
    EXPECT_EQ(Repair(PutIn(sound, 0, inFront, 0xAB)), kRows) << inFront;
    EXPECT_EQ(Lost(EDamage::LeadingBytes), inFront);
  }
  // Of two, in step or not, the first is read and the other told.
  for (const size_t between : {size_t{0}, size_t{100}}) {
    const Bytes bytes = Join(PutIn(sound, sound.size(), between, 0x55), sound);
    EXPECT_EQ(Repair(bytes), kRows) << between;
    EXPECT_EQ(Lost(EDamage::OtherDatabase), 1u);
    const CTempFile both(bytes);
    CSource second(kExactRules, sound.size() + between);
    ASSERT_TRUE(second.Open(both.GetPath()));
    EXPECT_EQ(second.GetFacts().start, sound.size() + between);
  }
}

TEST_P(ExactRules, PagesBehindBytesPutInOrLostAreFoundAgain) {
  const Bytes sound = file.Build();
  // Inside a page that nothing needs.
  const size_t at = file.OffsetOf(3) + 50;
  EXPECT_EQ(Repair(PutIn(sound, at, 333, 0xCD)), kRows);
  EXPECT_GT(Lost(EDamage::MovedPages), 0u);
  EXPECT_EQ(Repair(TakeOut(sound, at, 333)), kRows);
  // Whole pages, too: owners tell the numbers.
  EXPECT_EQ(Repair(TakeOut(sound, at, 10 + layout.pageSize)), kRows);
}

// Pages of rows alone do not tell: they may be what was swapped, and the definitions be in their places. An
// empty table without indexes says nothing.
// Its head stands in its place, and its rows are in step with what follows, be it the end of the file.
TEST_P(ExactRules, APageThatBytesWerePutIntoOrLostInHasAllItsRows) {
  for (const bool isAtEnd : {false, true}) {
    const uint32_t page = rows[1];
    Bytes bytes = file.Build();
    if (isAtEnd) bytes.resize(file.OffsetOf(page + 1));
    const size_t free = file.OffsetOf(page) + layout.data.slots + kRows;
    for (const Bytes& torn : {PutIn(bytes, free, 3, 0xEE), TakeOut(bytes, free + 8, 3)}) {
      Repair(torn);
      EXPECT_EQ(RowsOf(table), kRows);
      EXPECT_EQ(Lost(EDamage::TornPage), 1u);
    }
  }
}

TEST_P(ExactRules, DefinitionsInEachOthersPlacesAreToldByIndexesAndRows) {
  STableSpec spec = SmallTable();
  spec.indexes = {{.columns = {{0}}, .isPrimary = true, .name = u"Key"}};
  size_t root = layout.definition.headerSize + layout.definition.statisticsSize + layout.realIndex.root;
  for (const SColumnSpec& column : spec.columns)
    root += layout.column.size + layout.text.nameLengthSize + StoredText(column.name, layout).size();
  enum class EOther { HasAll, HasRows, IsEmpty };
  for (const EOther what : {EOther::HasAll, EOther::HasRows, EOther::IsEmpty}) {
    CDatabaseBuilder two(layout);
    std::vector<uint32_t> tables, pages;
    for (const uint32_t count : {1u, 2u}) {
      const bool isEmpty = what == EOther::IsEmpty && count == 2;
      const bool hasIndex = what != EOther::HasRows && !isEmpty;
      const uint32_t owner = tables.emplace_back(two.AddTable(hasIndex ? spec : SmallTable()));
      two.AddCatalogueRow(owner, count == 1 ? u"People" : u"More", 1);
      if (isEmpty) continue;
      pages.push_back(two.AddDataPage(owner, std::vector<SRowSpec>(count, {SmallRow(layout, 1, u"One")})));
      GiveMap(two, owner, {pages.back()});
      const auto page = static_cast<uint8_t>(pages.back());
      if (hasIndex)
        two.Page(owner).Put32(root, two.AddIndexLeaf(owner, {{0x7F, 0x80, 0, 0, 1, 0, 0, page, 0}}));
    }
    const bool areTold = what != EOther::HasRows;
    auto& swapped = areTold ? tables : pages;
    std::swap(two.Page(swapped[0]), two.Page(swapped[1]));
    EXPECT_EQ(Repair(two.Build()), 1u) << "told: " << areTold;
    EXPECT_EQ(Lost(EDamage::MovedPages), areTold ? 2u : 0u);
  }
}

TEST_P(ExactRules, PagesPutInBehindBytesPutInAreToldFromTheOthers) {
  CDatabaseBuilder two(layout);
  const uint32_t spare = two.GetPageCount() + 2, first = spare + 1, second = first + 2;
  two.AddCatalogueRow(first, u"First", 1);
  two.AddCatalogueRow(second, u"People", 1);
  ASSERT_EQ(two.AddPage(), spare);
  for (const uint32_t number : {first, second}) {
    ASSERT_EQ(two.AddTable(SmallTable()), number);
    two.AddDataPage(number, RowsOfPage(0));
  }
  const Bytes bytes = PutIn(two.Build(), two.OffsetOf(second), 2 * layout.pageSize, 0);
  EXPECT_EQ(Repair(PutIn(bytes, two.OffsetOf(spare) + 50, 333, 0xCD)), kRows / 2);
}

TEST_P(ExactRules, PagesBehindWholePagesPutInOrLostAreFoundAgain) {
  CDatabaseBuilder other(layout);
  const uint32_t spare = other.GetPageCount() + 1;
  other.AddCatalogueRow(spare + 1, u"People", 1);
  ASSERT_EQ(other.AddPage(), spare);
  const uint32_t people = other.AddTable(SmallTable());
  for (uint32_t page = 0; page < 2; page++) other.AddDataPage(people, RowsOfPage(page));
  const Bytes sound = other.Build();
  EXPECT_EQ(Repair(TakeOut(sound, other.OffsetOf(spare), layout.pageSize)), kRows);
  EXPECT_GT(Lost(EDamage::MovedPages), 0u);
  EXPECT_EQ(Lost(EDamage::LostPage), 1u);
  EXPECT_EQ(Lost(EDamage::UnreadablePage), 0u) << "no disk fails";
  EXPECT_EQ(Repair(PutIn(sound, other.OffsetOf(spare), 2 * layout.pageSize, 0)), kRows);
  // Owners that were overwritten move no page.
  Bytes wrong = sound;
  wrong[other.OffsetOf(people + 1) + kOwnerOffset] ^= 1;
  Repair(wrong);
  EXPECT_EQ(Lost(EDamage::MovedPages), 0u);
  // A table that the catalogue in front of it does not have is of another file.
  CDatabaseBuilder foreign(layout);
  while (foreign.GetPageCount() < 30) foreign.AddPage();
  const uint32_t theirs = foreign.AddTable(SmallTable());
  for (uint32_t page = 0; page < 2; page++) foreign.AddDataPage(theirs, RowsOfPage(page));
  const Bytes tail = foreign.Build();
  EXPECT_EQ(Repair(Join(sound, std::span(tail).subspan(foreign.OffsetOf(25)))), kRows);
  EXPECT_EQ(Lost(EDamage::MovedPages), 0u);
}

// Each of the two is read with its own rows, whichever is the longer one.
TEST_P(ExactRules, DatabasesWhosePagesLieByTurnsAreToldApart) {
  const auto build = [&](uint32_t pages, uint32_t rowPages) {
    CDatabaseBuilder one(layout);
    one.AddCatalogueRow(pages, u"People", 1);
    while (one.GetPageCount() < pages) one.AddPage();
    const uint32_t people = one.AddTable(SmallTable());
    for (uint32_t page = 0; page < rowPages; page++) one.AddDataPage(people, RowsOfPage(page));
    return one.Build();
  };
  const Bytes first = build(17, 2), second = build(9, 1);
  for (const bool isSwapped : {false, true}) {
    const std::array<std::span<const uint8_t>, 2> parts{isSwapped ? second : first,
                                                        isSwapped ? first : second};
    const size_t turn = 4 * layout.pageSize;
    Bytes mixed;
    for (size_t at = 0; at < first.size(); at += turn)
      for (const auto part : parts) {
        const auto piece = part.subspan(std::min(at, part.size()));
        mixed = Join(std::move(mixed), piece.first(std::min(turn, piece.size())));
      }
    EXPECT_EQ(Repair(mixed), isSwapped ? kRows / 2 : kRows);
    EXPECT_EQ(Lost(EDamage::OtherDatabase), 1u);
    EXPECT_EQ(Lost(EDamage::MovedPages) + turn / layout.pageSize, parts[0].size() / layout.pageSize);
    const CTempFile both(mixed);
    CSource other(kExactRules, turn);
    ASSERT_TRUE(other.Open(both.GetPath()));
    EXPECT_EQ(other.GetFacts().pageCount, parts[1].size() / layout.pageSize);
  }
}

// Its pages still name it, and the page in front of it continues a definition.
TEST_P(ExactRules, ADroppedDefinitionMovesNoPage) {
  const uint32_t before = file.GetPageCount() + 2;
  for (uint32_t page = 0; page < 2; page++) file.AddDataPage(before + 1, RowsOfPage(page));
  ASSERT_EQ(file.AddPage(), before);
  const uint32_t dropped = file.AddTable(SmallTable());
  file.Page(before).Put8(kPageTypeAt, kPageDefinition);
  file.Page(before).Put8(kPageMarkAt, kPageFormatted);
  file.Page(dropped).Put8(kPageTypeAt, kPageDroppedDefinition);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::MovedPages), 0u);
}

TEST_P(ExactRules, TheFilesEndCostsTheRowsBehindItAlone) {
  Bytes bytes = file.Build();
  // The second page of rows, of which the first slots' rows stand at the end.
  bytes.resize(file.OffsetOf(rows[1] + 1) - 100);
  Repair(bytes);  // without the catalogue behind them, which never is without a row
  const uint32_t found = RowsOf(table);
  EXPECT_LT(found, kRows);
  EXPECT_GT(found, kRows - 8);
  EXPECT_EQ(Lost(EDamage::PartialPage), layout.pageSize - 100);
  EXPECT_EQ(Lost(EDamage::MissingRows), kRows - found + 1);
}

TEST_P(ExactRules, PagesWhoseFirstBytesAreLostAreWhatTheRestOfThemIs) {
  for (uint32_t page = 1; page < file.GetPageCount(); page++) file.Page(page).Put8(kPageTypeAt, 0);
  EXPECT_EQ(Repair(file.Build()), kRows);
  for (const uint32_t page : rows) file.Page(page).Put8(kPageTypeAt, kPageIndexLeaf);
  EXPECT_EQ(Repair(file.Build()), kRows);
}

TEST_P(ExactRules, FreedPagesAreToldByTheTablesMapWhereTheirOwnMapIsGone) {
  file.AddDataPage(table, RowsOfPage(2));  // an older state of a page, in no map
  file.Page(kGlobalMapPage).Fill(0);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::SurplusRows), 0u);
  // Where rows are missing it is no freed one, unless a page that the map names is.
  file.Page(table).Put32(layout.definition.rowCount, 3 * kRows / 2);
  EXPECT_EQ(Repair(file.Build()), 3 * kRows / 2);
  file.Page(rows[1]).Fill(0);
  EXPECT_EQ(Repair(file.Build()), kRows / 2);
}

TEST_P(ExactRules, AMapOfFreePagesThatFreesItselfIsNotBelieved) {
  file.Page(kGlobalMapPage).PutBytes(layout.pageSize - layout.map.rowSize + kMapBits, Bytes(8, 0xFF));
  file.Page(table).Put32(layout.definition.ownedMap, 0);
  EXPECT_EQ(Repair(file.Build()), kRows);
}

TEST_P(ExactRules, APageThatWasCopiedOverAnotherIsReadOnce) {
  const CPageBytes second = file.Page(rows[1]);
  file.AddDataPage(table, RowsOfPage(1));  // where no table has a page
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_TRUE(data->GetLedger().IsClean());
  // The same rows put in again are no copy where the count has them all, but may be one.
  file.Page(rows[1]) = file.Page(rows[0]);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::TornPage), 1u);
  file.Page(rows[1]) = second;
  file.Page(rows[0]) = second;
  file.Page(table).Put32(layout.definition.rowCount, kRows + 1);
  EXPECT_EQ(Repair(file.Build()), kRows / 2);
  EXPECT_EQ(Lost(EDamage::TornPage), 1u);
}

TEST_P(ExactRules, APageWithAWrongOwnerGoesToTheTableWhoseMapNamesIt) {
  STableSpec sums;
  sums.AddFixed(u"A", kTypeLong, 4).AddFixed(u"B", kTypeLong, 4);
  sums.rowCount = 1;
  const uint32_t owner = file.AddTable(sums);
  const uint32_t page = file.AddDataPage(owner, {{MakeRow(sums, layout, {Little(1, 4), Little(2, 4)})}});
  GiveMap(owner, {page});
  file.Page(page).Put32(kOwnerOffset, table);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(RowsOf(owner), 1u);
  EXPECT_EQ(Lost(EDamage::BrokenPage), 1u);
  // Of two pages in each other's place the heads are right.
  file.Page(page).Put32(kOwnerOffset, owner);
  std::swap(file.Page(page), file.Page(rows[1]));
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(RowsOf(owner), 1u);
  EXPECT_EQ(Lost(EDamage::BrokenPage), 0u);
}

// Where the map of free pages is in the place of rows, these are in its own.
TEST_P(ExactRules, APageInThePlaceOfAnotherKindIsBelievedWhereItMakesTheRowsComplete) {
  std::swap(file.Page(kGlobalMapPage), file.Page(rows[1]));
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::MovedPages), 1u);
  file.Page(table).Put32(layout.definition.rowCount, kRows + 1);
  EXPECT_EQ(Repair(file.Build()), kRows / 2) << "it may be a stale one";
}

TEST_P(ExactRules, TheSearchForPagesTellsHowFarItIsAndCanBeStopped) {
  const CTempFile moved(PutIn(file.Build(), 0, size_t{3} << 20, 0xAB));
  CPageReader reader;
  ASSERT_TRUE(reader.Open(moved.GetPath()));
  CJobContext job;
  job.repairing.SetRunning(true);
  EXPECT_EQ(FindPages(reader, 0, &job).layout, &layout);
  EXPECT_GT(job.progress.GetPos(), job.progress.GetMax() / 2);
  job.Stop();
  EXPECT_EQ(FindPages(reader, 0, &job).layout, nullptr);
}

// What looks like heads of pages, at one distance from each other, within pages that are where they should
// be.
TEST_P(ExactRules, HeadsByChanceMoveNoPage) {
  for (const uint32_t page : {3u, 4u, table}) {
    const size_t at = layout.pageSize / 4 * 3;
    file.Page(page).Put8(at, kPageData).Put8(at + 1, kPageFormatted);
    file.Page(page).Put16(at + kFreeBytesOffset, layout.pageSize - layout.data.slots);
  }
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::MovedPages), 0u);
}

TEST_P(ExactRules, OwnersTellHowManyPagesAreMissingInFront) {
  EXPECT_EQ(Repair(TakeOut(file.Build(), 0, 2 * layout.pageSize)), kRows);
}

TEST_P(ExactRules, PagesThatWereWrittenTwiceAreReadOnce) {
  const Bytes sound = file.Build();
  const size_t size = layout.pageSize;
  for (size_t first = 3; (first + 3) * size <= sound.size(); first++) {
    const auto all = std::span(sound);
    const Bytes twice = Join(Join({}, all.first((first + 3) * size)), all.subspan(first * size));
    EXPECT_EQ(Repair(twice), kRows) << "from page " << first;
  }
}

// By programs that take it for text, or whose machine has the other order of bytes.
TEST_P(ExactRules, AFileThatWasChangedOnItsWayIsReadAsItWas) {
  const Bytes sound = file.Build();
  Bytes lines, pairs = sound;
  for (const uint8_t byte : sound) {
    if (byte == '\n') lines.push_back('\r');
    lines.push_back(byte);
  }
  for (size_t i = 0; i < pairs.size(); i += 2) std::swap(pairs[i], pairs[i + 1]);
  for (const Bytes& changed : {lines, pairs}) {
    EXPECT_EQ(Repair(changed), kRows);
    EXPECT_EQ(Lost(EDamage::MovedPages), sound.size() / layout.pageSize);
  }
}

TEST_P(ExactRules, RowsAreFoundWithoutTheirSlots) {
  const size_t slots = layout.data.slots;
  const uint32_t row = file.Page(rows[0]).Get16(slots + 2 * 9);
  for (const uint32_t step : {977u, 0u}) {
    for (uint32_t slot = 0; slot < kRows / 2; slot++)
      file.Page(rows[0]).Put16(slots + 2 * slot, step == 0 ? 0 : 0x1234 + slot * step);
    // One that hits the start of a row, and seems to delete it.
    file.Page(rows[0]).Put16(slots + 2 * 15, row | kSlotDeleted);
    EXPECT_EQ(Repair(file.Build()), kRows);
    EXPECT_EQ(Lost(EDamage::BrokenPage), 1u);
    EXPECT_EQ(Lost(EDamage::MissingRows), 0u);
  }
}

// Rows keep the number of columns that the table had when they were stored.
TEST_P(ExactRules, RowsOfFewerColumnsAreFoundWithoutTheirSlots) {
  STableSpec now = SmallTable();
  now.AddVariable(u"Later", kTypeText, 20).AddVariable(u"Last", kTypeText, 20);
  now.rowCount = kRows / 2;
  table = file.AddTable(now);
  const uint32_t page = file.AddDataPage(table, RowsOfPage(0));
  file.AddCatalogueRow(table, u"Grown", 1);
  for (uint32_t slot = 0; slot < kRows / 2; slot++)
    file.Page(page).Put16(layout.data.slots + 2 * slot, 0x1234 + slot * 977);
  Repair(file.Build());
  EXPECT_EQ(TableNamed(*data, u"Grown")->header.rowCount, kRows / 2);
}

// With the number of slots gone, the end of a damaged row could lead over all those in front of it.
TEST_P(ExactRules, ADamagedRowTakesNoOtherWithIt) {
  constexpr uint32_t kSlot = 3, kOver = 5;
  CPageBytes& page = file.Page(rows[0]);
  const auto startOf = [&](uint32_t slot) { return page.Get16(layout.data.slots + 2 * slot); };
  const uint32_t end = startOf(kSlot - 1), size = end - startOf(kSlot), mask = 1;
  const SRowTail tail = MakeRowTail(layout.row, size, size - mask);
  const uint32_t dataEnd = startOf(kSlot) + static_cast<uint32_t>(tail.OffsetAt(1));
  page.Put8(dataEnd, dataEnd - startOf(kSlot + kOver));
  page.Put16(layout.data.slotCount, 0x3214);
  EXPECT_EQ(Repair(file.Build()), kRows - 1);
}

// Head and slots of one state of the page, rows of another, each as sound as can be.
TEST_P(ExactRules, ATornPageIsToldAndGivesTheRowsThatItHas) {
  std::vector<SRowSpec> before = RowsOfPage(0);
  before.erase(before.begin() + 9);
  const uint32_t other = file.AddDataPage(table, before);
  const size_t count = before.size();
  file.Page(rows[0]).PutBytes(0, std::span(file.Page(other).GetBytes()).first(layout.data.slots + 2 * count));
  file.Page(other).Fill(0);
  EXPECT_EQ(Repair(file.Build()), kRows - 1) << "the lowest one lies below the slots";
  ASSERT_EQ(Lost(EDamage::TornPage), 1u);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::TornPage)[0].page, rows[0]);
  EXPECT_EQ(Lost(EDamage::MissingRows), 1u);
}

// As where the sectors of two states meet within a row, or an offset was overwritten.
TEST_P(ExactRules, RowsThatTheirPagesSlotsDoNotNameYetAreRead) {
  CPageBytes& page = file.Page(rows[1]);
  page.Put16(layout.data.slotCount, kRows / 2 - 1);
  page.Put16(kFreeBytesOffset, static_cast<uint16_t>(page.Get16(layout.data.slots + kRows - 4) -
                                                     layout.data.slots - (kRows - 2)));
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::TornPage), 1u);
}

TEST_P(ExactRules, ARowThatNoEngineWritesIsToldAndTaken) {
  const uint16_t room = TableNamed(*Recover(file.Build(), kExactRules), u"People")->columns.GetAt(1)->length;
  const auto repairWith = [&](size_t letters, size_t spare) {
    Bytes row = SmallRow(layout, 1, std::u16string(letters, u'x'));
    const ptrdiff_t tail = layout.isJet3 ? 4 : 7;  // null mask, number of values, two offsets
    row.insert(row.end() - tail, spare, 0xA5);
    CDatabaseBuilder one(layout);
    const uint32_t owner = one.AddTable(SmallTable());
    one.AddDataPage(owner, {{row}});
    one.AddCatalogueRow(owner, u"People", 1);
    EXPECT_EQ(Repair(one.Build()), 1u);
    return std::pair(Lost(EDamage::BrokenValue), Lost(EDamage::TornPage));
  };
  EXPECT_EQ(repairWith(room, 16), std::pair(uint64_t{0}, uint64_t{0})) << "engines leave so many";
  EXPECT_EQ(repairWith(room, 17), std::pair(uint64_t{0}, uint64_t{1}));
  EXPECT_EQ(repairWith(room + 1u, 0), std::pair(uint64_t{1}, uint64_t{0}));
}

TEST_P(ExactRules, WhatIsKnownOfMissingRowsIsTold) {
  const auto reasonOf = [this](EDamage kind) {
    const auto& places = data->GetLedger().GetPlaces(kind);
    return std::string(places.size() == 1 && places[0].reason != nullptr ? places[0].reason : "");
  };
  file.AddCatalogueRow(90, u"Gone", 1);
  // An index names a row of the second page that this does not have.
  const uint8_t slot = kRows / 2;
  file.AddIndexLeaf(table, {{0x7F, 0, 0, static_cast<uint8_t>(rows[1]), slot}});
  file.Page(table).Put32(layout.definition.rowCount, kRows + 1);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(reasonOf(EDamage::MissingRows), "a page of it is older than its indexes, or torn");
  ASSERT_EQ(Lost(EDamage::TornPage), 1u);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::TornPage)[0].page, rows[1]);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::MissingRows)[0].promised, kRows + 1);
  EXPECT_EQ(reasonOf(EDamage::LostTable), "its page lies behind the end of the file");
  EXPECT_EQ(data->GetLostTables().at(90), u"Gone");
  file.Page(rows[0]).Fill(0);
  EXPECT_EQ(Repair(file.Build()), kRows / 2);
  EXPECT_EQ(reasonOf(EDamage::MissingRows), "pages that its map names are gone");
  file.Page(table).Put32(layout.definition.rowCount, 1);
  Repair(file.Build());
  EXPECT_EQ(reasonOf(EDamage::SurplusRows), "the count is older than the rows, or was overwritten");
}

TEST_P(ExactRules, RowsThatTheIndexesNameAreNotDoubtful) {
  file.Page(table).Put32(layout.definition.rowCount, 1);
  std::vector<Bytes> entries;
  for (const uint32_t page : rows)
    for (uint8_t slot = 0; slot < kRows / 2; ++slot)
      entries.push_back({0x7F, 0, 0, static_cast<uint8_t>(page), slot});
  const Bytes last = entries.back();
  entries.pop_back();
  const uint32_t leaf = file.AddIndexLeaf(table, entries);
  Repair(file.Build());
  EXPECT_EQ(Lost(EDamage::SurplusRows), kRows - 1) << "of one row nothing is known";
  file.Page(leaf).Fill(0);
  entries.push_back(last);
  file.AddIndexLeaf(table, entries);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_P(ExactRules, ANullThatHasBytesIsDoubtful) {
  const size_t mask = file.Page(rows[0]).GetBytes().size() - 1;
  file.Page(rows[0]).Put8(mask, file.Page(rows[0]).GetBytes()[mask] & ~2u);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
}

TEST_P(ExactRules, TheMarkOfASystemTableIsHeldAgainstItsNameAndColumns) {
  STableSpec storage;  // with letters overwritten
  for (const char16_t* name : {u"DateCreate", u"DateUpdbte", u"Id", u"Lw", u"Nane", u"PbrentId", u"Type"})
    storage.AddVariable(name, kTypeText, 50);
  const uint32_t unnamed = file.AddTable(storage);
  const uint32_t marked = file.AddTable(SmallTable());
  file.AddCatalogueRow(marked, u"Pets", 1, kSystemObjectFlags);
  file.AddCatalogueRow(kObjectsPage, u"MSysObjects", 1);
  Repair(file.Build());
  const auto isSystem = [this](uint32_t page) {
    return IsSystemTable(*data->GetTables().FindTable(file.OffsetOf(page)));
  };
  EXPECT_TRUE(isSystem(unnamed));
  EXPECT_TRUE(isSystem(kObjectsPage));
  EXPECT_FALSE(isSystem(marked));
}

// The lengths in the fields that lead there tell where values lie.
TEST_P(ExactRules, LongValuesAreReadFromPagesWithoutAHead) {
  STableSpec notes;
  notes.AddVariable(u"Note", kTypeMemo);
  const std::u16string texts[] = {u"first", u"the second", u"3rd"};
  std::vector<SRowSpec> values, records;
  const uint32_t owner = file.AddTable(notes);
  for (const std::u16string& text : texts) values.push_back({StoredText(text, layout)});
  const uint32_t page = file.AddDataPage(kOwnerLongValues, values);
  for (size_t i = 0; i < values.size(); i++) {
    const Bytes head = Little(values[i].bytes.size() | size_t{0x40} << 24, 4);
    const Bytes field = Join(Join(head, Little(page << 8 | i, 4)), Bytes(4));
    records.push_back({MakeRow(notes, layout, {field})});
  }
  file.AddDataPage(owner, records);
  file.Page(page).PutBytes(0, Bytes(512));
  Repair(file.Build());
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 0u);
  // What was overwritten with the head is told, not made up.
  file.Page(page).PutBytes(0, Bytes(layout.pageSize - values[0].bytes.size()));
  Repair(file.Build());
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 2u);
}

TEST_P(ExactRules, PagesWithoutAHeadGoToTheTableWhoseMapNamesThem) {
  file.Page(rows[0]).Put32(kOwnerOffset, 0x00123456);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::OrphanDataPage), 0u);
  file.Page(rows[0]).Put32(kOwnerOffset, kOwnerMaps);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::OrphanDataPage), 0u);
  file.Page(rows[0]).PutBytes(0, Bytes(layout.data.slots, 0xEE));
  EXPECT_EQ(Repair(file.Build()), kRows);
}

TEST_P(ExactRules, RowsOfAnotherShapeAreNone) {
  STableSpec other;
  other.AddFixed(u"A", kTypeLong, 4).AddFixed(u"B", kTypeLong, 4).AddVariable(u"C", kTypeText, 50);
  const Bytes row = MakeRow(other, layout, {Little(1, 4), Little(2, 4), StoredText(u"stale", layout)});
  file.AddDataPage(table, {{row}, {row}});
  file.Page(table).Put32(layout.definition.ownedMap, 0);
  EXPECT_EQ(Repair(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::RejectedRow), 2u);
  EXPECT_EQ(Lost(EDamage::SurplusRows), 0u);
  file.AddDataPage(table, {{SmallRow(layout, 99, u"one too many")}});
  EXPECT_EQ(Repair(file.Build()), kRows + 1);
  EXPECT_EQ(Lost(EDamage::SurplusRows), 1u);
}

// As where the definition of another table stands in the place of theirs: bytes of theirs look like short
// rows.
TEST_P(ExactRules, ADefinitionThatNoRowAgreesWithFindsNoneWithinThem) {
  STableSpec flags;
  flags.AddFixed(u"A", kTypeBoolean, 1);
  const uint32_t owner = file.AddTable(flags);
  const Bytes row = Join(SmallRow(layout, 1, u"short"), MakeRow(flags, layout, {Bytes()}));
  file.AddDataPage(owner, {{row}, {row}});
  Repair(file.Build());
  ASSERT_NE(data->GetTables().FindTable(file.OffsetOf(owner)), nullptr);
  EXPECT_EQ(RowsOf(owner), 0u);
}

TEST_P(ExactRules, ATemplateNeedsNothingOfTheDamagedDefinitions) {
  const CTempFile healthy(file.Build());
  const auto withTemplate = [&](const Bytes& bytes) {
    const CTempFile damaged(bytes);
    data = Recover(damaged.GetPath(), kExactRules, healthy.GetPath());
    const CAccessTable* const people = TableNamed(*data, u"People");
    return people != nullptr ? people->header.rowCount : 0;
  };
  file.Page(table).Fill(0);
  EXPECT_EQ(withTemplate(file.Build()), kRows);
  EXPECT_EQ(Lost(EDamage::UnfitTemplate), 0u);
  // A file of the same tables on other pages.
  CDatabaseBuilder other(layout);
  other.AddPage();
  const uint32_t moved = other.AddTable(SmallTable());
  other.AddDataPage(moved, RowsOfPage(0));
  other.AddCatalogueRow(moved, u"People", 1);
  other.Page(moved).Fill(0);
  EXPECT_EQ(withTemplate(other.Build()), kRows / 2);
  // And one of other tables.
  CDatabaseBuilder foreign(layout);
  while (foreign.GetPageCount() < 30) foreign.AddPage();
  foreign.AddDataPage(25, RowsOfPage(0));
  EXPECT_EQ(withTemplate(foreign.Build()), 0u);
  EXPECT_EQ(Lost(EDamage::UnfitTemplate), 1u);
}

}  // namespace

}  // namespace tolvane
