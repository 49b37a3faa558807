#include "writer/embedded/IndexSorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"
#include "tests/embedded/KeyBytes.h"

namespace tolvane {
namespace {

class IndexSorterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_folder = GetTempFolder() + u"tolvane_sorter_" + ToDecimal(uint64_t{GetProcessNumber()});
    ASSERT_TRUE(CreateFolder(m_folder));
    m_folder += kPathSeparator;
  }
  void TearDown() override { RemoveFolderTree(m_folder); }

  std::u16string m_folder;
};

struct SAdded {
  std::vector<uint8_t> key;
  uint32_t page;
  uint8_t row;

  [[nodiscard]] std::vector<uint8_t> Bytes() const {
    std::vector<uint8_t> bytes = key;
    bytes.insert(bytes.end(), {static_cast<uint8_t>(page >> 16), static_cast<uint8_t>(page >> 8),
                               static_cast<uint8_t>(page), row});
    return bytes;
  }
};

// Keys of many lengths, some of them often, none the beginning of another.
std::vector<SAdded> MakeEntries(size_t count) {
  std::mt19937 random(20240607);
  std::vector<SAdded> entries;
  for (size_t i = 0; i < count; i++) {
    std::vector<uint8_t> key(random() % 40, static_cast<uint8_t>(1 + random() % 255));
    key.push_back(0);
    entries.push_back({key, static_cast<uint32_t>(i / 200 + 0x8000), static_cast<uint8_t>(i % 200)});
  }
  return entries;
}

// Every entry once, in order, with repetitions marked.
void ExpectSorted(CIndexSorter& sorter, std::vector<SAdded> entries) {
  for (const SAdded& added : entries)
    ASSERT_EQ(sorter.Add(added.key, added.page, added.row), EDaoError::None);
  ASSERT_EQ(sorter.Sort(), EDaoError::None);
  std::sort(entries.begin(), entries.end(),
            [](const SAdded& a, const SAdded& b) { return a.Bytes() < b.Bytes(); });
  SIndexEntry entry;
  for (size_t i = 0; i < entries.size(); i++) {
    ASSERT_TRUE(sorter.Next(entry));
    ASSERT_EQ(ToHex({entry.key.begin(), entry.key.end()}), ToHex(entries[i].key));
    ASSERT_EQ(entry.page, entries[i].page);
    ASSERT_EQ(entry.row, entries[i].row);
    ASSERT_EQ(entry.repeatsKey, i != 0 && entries[i - 1].key == entries[i].key);
  }
  EXPECT_FALSE(sorter.Next(entry));
  EXPECT_EQ(sorter.GetError(), EDaoError::None);
}

// Runs of more than 64 KiB in which an entry begins at every multiple of 15.
TEST_F(IndexSorterTest, LongRunsOfEqualSizes) {
  std::vector<SAdded> entries = MakeEntries(40000);
  for (size_t i = 0; i < entries.size(); i++) {
    entries[i].key.assign(9, static_cast<uint8_t>(i % 251));
    entries[i].key[5] = static_cast<uint8_t>(i / 500);
  }
  CIndexSorter sorter(m_folder, size_t{2} << 20);
  ExpectSorted(sorter, entries);
  EXPECT_GT(sorter.GetRunCount(), 1U);
}

TEST_F(IndexSorterTest, SmallSetsStayInMemory) {
  CIndexSorter sorter(m_folder);
  ExpectSorted(sorter, MakeEntries(1000));
  EXPECT_EQ(sorter.GetRunCount(), 0U);
  EXPECT_TRUE(ListFolder(m_folder).empty());
  CIndexSorter empty(m_folder);
  ExpectSorted(empty, {});
}

TEST_F(IndexSorterTest, LargeSetsGoThroughAFileThatDoesNotStay) {
  {
    CIndexSorter sorter(m_folder, 64 << 10);
    CIndexSorter neighbour(m_folder, 64 << 10);
    ExpectSorted(neighbour, MakeEntries(3000));
    ExpectSorted(sorter, MakeEntries(20000));
    EXPECT_GT(sorter.GetRunCount(), 10U);
    EXPECT_EQ(ListFolder(m_folder).size(), 2U);
  }
  EXPECT_TRUE(ListFolder(m_folder).empty());
}

TEST_F(IndexSorterTest, ABoundBelowOneEntryStillSorts) {
  CIndexSorter sorter(m_folder, 1);
  ExpectSorted(sorter, MakeEntries(50));
  EXPECT_EQ(sorter.GetRunCount(), 50U);
}

// Row pointers of the short key stand on both sides of the longer key that begins with it.
TEST_F(IndexSorterTest, AKeyThatBeginsAnotherIsStillSeenToRepeat) {
  CIndexSorter sorter(m_folder);
  ASSERT_EQ(sorter.Add(FromHex("7F"), 0x000001, 0), EDaoError::None);
  ASSERT_EQ(sorter.Add(FromHex("7F 00 00 02 00"), 0x000009, 0), EDaoError::None);
  ASSERT_EQ(sorter.Add(FromHex("7F"), 0x000003, 0), EDaoError::None);
  ASSERT_EQ(sorter.Sort(), EDaoError::None);
  SIndexEntry entry;
  std::vector<bool> repeats;
  while (sorter.Next(entry)) repeats.push_back(entry.repeatsKey);
  EXPECT_EQ(repeats, (std::vector<bool>{false, false, true}));
}

TEST_F(IndexSorterTest, AFolderThatIsNotThereIsAnError) {
  CIndexSorter sorter(m_folder + u"missing" + kPathSeparator, 64);
  EDaoError error = EDaoError::None;
  for (const SAdded& added : MakeEntries(10)) error = sorter.Add(added.key, added.page, added.row);
  EXPECT_EQ(error, EDaoError::DiskError);
  EXPECT_EQ(sorter.Sort(), EDaoError::DiskError);
  SIndexEntry entry;
  EXPECT_FALSE(sorter.Next(entry));
}

TEST_F(IndexSorterTest, AKeyBeyondAnyPageIsRefused) {
  CIndexSorter sorter(m_folder);
  EXPECT_EQ(sorter.Add(std::vector<uint8_t>(70000, 1), 1, 0), EDaoError::RecordTooLarge);
}

}  // namespace
}  // namespace tolvane
