// The file as the parsers see it: pages, version, what can be said before a repair.
#include <vector>

#include "engine/AccessVersionHandler.h"
#include "engine/DBFileReader.h"
#include "engine/PageReader.h"
#include "engine/SourceCheck.h"
#include "engine/ValidateData.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

constexpr size_t kSize = 4096;

// Page n holds n in each of its words, so that no page looks like another.
Bytes NumberedPages(uint32_t count) {
  Bytes bytes;
  for (uint32_t page = 0; page < count; page++) {
    CPageBytes content(kSize);
    for (size_t at = 0; at < kSize; at += 4) content.Put32(at, page);
    bytes.insert(bytes.end(), content.GetBytes().begin(), content.GetBytes().end());
  }
  return bytes;
}

class PageReader : public CEngineTest {
 protected:
  // The number on a page, or -1 when it could not be read.
  int64_t Read(uint64_t page) {
    Bytes bytes(kSize, 0xEE);
    if (!reader.ReadPage(page * kSize, bytes)) {
      EXPECT_EQ(bytes, Bytes(kSize, 0xEE)) << "a page that cannot be read leaves the buffer alone";
      return -1;
    }
    const Bytes expected(bytes.begin(), bytes.begin() + 4);
    EXPECT_TRUE(std::equal(bytes.end() - 4, bytes.end(), expected.begin())) << "a page of two halves";
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16;
  }

  CPageReader reader;
};

TEST_F(PageReader, AnyOrderReadsTheSamePages) {
  constexpr uint32_t kPages = 700;  // more than the largest block
  const CTempFile source(NumberedPages(kPages));
  ASSERT_TRUE(reader.Open(source.GetPath()));
  for (uint32_t page = 0; page < kPages; page++) {
    ASSERT_EQ(Read(page), page);
    if (page % 3 == 0) {
      ASSERT_EQ(Read(page * 7 % kPages), page * 7 % kPages);
    }
  }
  for (uint32_t page = kPages; page-- > 0;) ASSERT_EQ(Read(page), page);
  for (uint32_t i = 0; i < 2000; i++) ASSERT_EQ(Read(i * 131 % kPages), i * 131 % kPages);
  for (uint32_t page = 0; page < kPages; page += 3) ASSERT_EQ(Read(page), page);
}

TEST_F(PageReader, PagesOutsideTheFile) {
  Bytes bytes = NumberedPages(3);
  bytes.resize(bytes.size() - 1);
  const CTempFile source(bytes);
  ASSERT_TRUE(reader.Open(source.GetPath()));
  EXPECT_EQ(reader.GetPageCount(kSize), 2u);
  EXPECT_EQ(Read(1), 1);
  EXPECT_EQ(Read(2), -1);
  Bytes page(kSize);
  EXPECT_EQ(reader.ReadPartialPage(2 * kSize, page), kSize - 1);
  EXPECT_EQ(page[0], 2);
  EXPECT_FALSE(reader.ReadPage(~uint64_t{0} - 100, page));
  EXPECT_EQ(reader.ReadPartialPage(~uint64_t{0} - 100, page), 0u);
}

TEST_F(PageReader, FileThatShrinksLosesOnlyThePagesThatAreGone) {
  const CTempFile source(NumberedPages(400));
  ASSERT_TRUE(reader.Open(source.GetPath()));
  ASSERT_EQ(Read(0), 0);
  if (!source.Truncate(301 * kSize + 5)) GTEST_SKIP() << "an open file cannot be cut here";
  for (uint32_t page = 1; page < 400; page++) ASSERT_EQ(Read(page), page < 301 ? int64_t{page} : -1);
  EXPECT_EQ(reader.GetLength(), 400 * kSize) << "the length is that of the opened file";
}

TEST_F(PageReader, HandlerKeepsItsErrorAndTheEndOfTheFileIsNone) {
  const CTempFile source(Bytes{1, 2, 3});
  CDBFileReader file;
  CErrorHandler handler;
  file.SetPath(source.GetPath());
  ASSERT_TRUE(file.Open(handler));
  Bytes bytes(4, 9);
  EXPECT_TRUE(file.SeekRead(bytes, 1, handler));
  EXPECT_EQ(bytes, (Bytes{2, 3, 9, 9}));
  EXPECT_TRUE(file.SeekFromEnd(1, handler));
  EXPECT_TRUE(file.Read(bytes, handler));
  EXPECT_EQ(bytes[0], 3);

  CDBFileReader missing;
  missing.SetPath(u"/no/such/file");
  EXPECT_FALSE(missing.Open(handler));
  EXPECT_NE(handler.GetMessageText(), u"Operation completed successfully.");
  EXPECT_FALSE(file.Seek(0, handler)) << "the handler remembers";
}

class Version : public CEngineTest {
 protected:
  static bool IsJet4(const Bytes& bytes) {
    return CAccessVersionHandler().IsJet4(CTempFile(bytes).GetPath());
  }
};

TEST_F(Version, AnyVersionByteButZeroIsJet4) {
  Bytes bytes = CDatabaseBuilder(kJet3Layout).Build();
  EXPECT_FALSE(IsJet4(bytes));
  EXPECT_FALSE(CAccessVersionHandler::IsJet4Flag());
  for (const int version : {1, 2, 3, 0x80, 0xFF}) {
    bytes[0x14] = static_cast<uint8_t>(version);
    EXPECT_TRUE(IsJet4(bytes)) << version;
    EXPECT_TRUE(CAccessVersionHandler::IsJet4Flag());
  }
}

TEST_F(Version, WithoutAVersionThePagesTell) {
  Bytes jet4 = CDatabaseBuilder(kJet4Layout).Build();
  jet4[0x14] = 0;
  EXPECT_TRUE(IsJet4(jet4));

  // The last of the ten pages that are tried, and the one behind it.
  for (const size_t page : {size_t{9}, size_t{10}}) {
    Bytes bytes(2048 * 12);
    const Bytes mark{0x02, 0x01, 'V', 'C'};
    std::copy(mark.begin(), mark.end(), bytes.begin() + static_cast<ptrdiff_t>(2048 * page));
    EXPECT_EQ(IsJet4(bytes), page == 10);
  }
  EXPECT_TRUE(IsJet4(Bytes{}));
  CRepairingFileStatus::Instance().SetRunning(false);
  EXPECT_TRUE(IsJet4(CDatabaseBuilder(kJet3Layout).Build())) << "a stopped test finds nothing";
}

TEST_F(Version, FileThatCannotBeOpenedIsJet3AndLeavesTheFlag) {
  EXPECT_TRUE(IsJet4(CDatabaseBuilder(kJet4Layout).Build()));
  EXPECT_FALSE(CAccessVersionHandler().IsJet4(u"/no/such/file"));
  EXPECT_TRUE(CAccessVersionHandler::IsJet4Flag());
  EXPECT_TRUE(CValidateData().IsJet3(u"/no/such/file"));
}

class SourceCheck : public CEngineTest {
 protected:
  static ESourceState Check(const Bytes& bytes) { return CheckSource(CTempFile(bytes).GetPath()).state; }
  // Pages without a type, as encoding leaves them.
  static void Encode(Bytes& bytes) {
    for (size_t i = 4096; i < bytes.size(); i++) bytes[i] = static_cast<uint8_t>(bytes[i] ^ (i * 197 + 90));
  }
};

TEST_F(SourceCheck, WhatIsNoDatabaseFile) {
  EXPECT_EQ(CheckSource(u"/no/such/file").state, ESourceState::Missing);
  EXPECT_EQ(CheckSource(GetTempFolder()).state, ESourceState::Folder);
  EXPECT_EQ(Check({}), ESourceState::Empty);
  EXPECT_EQ(Check(Bytes(2047)), ESourceState::TooShort);
  EXPECT_EQ(Check(Bytes(2048)), ESourceState::Ok);
  Bytes jet4(4095);
  jet4[kVersionByte] = 1;
  EXPECT_EQ(Check(jet4), ESourceState::TooShort);
}

TEST_F(SourceCheck, DamageIsNoObstacle) {
  Bytes bytes = CDatabaseBuilder(kJet4Layout).Build();
  EXPECT_EQ(Check(bytes), ESourceState::Ok);
  std::fill_n(bytes.begin(), 4096, uint8_t{0});
  EXPECT_EQ(Check(bytes), ESourceState::Ok);
  std::fill_n(bytes.begin(), 4096, uint8_t{0xA5});
  EXPECT_EQ(Check(bytes), ESourceState::Ok);
}

TEST_F(SourceCheck, EncryptionIsNamedAndAKeyAloneIsNone) {
  CDatabaseBuilder file(kJet4Layout);
  file.SetHeader16(0x20, kCataloguePage);
  file.SetHeader32(kHeaderDatabaseKey, 0x12345678);
  Bytes bytes = file.Build();
  EXPECT_EQ(Check(bytes), ESourceState::Ok) << "the pages can be read";
  Encode(bytes);
  const SSourceVerdict jet = CheckSource(CTempFile(bytes).GetPath());
  EXPECT_EQ(jet.state, ESourceState::Encrypted);
  EXPECT_NE(jet.reason.find(u"Jet encoding"), std::u16string::npos);

  file.SetHeader32(kHeaderDatabaseKey, 0);
  file.Page(0).Put8(kVersionByte, 3).Put16(0x299, 200).Put32(0x29B, 0x00040004);
  bytes = file.Build();
  EXPECT_EQ(Check(bytes), ESourceState::Ok);
  Encode(bytes);
  const SSourceVerdict agile = CheckSource(CTempFile(bytes).GetPath());
  EXPECT_EQ(agile.state, ESourceState::Encrypted);
  EXPECT_NE(agile.reason.find(u"AES"), std::u16string::npos);
}

TEST_F(SourceCheck, FactsOfTheHeader) {
  CDatabaseBuilder file(kJet3Layout);
  file.SetHeader16(kHeaderCodePage, 1251);
  Bytes bytes = file.Build();
  bytes.resize(bytes.size() + 7);
  SSourceFacts facts = ReadSourceFacts(CTempFile(bytes).GetPath(), false);
  EXPECT_EQ(facts.pageSize, 2048u);
  EXPECT_EQ(facts.codePage, 1251u);
  EXPECT_EQ(facts.length, bytes.size());
  EXPECT_EQ(facts.pageCount, file.GetPageCount());
  file.SetHeader16(kHeaderCodePage, 64999);
  EXPECT_EQ(ReadSourceFacts(CTempFile(file.Build()).GetPath(), false).codePage, 1252u);
}

}  // namespace

}  // namespace tolvane
