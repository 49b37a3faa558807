#include "embedded/IndexSorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/format/KeyBytes.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

class IndexSorterTest : public ::testing::Test {
 protected:
  const CScratchFolder m_scratch;
  const std::u16string m_folder = m_scratch / u"";
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
  std::ranges::sort(entries, [](const SAdded& a, const SAdded& b) { return a.Bytes() < b.Bytes(); });
  SIndexEntry entry;
  for (size_t i = 0; i < entries.size(); i++) {
    ASSERT_TRUE(sorter.Next(entry));
    ASSERT_TRUE(std::ranges::equal(entry.key, entries[i].key)) << i;
    ASSERT_EQ(entry.page, entries[i].page);
    ASSERT_EQ(entry.row, entries[i].row);
    ASSERT_EQ(entry.repeatsKey, i != 0 && entries[i - 1].key == entries[i].key);
  }
  EXPECT_FALSE(sorter.Next(entry));
  EXPECT_EQ(sorter.GetError(), EDaoError::None);
}

TEST_F(IndexSorterTest, SmallSetsStayInMemoryLargeOnesGoThroughAFileThatDoesNotStay) {
  const struct {
    size_t bound, count, leastRuns, mostRuns;
  } cases[] = {{64 << 20, 0, 0, 0},
               {64 << 20, 20000, 0, 0},
               {64 << 10, 20000, 10, 1000},
               {1, 51, 51, 51}};  // a bound below one entry
  for (const auto& test : cases) {
    CIndexSorter sorter(m_folder, test.bound), neighbour(m_folder, test.bound);
    ExpectSorted(neighbour, MakeEntries(test.count));
    ExpectSorted(sorter, MakeEntries(test.count));
    EXPECT_GE(sorter.GetRunCount(), test.leastRuns);
    EXPECT_LE(sorter.GetRunCount(), test.mostRuns);
    EXPECT_EQ(ListFolder(m_folder).size(), test.mostRuns == 0 ? 0U : 2U);
  }
  EXPECT_TRUE(ListFolder(m_folder).empty());
}

// Row pointers of the short key stand on both sides of the longer key that begins with it.
TEST_F(IndexSorterTest, AKeyThatBeginsAnotherIsStillSeenToRepeat) {
  CIndexSorter sorter(m_folder);
  ASSERT_EQ(sorter.Add(FromHex("7F"), 0x000001, 0), EDaoError::None);
  ASSERT_EQ(sorter.Add(FromHex("7F 00 00 02"), 0x000009, 0), EDaoError::None);
  ASSERT_EQ(sorter.Add(FromHex("7F"), 0x000002, 5), EDaoError::None);
  ASSERT_EQ(sorter.Sort(), EDaoError::None);
  SIndexEntry entry;
  std::vector<bool> repeats;
  while (sorter.Next(entry)) repeats.push_back(entry.repeatsKey);
  EXPECT_EQ(repeats, (std::vector<bool>{false, false, true}));
}

TEST_F(IndexSorterTest, FailuresAreErrors) {
  CIndexSorter sorter(m_scratch / u"missing/", 64);
  EDaoError error = EDaoError::None;
  for (const SAdded& added : MakeEntries(10)) error = sorter.Add(added.key, added.page, added.row);
  EXPECT_EQ(error, EDaoError::DiskError);
  EXPECT_EQ(sorter.Sort(), EDaoError::DiskError);
  SIndexEntry entry;
  EXPECT_FALSE(sorter.Next(entry));
  CIndexSorter other(m_folder);
  EXPECT_EQ(other.Add(std::vector<uint8_t>(70000, 1), 1, 0), EDaoError::RecordTooLarge) << "beyond any page";
}

}  // namespace
}  // namespace tolvane
