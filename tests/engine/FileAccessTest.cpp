// The file as the parsers see it: pages, version, what can be said before a repair.

#include "engine/DBFileReader.h"
#include "engine/PageReader.h"
#include "engine/SourceCheck.h"
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
  bytes.pop_back();
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

// Failing disks take seconds to say so: what failed once is lost for the run, also when it comes back.
TEST_F(PageReader, APageThatFailedOnceIsNotTriedAgain) {
  const CTempFile source(NumberedPages(40));
  ASSERT_TRUE(reader.Open(source.GetPath()));
  if (!source.Truncate(20 * kSize)) GTEST_SKIP() << "an open file cannot be cut here";
  for (uint32_t page = 10; page < 30; page++) ASSERT_EQ(Read(page), page < 20 ? int64_t{page} : -1);
  ASSERT_TRUE(source.Truncate(40 * kSize));
  EXPECT_EQ(Read(25), -1);
  EXPECT_EQ(Read(35), 0) << "a page that was never tried";
}

class SourceOfBytes : public CEngineTest {
 protected:
  static bool IsJet4(const Bytes& bytes) { return !COpenedFile(bytes)->GetLayout().isJet3; }
  static SSourceVerdict Check(const Bytes& bytes) { return CheckSource(CTempFile(bytes).GetPath()); }
};

TEST_F(SourceOfBytes, AnyVersionByteButZeroIsJet4) {
  Bytes bytes = CDatabaseBuilder(kLayoutJet3).Build();
  for (const int version : {0, 1, 2, 3, 0x80, 0xFF}) {
    bytes[0x14] = static_cast<uint8_t>(version);
    EXPECT_EQ(IsJet4(bytes), version != 0) << version;
  }
  CSource source;
  EXPECT_FALSE(source.Open(u"/no/such/file"));
  EXPECT_TRUE(source.GetLayout().isJet3) << "what cannot be opened";
}

TEST_F(SourceOfBytes, WithoutAVersionThePagesTell) {
  Bytes jet4 = CDatabaseBuilder(kLayoutJet4).Build();
  jet4[0x14] = 0;
  EXPECT_TRUE(IsJet4(jet4));
  EXPECT_TRUE(IsJet4(Bytes{}));
  // The last of the ten pages that are tried, and the one behind it.
  for (const size_t page : {size_t{9}, size_t{10}}) {
    CPageBytes bytes(2048 * 12);
    bytes.PutBytes(2048 * page, Bytes{0x02, 0x01, 'V', 'C'});
    EXPECT_EQ(IsJet4(bytes.GetBytes()), page == 10);
  }
}

TEST_F(SourceOfBytes, WhatIsNoDatabaseFileAndDamageThatIsNoObstacle) {
  EXPECT_EQ(CheckSource(u"/no/such/file").state, ESourceState::Missing);
  EXPECT_EQ(CheckSource(GetTempFolder()).state, ESourceState::Folder);
  EXPECT_EQ(Check({}).state, ESourceState::Empty);
  EXPECT_EQ(Check(Bytes(2047)).state, ESourceState::TooShort);
  EXPECT_EQ(Check(Bytes(2048)).state, ESourceState::Ok);
  CPageBytes jet4(4095);
  EXPECT_EQ(Check(jet4.Put8(kHeaderVersion, 1).GetBytes()).state, ESourceState::TooShort);
  CDatabaseBuilder file(kLayoutJet4);
  EXPECT_EQ(Check(file.Build()).state, ESourceState::Ok);
  for (const uint8_t header : {uint8_t{0}, uint8_t{0xA5}}) {
    file.Page(0).Fill(header);
    EXPECT_EQ(Check(file.Build()).state, ESourceState::Ok);
  }
}

TEST_F(SourceOfBytes, OtherKindsOfFilesAreNamedUnlessTheyHoldADatabase) {
  const auto asBytes = [](std::string_view text) { return Bytes(text.begin(), text.end()); };
  std::string lock(128, '\0');
  for (const unsigned at : {0U, 32U, 64U, 96U}) lock.replace(at, 5, "Admin");
  const std::string noise(8192, 'x');
  for (const std::string& text :
       {"PK\x03\x04" + noise, "Content-Type: x\n\nAAEAAFN0YW5kYXJkIEpldCBEQg" + noise, lock})
    EXPECT_EQ(Check(asBytes(text)).state, ESourceState::Foreign);
  EXPECT_EQ(Check(asBytes(lock + noise + "x")).state, ESourceState::Ok) << "no whole number of entries";
  CDatabaseBuilder file(kLayoutJet4);
  Bytes archive = file.Build();
  const Bytes head = asBytes("PK\x03\x04");
  archive.insert(archive.begin(), head.begin(), head.end());
  EXPECT_EQ(Check(archive).state, ESourceState::Ok);
}

TEST_F(SourceOfBytes, EncryptionIsNamedAndAKeyAloneIsNone) {
  CDatabaseBuilder file(kLayoutJet4);
  file.SetHeader16(0x20, kObjectsPage);
  const auto expectEncrypted = [&file](const std::u16string& scheme) {
    Bytes bytes = file.Build();
    EXPECT_EQ(Check(bytes).state, ESourceState::Ok) << "the pages can be read";
    // Pages without a type, as encoding leaves them.
    for (size_t i = 4096; i < bytes.size(); i++) bytes[i] = static_cast<uint8_t>(bytes[i] ^ (i * 197 + 90));
    EXPECT_EQ(Check(bytes).state, ESourceState::Encrypted);
    EXPECT_NE(Check(bytes).reason.find(scheme), std::u16string::npos);
  };
  file.SetHeader32(kHeaderDatabaseKey, 0x12345678);
  expectEncrypted(u"Jet encoding");
  file.SetHeader32(kHeaderDatabaseKey, 0);
  file.Page(0).Put8(kHeaderVersion, 3).Put16(0x299, 200).Put32(0x29B, 0x00040004);
  expectEncrypted(u"agile encryption, AES");
  file.Page(0).Put32(0x29B, 0x00020003);
  expectEncrypted(u"RC4 CryptoAPI");
}

TEST_F(SourceOfBytes, FactsOfTheHeader) {
  CDatabaseBuilder file(kLayoutJet3);
  file.SetHeader16(kHeaderCodePage, 1251);
  Bytes bytes = file.Build();
  bytes.resize(bytes.size() + 7);
  const SSourceFacts facts = COpenedFile(bytes)->GetFacts();
  EXPECT_EQ(facts.pageSize, 2048u);
  EXPECT_EQ(facts.codePage, 1251u);
  EXPECT_EQ(facts.length, bytes.size());
  EXPECT_EQ(facts.pageCount, file.GetPageCount());
  file.SetHeader16(kHeaderCodePage, 64999);
  EXPECT_EQ(COpenedFile(file.Build())->GetFacts().codePage, 1252u);
}

}  // namespace

}  // namespace tolvane
