#include "writer/embedded/IndexTreeBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "tests/embedded/KeyBytes.h"

namespace tolvane {
namespace {

constexpr uint32_t kOwner = 0x1234;
constexpr uint32_t kRoot = 7;
constexpr uint32_t kFirstFree = 100;

// Where the reader below finds things, apart from the builder's own table.
struct SOffsets {
  size_t pageSize, previous, next, tail, prefix, level, mask, entries;
  bool prefixIsWord;
};
constexpr SOffsets kReadJet3{2048, 8, 12, 16, 20, 21, 22, 248, false};
constexpr SOffsets kReadJet4{4096, 12, 16, 20, 24, 26, 27, 480, true};

struct SFormat {
  const char* name;
  const SIndexPageLayout& layout;
  SOffsets at;
};
const SFormat kFormats[] = {{"Jet 3", kIndexPageJet3, kReadJet3}, {"Jet 4", kIndexPageJet4, kReadJet4}};

// The file: pages by number.
struct SFile {
  std::map<uint32_t, std::vector<uint8_t>> pages;
  uint32_t nextPage = kFirstFree;
  uint32_t failAllocationAt = 0;
  uint32_t failWriteAt = 0;

  SIndexPageSink Sink() {
    return {[this] { return nextPage == failAllocationAt ? 0 : nextPage++; },
            [this](uint32_t page, std::span<const uint8_t> bytes) {
              EXPECT_EQ(pages.count(page), 0U) << "page " << page << " written twice";
              pages[page].assign(bytes.begin(), bytes.end());
              return page != failWriteAt;
            }};
  }
};

using Entry = std::vector<uint8_t>;

uint32_t Number(const std::vector<uint8_t>& page, size_t at, size_t width) {
  uint32_t value = 0;
  for (size_t i = width; i-- > 0;) value = value << 8 | page[at + i];
  return value;
}

// Reads a tree as a stranger would and checks what every index page must satisfy.
class CTreeChecker {
 public:
  CTreeChecker(const SFile& file, const SOffsets& at) : m_file(file), m_at(at) {}

  // All leaf entries in order; each level's pages must also be linked in this order.
  std::vector<Entry> Check() {
    Visit(kRoot, Page(kRoot)[m_at.level]);
    for (const auto& [level, pages] : m_byLevel) {
      for (size_t i = 0; i < pages.size(); i++) {
        EXPECT_EQ(Number(Page(pages[i]), m_at.previous, 4), i == 0 ? 0 : pages[i - 1]) << "level " << level;
        EXPECT_EQ(Number(Page(pages[i]), m_at.next, 4), i + 1 == pages.size() ? 0 : pages[i + 1]);
      }
    }
    EXPECT_EQ(m_visited.size(), m_file.pages.size()) << "pages outside the tree";
    return m_entries;
  }

  [[nodiscard]] size_t LevelCount() const { return m_byLevel.size(); }
  [[nodiscard]] const std::vector<uint32_t>& PagesOf(uint8_t level) const { return m_byLevel.at(level); }
  [[nodiscard]] const std::set<uint32_t>& Visited() const { return m_visited; }

  // The entries of one page, complete.
  std::vector<Entry> EntriesOf(uint32_t number) {
    const std::vector<uint8_t>& page = Page(number);
    const uint32_t prefix = Number(page, m_at.prefix, m_at.prefixIsWord ? 2 : 1);
    std::vector<Entry> entries;
    size_t start = 0;
    for (size_t k = 0; k <= m_at.pageSize - m_at.entries; k++) {
      if ((page[m_at.mask + k / 8] >> k % 8 & 1) == 0) continue;
      Entry entry;
      if (!entries.empty()) entry.assign(entries[0].begin(), entries[0].begin() + prefix);
      entry.insert(entry.end(), page.begin() + static_cast<std::ptrdiff_t>(m_at.entries + start),
                   page.begin() + static_cast<std::ptrdiff_t>(m_at.entries + k));
      EXPECT_GT(k, start);
      entries.push_back(entry);
      start = k;
    }
    EXPECT_EQ(Number(page, 2, 2), m_at.pageSize - m_at.entries - start) << "free word of page " << number;
    EXPECT_TRUE(std::all_of(page.begin() + static_cast<std::ptrdiff_t>(m_at.entries + start), page.end(),
                            [](uint8_t byte) { return byte == 0; }));
    if (page[0] == 3) {
      EXPECT_EQ(prefix, 0U);
    }
    return entries;
  }

 private:
  const std::vector<uint8_t>& Page(uint32_t number) {
    const auto found = m_file.pages.find(number);
    if (found != m_file.pages.end()) return found->second;
    ADD_FAILURE() << "page " << number << " was never written";
    static const std::vector<uint8_t> kNone(4096, 0);
    return kNone;
  }

  // The last leaf entry below the page.
  Entry Visit(uint32_t number, uint8_t level) {
    EXPECT_TRUE(m_visited.insert(number).second);
    const std::vector<uint8_t>& page = Page(number);
    EXPECT_EQ(page.size(), m_at.pageSize);
    EXPECT_EQ(page[0], level == 0 ? 4 : 3);
    EXPECT_EQ(page[1], 1);
    EXPECT_EQ(Number(page, 4, 4), kOwner);
    EXPECT_EQ(page[m_at.level], level);
    m_byLevel[level].push_back(number);
    const std::vector<Entry> entries = EntriesOf(number);
    const uint32_t tail = Number(page, m_at.tail, 4);
    if (level == 0) {
      EXPECT_EQ(tail, 0U);
      m_entries.insert(m_entries.end(), entries.begin(), entries.end());
      return entries.empty() ? Entry{} : entries.back();
    }
    for (const Entry& entry : entries) {
      uint32_t child = 0;
      for (size_t i = entry.size() - 4; i < entry.size(); i++) child = child << 8 | entry[i];
      const Entry last = Visit(child, static_cast<uint8_t>(level - 1));
      EXPECT_EQ(last, Entry(entry.begin(), entry.end() - 4));
    }
    return Visit(tail, static_cast<uint8_t>(level - 1));
  }

  const SFile& m_file;
  SOffsets m_at;
  std::vector<Entry> m_entries;
  std::map<uint8_t, std::vector<uint32_t>> m_byLevel;
  std::set<uint32_t> m_visited;
};

struct SRow {
  std::vector<uint8_t> key;
  uint32_t page;
  uint8_t row;

  [[nodiscard]] Entry Bytes() const {
    Entry entry = key;
    entry.insert(entry.end(), {static_cast<uint8_t>(page >> 16), static_cast<uint8_t>(page >> 8),
                               static_cast<uint8_t>(page), row});
    return entry;
  }
};

// Two rows for each key; the key's head is the same in all of them.
std::vector<SRow> MakeRows(size_t count, size_t headLength, size_t tailLength) {
  std::vector<SRow> rows;
  for (size_t i = 0; i < count; i++) {
    SRow row{std::vector<uint8_t>(headLength, 0x7F), static_cast<uint32_t>(0x10000 + i),
             static_cast<uint8_t>(i)};
    for (size_t k = 0; k < 4; k++) row.key.push_back(static_cast<uint8_t>(i / 2 >> (24 - 8 * k)));
    row.key.insert(row.key.end(), tailLength + i / 2 % 3, 0x55);
    rows.push_back(row);
  }
  return rows;
}

// Builds, checks the whole tree against the rows, and answers the number of levels.
size_t BuildAndCheck(const SFormat& format, const std::vector<SRow>& rows) {
  SCOPED_TRACE(std::string(format.name) + ", " + std::to_string(rows.size()) + " rows");
  SFile file;
  CIndexTreeBuilder builder(format.layout, kOwner, kRoot, file.Sink());
  for (const SRow& row : rows) EXPECT_TRUE(builder.Add(row.key, row.page, row.row));
  EXPECT_TRUE(builder.Finish());
  EXPECT_FALSE(builder.Add({}, 0xFFFFFF, 0));
  EXPECT_FALSE(builder.Finish());

  CTreeChecker checker(file, format.at);
  const std::vector<Entry> found = checker.Check();
  EXPECT_EQ(found.size(), rows.size());
  for (size_t i = 0; i < std::min(found.size(), rows.size()); i++) EXPECT_EQ(found[i], rows[i].Bytes());

  const std::vector<uint32_t>& pages = builder.GetPages();
  EXPECT_EQ(pages.front(), kRoot);
  EXPECT_EQ(std::set<uint32_t>(pages.begin(), pages.end()), checker.Visited());
  EXPECT_EQ(pages.size(), checker.Visited().size());
  EXPECT_EQ(builder.GetEntryCount(), rows.size());
  EXPECT_EQ(builder.GetDistinctKeyCount(), (rows.size() + 1) / 2);
  return checker.LevelCount();
}

TEST(IndexTreeBuilder, SmallIndexesAreOneLeafOnTheRootPage) {
  for (const SFormat& format : kFormats) {
    EXPECT_EQ(BuildAndCheck(format, {}), 1U);
    EXPECT_EQ(BuildAndCheck(format, MakeRows(1, 1, 0)), 1U);
    EXPECT_EQ(BuildAndCheck(format, MakeRows(100, 1, 0)), 1U);
  }
}

TEST(IndexTreeBuilder, EveryPageAroundASplitIsSound) {
  for (const SFormat& format : kFormats) {
    for (size_t count = 3; count < 80; count++) BuildAndCheck(format, MakeRows(count, 1, 500));
  }
}

TEST(IndexTreeBuilder, TreesOfSeveralLevels) {
  for (const SFormat& format : kFormats) {
    EXPECT_EQ(BuildAndCheck(format, MakeRows(3000, 1, 0)), 2U);
    EXPECT_EQ(BuildAndCheck(format, MakeRows(4000, 30, 40)), 3U);
    EXPECT_GE(BuildAndCheck(format, MakeRows(700, 1, 500)), 4U);
  }
}

// Keys of the largest size leave nodes with two children, or one at the end of a level.
TEST(IndexTreeBuilder, TheLongestKeysStillMakeATree) {
  for (const SFormat& format : kFormats) {
    const size_t tail = format.layout.Capacity() - 8 - 4 - 2;
    EXPECT_GE(BuildAndCheck(format, MakeRows(40, 0, tail)), 5U);
  }
}

TEST(IndexTreeBuilder, NoNodeIsLeftWithASingleChild) {
  for (const SFormat& format : kFormats) {
    for (size_t count = 20; count < 60; count++) {
      SFile file;
      CIndexTreeBuilder builder(format.layout, kOwner, kRoot, file.Sink());
      for (const SRow& row : MakeRows(count, 1, 400)) ASSERT_TRUE(builder.Add(row.key, row.page, row.row));
      ASSERT_TRUE(builder.Finish());
      CTreeChecker checker(file, format.at);
      checker.Check();
      for (uint8_t level = 1; level < checker.LevelCount(); level++) {
        for (const uint32_t page : checker.PagesOf(level)) EXPECT_GE(checker.EntriesOf(page).size(), 1U);
      }
    }
  }
}

// The first leaf of 1000 entries: how many it holds, its prefix and its free bytes. The last leaf has no
// prefix.
void ExpectFirstLeaf(const std::vector<std::vector<uint8_t>>& keys, size_t count, uint8_t prefix,
                     uint8_t freeBytes) {
  SFile file;
  CIndexTreeBuilder builder(kIndexPageJet3, kOwner, kRoot, file.Sink());
  uint32_t page = 0x20000;
  for (const std::vector<uint8_t>& key : keys) ASSERT_TRUE(builder.Add(key, page++, 0));
  ASSERT_TRUE(builder.Finish());
  CTreeChecker checker(file, kReadJet3);
  ASSERT_EQ(checker.Check().size(), keys.size());
  const uint32_t first = checker.PagesOf(0).front();
  EXPECT_EQ(checker.EntriesOf(first).size(), count);
  EXPECT_EQ(file.pages[first][20], prefix);
  EXPECT_EQ(file.pages[first][2], freeBytes);
  EXPECT_EQ(file.pages[checker.PagesOf(0).back()][20], 0);
}

TEST(IndexTreeBuilder, AnOverflowingLeafUsesThePrefixOfItsEntries) {
  // As in files of the engine: with a prefix of four, 359 entries of five bytes leave one byte free.
  std::vector<std::vector<uint8_t>> keys;
  for (size_t i = 0; i < 400; i++) {
    keys.push_back(FromHex("7F 80 00 00"));
    keys.back().push_back(static_cast<uint8_t>(i / 2));
  }
  ExpectFirstLeaf(keys, 359, 4, 1);
  // The prefix ends before the row pointers, even where these begin alike: 5 + 448 * 4 bytes and 3 free.
  ExpectFirstLeaf(std::vector<std::vector<uint8_t>>(460, FromHex("7F 80 00 00 01")), 448, 5, 3);
  // The third entry of 802 bytes does not fit, prefix or not; the prefix is used all the same.
  keys.assign(3, std::vector<uint8_t>(798));
  for (size_t i = 0; i < 3; i++) keys[i][2] = static_cast<uint8_t>(i);
  ExpectFirstLeaf(keys, 2, 2, 198);
}

TEST(IndexTreeBuilder, APrefixOverOneByteIsHeldToIt) {
  BuildAndCheck(kFormats[0], MakeRows(50, 400, 0));
  BuildAndCheck(kFormats[1], MakeRows(50, 400, 0));
}

TEST(IndexTreeBuilder, EntriesOutOfOrderAreRefused) {
  for (const auto& [page, row] : {std::pair<uint32_t, uint8_t>{5, 1}, {5, 0}, {4, 9}}) {
    SFile file;
    CIndexTreeBuilder builder(kIndexPageJet4, kOwner, kRoot, file.Sink());
    ASSERT_TRUE(builder.Add(FromHex("7F 01"), 5, 1));
    EXPECT_FALSE(builder.Add(FromHex("7F 01"), page, row));
    EXPECT_FALSE(builder.Add(FromHex("7F 02"), 6, 0));
    EXPECT_FALSE(builder.Finish());
  }
}

TEST(IndexTreeBuilder, KeysThatFitNoPageAreRefused) {
  SFile file;
  CIndexTreeBuilder builder(kIndexPageJet3, kOwner, kRoot, file.Sink());
  EXPECT_FALSE(builder.Add(std::vector<uint8_t>(1800 - 8 + 1, 0x11), 1, 0));
  CIndexTreeBuilder farPage(kIndexPageJet3, kOwner, kRoot, file.Sink());
  EXPECT_FALSE(farPage.Add(FromHex("7F"), 0x1000000, 0));
}

// Whatever call fails, the builder says so and stays failed.
TEST(IndexTreeBuilder, FailuresOfTheFileAreReported) {
  const std::vector<SRow> rows = MakeRows(60, 1, 400);
  for (uint32_t page = kFirstFree; page < kFirstFree + 10; page++) {
    for (const bool failWrite : {false, true}) {
      SFile file;
      (failWrite ? file.failWriteAt : file.failAllocationAt) = page;
      CIndexTreeBuilder builder(kIndexPageJet3, kOwner, kRoot, file.Sink());
      bool ok = true;
      for (const SRow& row : rows) ok = ok && builder.Add(row.key, row.page, row.row);
      EXPECT_FALSE(builder.Finish() && ok) << page;
    }
  }
}

}  // namespace
}  // namespace tolvane
