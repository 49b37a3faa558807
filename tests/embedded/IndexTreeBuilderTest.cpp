// Pages of an index as engines fill them, and failures. Whole trees are proved by the checker in
// UserIndexTest.
#include "embedded/IndexTreeBuilder.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "format/IndexPage.h"
#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

constexpr uint32_t kOwner = 0x1234, kRoot = 7, kFirstFree = 100;
using Keys = std::vector<std::vector<uint8_t>>;

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
  bool Build(const SIndexPageLayout& layout, const Keys& keys) {
    CIndexTreeBuilder builder(layout, kOwner, kRoot, Sink());
    for (uint32_t i = 0; i < keys.size(); i++)
      if (!builder.Add(keys[i], 0x20000 + i, 0)) return false;
    return builder.Finish();
  }
};

// Ascending keys of `size` bytes.
Keys MakeKeys(size_t count, size_t size) {
  Keys keys(count, std::vector<uint8_t>(size, 0x55));
  for (size_t i = 0; i < count; i++) keys[i][0] = static_cast<uint8_t>(i);
  return keys;
}

TEST(IndexTreeBuilder, AnOverflowingLeafUsesThePrefixOfItsEntries) {
  Keys numbers;
  for (uint8_t i = 0; i < 200; i++) numbers.insert(numbers.end(), 2, {0x7F, 0x80, 0, 0, i});
  Keys long3(3, std::vector<uint8_t>(798));
  for (uint8_t i = 0; i < 3; i++) long3[i][2] = i;
  const struct {
    Keys keys;
    size_t count;
    uint8_t prefix, freeBytes;
  } cases[] = {
      // As in files of the engine: with a prefix of four, 359 entries of five bytes leave one byte free.
      {numbers, 359, 4, 1},
      // The prefix ends before the row pointers, even where these begin alike: 5 + 448 * 4 bytes and 3 free.
      {Keys(460, FromHex("7F 80 00 00 01")), 448, 5, 3},
      // The third entry of 802 bytes does not fit, prefix or not; the prefix is used all the same.
      {long3, 2, 2, 198},
      // Three entries of 600 bytes fill the page to its last byte.
      {MakeKeys(4, 596), 3, 0, 0},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.count);
    SFile file;
    ASSERT_TRUE(file.Build(kIndexPageJet3, test.keys));
    const std::vector<uint8_t>& leaf = file.pages.at(kFirstFree);
    CIndexPage page;
    std::u16string problem;
    ASSERT_TRUE(page.Parse(kIndexPageJet3, leaf, problem));
    EXPECT_EQ(page.GetCount(), test.count);
    EXPECT_EQ(leaf[20], test.prefix);
    EXPECT_EQ(leaf[2], test.freeBytes);
    EXPECT_EQ(file.pages.at(kFirstFree + 1)[20], 0) << "the last leaf has none";
  }
}

TEST(IndexTreeBuilder, NoNodeIsLeftWithASingleChild) {
  for (const SIndexPageLayout* layout : {&kIndexPageJet3, &kIndexPageJet4}) {
    for (size_t count = 20; count < 60; count++) {
      SFile file;
      ASSERT_TRUE(file.Build(*layout, MakeKeys(count, 404)));
      for (const auto& [number, bytes] : file.pages) {
        CIndexPage page;
        std::u16string problem;
        ASSERT_TRUE(page.Parse(*layout, bytes, problem));
        EXPECT_GE(page.GetCount(), 1U) << "page " << number << " of " << count << " entries";
      }
    }
  }
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
  for (const auto& [size, page, isTaken] :
       {std::tuple<size_t, uint32_t, bool>{1792, 0xFFFFFF, true}, {1793, 1, false}, {1, 0x1000000, false}}) {
    SFile file;
    CIndexTreeBuilder builder(kIndexPageJet3, kOwner, kRoot, file.Sink());
    EXPECT_EQ(builder.Add(std::vector<uint8_t>(size, 0x11), page, 0), isTaken) << size;
  }
}

// Whatever call fails, the builder says so and stays failed.
TEST(IndexTreeBuilder, FailuresOfTheFileAreReported) {
  for (uint32_t page = kFirstFree; page < kFirstFree + 10; page++) {
    for (const bool failWrite : {false, true}) {
      SFile file;
      (failWrite ? file.failWriteAt : file.failAllocationAt) = page;
      EXPECT_FALSE(file.Build(kIndexPageJet3, MakeKeys(60, 404))) << page;
    }
  }
}

}  // namespace
}  // namespace tolvane
