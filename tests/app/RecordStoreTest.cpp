// The records of the preview, in memory and in their file.
#include "app/RecordStore.h"

#include <gtest/gtest.h>

#include <thread>

#include "app/SpillFile.h"
#include "app/TextSearch.h"
#include "store/WorkFolder.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {

namespace {

class RecordStore : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(folder.Create(scratch.GetPath() + kPathSeparator)); }

  // Two columns: the row's number and `text`.
  void AddRow(std::u16string_view text) {
    const size_t item = store.GetItemCount();
    store.InsertItem(item);
    store.SetItemText(item, 0, ToDecimal(item));
    store.SetItemText(item, 1, text);
  }
  void AddColumns() {
    store.InsertColumn(0, u"Number", 100);
    store.InsertColumn(1, u"Text", 100);
  }

  CScratchFolder scratch;
  CRunFolder folder;
  CRecordStore store;
};

TEST_F(RecordStore, KeepsRowsOfAnySize) {
  AddColumns();
  const std::u16string huge(300'000, u'h');
  for (const std::u16string_view text :
       {std::u16string_view(u"a"), std::u16string_view(), std::u16string_view(huge),
        std::u16string_view(u"\0\xD800\xFFFF", 3), std::u16string_view(u"end")})
    AddRow(text);
  store.InsertItem(5);
  ASSERT_EQ(store.GetItemCount(), 6u);
  EXPECT_EQ(store.GetCell(0, 1), u"a");
  EXPECT_EQ(store.GetCell(1, 1), u"");
  EXPECT_EQ(store.GetCell(2, 1), huge);
  EXPECT_EQ(store.GetCell(2, 1, 10), huge.substr(0, 10));
  EXPECT_EQ(store.GetCell(3, 1), std::u16string(u"\0\xD800\xFFFF", 3));
  EXPECT_EQ(store.GetCell(4, 1), u"end");
  EXPECT_EQ(store.GetCell(4, 0), u"4");
  for (const auto& [item, column] : {std::pair<size_t, size_t>{5, 0}, {6, 0}, {0, 2}, {SIZE_MAX, 0}})
    EXPECT_EQ(store.GetCell(item, column), u"");
  EXPECT_EQ(store.GetColumns().at(1).heading, u"Text");

  const uint32_t generation = store.GetGeneration();
  EXPECT_FALSE(ListFolder(folder.GetPath()).empty());
  store.Clear();
  EXPECT_NE(store.GetGeneration(), generation);
  EXPECT_EQ(store.GetItemCount(), 0u);
  EXPECT_TRUE(store.GetColumns().empty());
  AddRow(u"again");
  EXPECT_EQ(store.GetCell(0, 1), u"again");
}

TEST_F(RecordStore, ReadsWhileRowsArrive) {
  constexpr size_t kRows = 200'000;
  AddColumns();
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
  EXPECT_EQ(store.GetCell(kRows - 1, 0), ToDecimal(kRows - 1));
}

TEST_F(RecordStore, FindsIgnoringCase) {
  AddColumns();
  for (const std::u16string_view text :
       {u"Bergen", u"M\u00DCNCHEN", u"", u"bergen and more", u"\u041C\u043E\u0441"})
    AddRow(text);
  using Place = CRecordStore::SPlace;
  struct SCase {
    std::u16string_view text;
    std::optional<Place> from;
    std::optional<Place> found;
  };
  const SCase cases[] = {
      {u"BERG", {}, Place{0, 1}},
      {u"berg", Place{0, 1}, Place{3, 1}},
      {u"berg", Place{3, 1}, Place{0, 1}},  // round the end
      {u"m\u00FCn", {}, Place{1, 1}},
      {u"\u043C\u041E", {}, Place{4, 1}},
      {u"2", {}, Place{2, 0}},
      {u"2", Place{2, 0}, Place{2, 0}},
      {u"missing", {}, {}},
      {u"", {}, {}},
      {u"0", Place{99, 0}, Place{0, 0}},
  };
  for (const SCase& c : cases) {
    Place lookedTo;
    const auto found = store.Find(c.text, c.from, store.GetItemCount() + 1, lookedTo);
    ASSERT_EQ(found.has_value(), c.found.has_value()) << ToUtf8(c.text);
    if (!found) continue;
    EXPECT_EQ(found->item, c.found->item) << ToUtf8(c.text);
    EXPECT_EQ(found->column, c.found->column) << ToUtf8(c.text);
  }
  // Piece by piece.
  Place lookedTo;
  EXPECT_FALSE(store.Find(u"\u043C", {}, 2, lookedTo));
  EXPECT_EQ(lookedTo.item, 1u);
  EXPECT_FALSE(store.Find(u"\u043C", lookedTo, 2, lookedTo));
  const auto found = store.Find(u"\u043C", lookedTo, 1, lookedTo);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->item, 4u);
}

TEST_F(RecordStore, AFullDiskShowsWhatItHas) {
  SetWorkFolder(scratch / u"no such folder" + std::u16string(1, kPathSeparator));
  AddColumns();
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

TEST_F(RecordStore, ASpillFileReadsAcrossItsBlocks) {
  CSpillFile file;
  std::vector<uint8_t> bytes(40 * CSpillFile::kBlockSize + 17);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
  for (size_t at = 0; at < bytes.size(); at += 9999)
    ASSERT_TRUE(file.Append(std::span(bytes).subspan(at, std::min<size_t>(9999, bytes.size() - at))));
  ASSERT_EQ(file.GetLength(), bytes.size());
  for (const size_t at :
       {size_t{0}, CSpillFile::kBlockSize - 1, 39 * CSpillFile::kBlockSize, bytes.size() - 3}) {
    std::vector<uint8_t> read(3 * CSpillFile::kBlockSize);
    read.resize(file.Read(at, read));
    EXPECT_EQ(read.size(), std::min(3 * CSpillFile::kBlockSize, bytes.size() - at));
    EXPECT_TRUE(std::equal(read.begin(), read.end(), bytes.begin() + static_cast<ptrdiff_t>(at))) << at;
  }
  EXPECT_EQ(file.Read(bytes.size(), bytes), 0u);
  file.Clear();
  EXPECT_TRUE(ListFolder(folder.GetPath()).empty() ||
              !ListFolder(folder.GetPath())[0].starts_with(u"records"));
}

}  // namespace

}  // namespace tolvane
