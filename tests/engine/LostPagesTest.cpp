// Pages that cannot be read or that belong to nobody: what they cost, and what they must not.
#include "engine/Judgements.h"
#include "engine/PageReader.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

using enum SHomelessPage::EReason;

class LostPages : public CEngineTest {
 protected:
  uint64_t Count(EDamage kind) const { return data.GetLedger().GetCount(kind); }

  CAccessData data{kStandardRules, GetWorkFolder()};
};

TEST_F(LostPages, FreeAndAdoptedPagesAreNoLoss) {
  CPageClaims claims;
  claims.Adopt(5);
  CountHomelessPages(data, {{3, NoOwner}, {4, NoHead}, {5, NoHead}, {6, Free}, {7, NoHead}, {8, LongValues}},
                     claims);
  EXPECT_EQ(Count(EDamage::OrphanDataPage), 1u);
  EXPECT_EQ(Count(EDamage::UnknownPage), 2u);
  EXPECT_EQ(Count(EDamage::BrokenPage), 1u);
}

TEST_F(LostPages, ATemplateThatGotNoRowDoesNotFit) {
  CAccessTable& table = data.GetTables().AddTable(3 * 4096);
  table.header.tableType = kUserTable;
  CountUnfitPages(data, {{3, NoOwner}, {4, NoHead}, {6, Free}});
  EXPECT_EQ(Count(EDamage::UnfitTemplate), 1u);
  table.header.rowCount = 1;
  CountUnfitPages(data, {{3, NoOwner}});
  EXPECT_EQ(Count(EDamage::UnfitTemplate), 1u);
}

TEST_F(LostPages, ADoubtfulNameOnAFreedDefinitionIsNoLoss) {
  CDatabaseBuilder file(kLayoutJet4);
  const uint32_t page = file.AddTable(SmallTable());
  CAccessTable& table = data.GetTables().AddTable(uint64_t{page} * 4096);
  table.nameSource = ENameSource::Generated;
  const size_t bits = file.Page(kGlobalMapPage).Get16(kLayoutJet4.data.slots) + 5;
  for (const bool isFree : {true, false}) {
    file.Page(kGlobalMapPage).Put8(bits + page / 8, isFree ? 1u << page % 8 : 0);
    COpenedFile source(file.Build(), kLayoutJet4);
    CountDoubtfulNames(data, source);
    EXPECT_EQ(Count(EDamage::UnnamedTable), isFree ? 0u : 1u);
  }
}

// The pages that were read last are kept: half of another one must not stand in their place.
TEST_F(LostPages, APageThatCannotBeReadSpoilsNoOther) {
  constexpr size_t kSize = 4096;
  Bytes bytes(1400 * kSize);
  for (size_t at = 0; at < bytes.size(); ++at) bytes[at] = static_cast<uint8_t>(1 + at / kSize % 250);
  const CTempFile source(bytes);
  CPageReader reader;
  ASSERT_TRUE(reader.Open(source.GetPath()));
  Bytes page(kSize);
  for (uint64_t number = 1300; number > 30; number -= 20) ASSERT_TRUE(reader.ReadPage(number * kSize, page));
  if (!source.Truncate(30 * kSize + 5)) GTEST_SKIP() << "an open file cannot be cut here";
  EXPECT_FALSE(reader.ReadPage(30 * kSize, page));
  EXPECT_FALSE(reader.ReadPage(1300 * kSize, page)) << "it gave way to page 30";
  EXPECT_TRUE(reader.ReadPage(1280 * kSize, page));
  EXPECT_EQ(page, Bytes(kSize, static_cast<uint8_t>(1 + 1280 % 250)));
}

// A failing disk takes seconds for each try: no block is asked for where one has failed.
TEST_F(LostPages, PagesOfABadBlockAreReadOneByOne) {
  constexpr size_t kSize = 4096;
  const CTempFile source(Bytes(40 * kSize));
  CPageReader reader;
  Bytes page(kSize);
  ASSERT_TRUE(reader.Open(source.GetPath()) && reader.ReadPage(0, page));
  if (!source.Truncate(6 * kSize)) GTEST_SKIP() << "an open file cannot be cut here";
  EXPECT_TRUE(reader.ReadPage(4 * kSize, page)) << "with others that are gone";
  ASSERT_TRUE(source.Truncate(40 * kSize));
  EXPECT_TRUE(reader.ReadPage(5 * kSize, page));
  ASSERT_TRUE(source.Truncate(6 * kSize));
  EXPECT_FALSE(reader.ReadPage(6 * kSize, page)) << "nobody has read it yet";
}

}  // namespace

}  // namespace tolvane
