// The records of the preview, in memory and in their file.
#include "app/RecordStore.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <thread>

#include "app/SpillFile.h"
#include "app/TextSearch.h"
#include "engine/AccessTableDataFileParser.h"
#include "status/JobContext.h"
#include "store/AccessTableDataFile.h"
#include "store/WorkFolder.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

using Place = CRecordStore::SPlace;

class RecordStore : public testing::Test {
 protected:
  RecordStore() { EXPECT_TRUE(folder.Create(scratch.GetPath() + kPathSeparator)); }

  // Two columns: the row's number and `text`.
  void AddRow(std::u16string_view text) {
    const size_t item = store.GetItemCount();
    if (item == 0) store.InsertColumn(0, u"Number", 100);
    if (item == 0) store.InsertColumn(1, u"Text", 100);
    store.InsertItem(item);
    store.SetItemText(item, 0, ToDecimal(item));
    store.SetItemText(item, 1, text);
  }
  // "item/column", or nothing.
  std::string Find(std::u16string_view text, const std::optional<Place>& from = {}, size_t maxItems = 7) {
    const auto found = store.Find(text, from, maxItems, lookedTo);
    return found ? std::to_string(found->item) + "/" + std::to_string(found->column) : "";
  }

  CScratchFolder scratch;
  CRunFolder folder;
  CRecordStore store;
  Place lookedTo;
};

TEST_F(RecordStore, KeepsRowsOfAnySize) {
  // More blocks than are kept in memory, no two alike.
  std::u16string huge(CSpillFile::kBlockSize * CSpillFile::kBlocksKept, u'h');
  for (size_t i = 0; i < huge.size(); i += 100) huge[i] = static_cast<char16_t>(i / 100);
  const std::u16string_view texts[] = {u"a", u"", huge, {u"\0\xD800\xFFFF", 3}, u"end"};
  for (const std::u16string_view text : texts) AddRow(text);
  ASSERT_EQ(store.GetItemCount(), std::size(texts));
  for (size_t item = 0; item < std::size(texts); ++item) EXPECT_EQ(store.GetCell(item, 1), texts[item]);
  EXPECT_EQ(store.GetCell(0, 1), u"a") << "read again";
  EXPECT_EQ(store.GetCell(2, 1, 10), huge.substr(0, 10));
  EXPECT_EQ(store.GetCell(4, 0), u"4");
  for (const auto& [item, column] : {std::pair<size_t, size_t>{5, 0}, {0, 2}, {SIZE_MAX, 0}})
    EXPECT_EQ(store.GetCell(item, column), u"");
  EXPECT_EQ(store.GetColumns().at(1).heading, u"Text");

  const uint32_t generation = store.GetGeneration();
  EXPECT_EQ(ListFolder(folder.GetPath()).size(), 1u);
  store.Clear();
  EXPECT_TRUE(ListFolder(folder.GetPath()).empty());
  EXPECT_NE(store.GetGeneration(), generation);
  EXPECT_EQ(store.GetItemCount(), 0u);
  EXPECT_TRUE(store.GetColumns().empty());
  AddRow(u"again");
  EXPECT_EQ(store.GetCell(0, 1), u"again");
}

TEST_F(RecordStore, ReadsWhileRowsArrive) {
  constexpr size_t kRows = 200'000;
  std::thread writer([this] {
    for (size_t i = 0; i < kRows; ++i) AddRow(u"text " + ToDecimal(i));
  });
  for (size_t count = 0; count < kRows;) {
    count = store.GetItemCount();
    if (count < 2) continue;
    for (const size_t item : {count - 2, count / 2, size_t{0}})
      ASSERT_EQ(ToUtf8(store.GetCell(item, 1)), "text " + std::to_string(item));
  }
  writer.join();
}

TEST_F(RecordStore, FindsIgnoringCase) {
  for (const char16_t* text :
       {u"Bergen", u"M\u00DCNCHEN", u"", u"bergen and more", u"\u041C\u043E\u0441", u"5th"})
    AddRow(text);
  const struct {
    std::u16string_view text;
    std::optional<Place> from;
    std::string found;
  } cases[] = {
      {u"BERG", {}, "0/1"},
      {u"berg", Place{0, 1}, "3/1"},
      {u"berg", Place{3, 1}, "0/1"},  // round the end
      {u"m\u00FCn", {}, "1/1"},
      {u"\u043C\u041E", {}, "4/1"},
      {u"2", {}, "2/0"},
      {u"2", Place{2, 0}, "2/0"},
      {u"missing", {}, ""},
      {u"", {}, ""},
      {u"0", Place{99, 0}, "0/0"},
      {u"5", Place{5, 0}, "5/1"},
  };
  for (const auto& c : cases) EXPECT_EQ(Find(c.text, c.from), c.found) << ToUtf8(c.text);
  // Piece by piece.
  EXPECT_EQ(Find(u"\u043C", {}, 2), "");
  EXPECT_EQ(lookedTo.item, 1u);
  EXPECT_EQ(Find(u"\u043C", lookedTo, 2), "");
  EXPECT_EQ(Find(u"\u043C", lookedTo, 1), "4/1");
}

TEST_F(RecordStore, ReadsInFullWhatTheListShortens) {
  CAccessTable table(5 * 4096, GetWorkFolder());
  for (const uint8_t type : {kTypeText, kTypeMemo, kTypeOle}) {
    CAccessColumn column;
    column.type = type;
    table.columns.Add(std::move(column));
  }
  const std::u16string memo = std::u16string(5000, u'm') + u" the end";
  CAccessTableDataFile file(GetWorkFolder());
  ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
  for (const std::u16string_view note : {std::u16string_view(u"short"), std::u16string_view(memo)})
    for (const std::u16string_view value :
         {std::u16string_view(u"text"), note, std::u16string_view(u"side.Ole")})
      file.WriteValue(value);
  file.CloseDataFile();
  const CAccessData data(kStandardRules, GetWorkFolder());
  store.SetTable(table, data);
  CPreviewThreadStatus::Instance().SetAbort(0);
  CAccessTableDataFileParser(kStandardRules, ShownJob()).FillPreview(&table, &store);
  ASSERT_EQ(store.GetItemCount(), 2u);
  EXPECT_EQ(ToUtf8(store.GetCell(1, 1)), std::string(90, 'm') + "[Memo...]");
  EXPECT_EQ(store.GetWholeCell(1, 1), memo);
  EXPECT_EQ(store.GetWholeCell(1, 1, 10), memo.substr(0, 10));
  std::u16string line;
  store.AppendLine(0, 3, line);
  EXPECT_EQ(ToUtf8(line), "text\tshort\tOle");
  store.AppendLine(1, 2, line);
  EXPECT_TRUE(line.ends_with(u"Oletext\t" + memo)) << "whole memos, no column too many";
  EXPECT_EQ(ToUtf8(store.GetWholeCell(0, 1) + store.GetWholeCell(1, 2) + store.GetObjectPlace(1, 2).path),
            "shortOleside.Ole");
  EXPECT_EQ(Find(u"THE END"), "1/1");
  EXPECT_EQ(Find(u"[memo"), "");
  store.Clear();
  EXPECT_TRUE(CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(table.GetDefinitionOffset()));
  EXPECT_TRUE(ListFolder(folder.GetPath()).empty()) << "nobody holds the data file";
}

// However long the table, the rows on the screen and those that a search has come to are read, and no others.
TEST_F(RecordStore, ReadsOnlyWhatIsLookedAt) {
  constexpr size_t kRows = 20'000, kScreen = 40;
  CAccessTable table(5 * 4096, GetWorkFolder());
  for (const uint8_t type : {kTypeLong, kTypeDouble, kTypeText}) {
    CAccessColumn column;
    column.type = type;
    table.columns.Add(std::move(column));
  }
  CAccessTableDataFile file(GetWorkFolder());
  ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
  for (uint32_t i = 0; i < kRows; ++i) {
    const double half = i + 0.5;
    std::array<uint8_t, 12> values{};
    std::memcpy(values.data(), &i, 4);
    std::memcpy(&values[4], &half, 8);
    file.WriteRecord(std::span(values).first(4));
    file.WriteRecord(std::span(values).subspan(4));
    file.WriteValue(i == 15'000 ? u"Wanted" : u"text");
  }
  file.CloseDataFile();
  const CAccessData data(kExactRules, GetWorkFolder());
  SLocaleFacts german;
  german.decimal = u",";
  store.SetLocalText(CLocalText(german));
  store.SetTable(table, data);
  CPreviewThreadStatus::Instance().SetAbort(0);
  CAccessTableDataFileParser(kExactRules, ShownJob()).FillPreview(&table, &store);
  EXPECT_EQ(store.GetItemCount(), kRows);
  EXPECT_EQ(store.GetRowsRead(), 0u);
  const size_t folderEntries = ListFolder(folder.GetPath()).size();
  EXPECT_EQ(folderEntries, 1u) << "the data file, and no copy of it";
  for (const size_t first : {size_t{0}, kRows - kScreen, kRows - kScreen})
    for (size_t row = first; row < first + kScreen; ++row) {
      ASSERT_EQ(ToUtf8(store.GetCell(row, 0)), std::to_string(row));
      ASSERT_EQ(ToUtf8(store.GetCell(row, 1)), std::to_string(row) + ",5");
    }
  EXPECT_EQ(store.GetRowsRead(), 2 * kScreen) << "a page that is drawn again is not read again";
  EXPECT_EQ(ToUtf8(store.GetPlainCell(7, 1)), "7.5") << "for other programs";
  EXPECT_EQ(Find(u"wanted", Place{14'990, 2}, 100), "15000/2");
  EXPECT_EQ(store.GetRowsRead(), 2 * kScreen + 10);
  EXPECT_EQ(Find(u"77,5", {}, 100) + " " + Find(u"78.5", {}, 100) + " " + Find(u"78,5 ", {}, 100),
            "77/1 78/1 ");
}

TEST_F(RecordStore, AFullDiskShowsWhatItHas) {
  SetWorkFolder(scratch / u"no such folder" + std::u16string(1, kPathSeparator));
  const std::u16string text(1000, u'x');
  for (int i = 0; i < 100; ++i) AddRow(text);
  SetWorkFolder(folder.GetPath());
  EXPECT_FALSE(store.GetProblem().empty());
  ASSERT_GT(store.GetItemCount(), 20u);
  ASSERT_LT(store.GetItemCount(), 40u);
  for (size_t i = 0; i + 1 < store.GetItemCount(); ++i) EXPECT_EQ(store.GetCell(i, 1), text);
  store.Clear();
  EXPECT_TRUE(store.GetProblem().empty());
}

// Names of Access 97 are recovered as bytes, two to a unit.
TEST_F(RecordStore, HeadingsAreSpeltForPeople) {
  CAccessData data(kStandardRules, GetWorkFolder());
  data.source.codePage = 1252;
  CAccessTable& table = data.GetTables().AddTable(4096);
  CAccessColumn column;
  column.SetName(u"\u7441\u6365\u00FC");
  column.storedNameBytes = 5;
  table.columns.Add(std::move(column));
  store.SetTable(table, data);
  store.InsertColumn(0, table.columns.GetAt(0)->GetName(), 100);
  EXPECT_EQ(store.GetColumns().front().heading, u"Atec\u00FC");
}

TEST(TextSearch, FoldsTheCapitalsOfThreeScripts) {
  EXPECT_EQ(ToUtf8(FoldCase(u"AbZ\u00C4\u00D7\u0104\u0105\u0139\u0178\u0386\u03A3\u03C2\u0401\u042F")),
            ToUtf8(u"abz\u00E4\u00D7\u0105\u0105\u013A\u00FF\u03AC\u03C3\u03C3\u0451\u044F"));
}

}  // namespace
}  // namespace tolvane
