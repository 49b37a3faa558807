#include "platform/OverlappedLedger.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

constexpr uint32_t kLongEnough = 20'000;

TEST(OverlappedLedger, CountsPendingWritesBytesAndTheLastFailure) {
  COverlappedLedger ledger;
  const auto event = std::make_shared<COverlappedEvent>();
  const auto filePending = std::make_shared<uint32_t>(0);
  const SOverlappedWrite first{std::vector<uint8_t>(100), 0, event, filePending};
  const SOverlappedWrite second{std::vector<uint8_t>(20), 0, nullptr, nullptr};
  ledger.Issue(first);
  ledger.Issue(second);
  EXPECT_EQ(ledger.GetCounters().pendingWrites, 2u);
  EXPECT_EQ(ledger.GetCounters().outstandingBytes, 120u);
  EXPECT_EQ(*filePending, 1u);
  EXPECT_FALSE(ledger.WaitForAll(0));
  EXPECT_FALSE(ledger.WaitForEvent(*event, 1));

  ledger.Complete(first, kDiskFullError);
  EXPECT_TRUE(ledger.WaitForEvent(*event, 0));
  EXPECT_EQ(*filePending, 0u);
  ledger.Complete(second, kNoSystemError);
  EXPECT_EQ(ledger.GetCounters().outstandingBytes, 0u);
  EXPECT_EQ(ledger.GetCounters().lastError, kDiskFullError) << "a later success must not hide a lost write";
  EXPECT_TRUE(ledger.WaitForAll(0));

  // There is room below 400 mebibytes.
  const SOverlappedWrite write{std::vector<uint8_t>(kRoomToWriteBytes / 100), 0, nullptr, nullptr};
  for (int i = 0; i < 99; i++) ledger.Issue(write);
  EXPECT_TRUE(ledger.WaitForRoom(0));
  ledger.Issue(write);
  EXPECT_FALSE(ledger.WaitForRoom(1));
  ledger.Complete(write, kNoSystemError);
  EXPECT_TRUE(ledger.WaitForRoom(0));
}

class Overlapped : public testing::Test {
 protected:
  bool Open(EFileAccess access, EFileCreation creation) {
    return m_file.Open(m_path, access, EFileShare::Read, creation, EFileFlags::Overlapped);
  }
  static void ExpectNothingPending() {
    EXPECT_EQ(GetOverlappedCounters().pendingWrites, 0u);
    EXPECT_EQ(GetOverlappedCounters().outstandingBytes, 0u);
  }
  CScratchFolder m_folder;
  std::u16string m_path = m_folder / u"overlapped";
  CFileCust m_file;
};

TEST_F(Overlapped, WritesEndWithTheirBytesInPlaceAndNothingPending) {
  ASSERT_TRUE(Open(EFileAccess::ReadWrite, EFileCreation::CreateNew));
  constexpr size_t kBlock = 70'000;
  constexpr size_t kBlocks = 40;
  const auto event = std::make_shared<COverlappedEvent>();
  // Back to front, so that each must go to its own offset.
  for (size_t i = kBlocks; i-- > 0;) {
    m_file.WriteOverlapped(std::vector<uint8_t>(kBlock, static_cast<uint8_t>(i + 1)), i * kBlock,
                           i == 0 ? event : nullptr);
  }
  EXPECT_TRUE(event->Wait(kLongEnough));
  EXPECT_TRUE(CFileCust::WaitForOverlapped(kLongEnough));
  EXPECT_TRUE(WaitForRoomToWrite(kLongEnough));
  ExpectNothingPending();

  // The other operations work on such a file as on any.
  EXPECT_EQ(m_file.GetLength(), kBlock * kBlocks);
  std::vector<uint8_t> block(kBlock);
  CErrorHandler handler;
  for (size_t i = 0; i < kBlocks; i++) {
    ASSERT_EQ(m_file.Read(block, handler), kBlock);
    EXPECT_EQ(std::count(block.begin(), block.end(), static_cast<uint8_t>(i + 1)),
              static_cast<ptrdiff_t>(kBlock));
  }
  EXPECT_EQ(m_file.Read(block, handler), 0u);
  m_file.Write(BytesOf("end"));
  EXPECT_EQ(m_file.ReadAt(kBlock * kBlocks, block, handler), 3u);
  EXPECT_FALSE(handler.HasError());
}

TEST_F(Overlapped, CloseWaitsForTheFilesOwnWrites) {
  ASSERT_TRUE(Open(EFileAccess::Write, EFileCreation::CreateNew));
  for (uint64_t i = 0; i < 8; i++) m_file.WriteOverlapped(std::vector<uint8_t>(1 << 20, 'x'), i << 20);
  m_file.Close();
  EXPECT_EQ(GetFileLength(m_path), 8u << 20);
  ExpectNothingPending();
}

TEST_F(Overlapped, AFailedWriteIsToldOneWayOrTheOther) {
  WriteText(m_path, "abc");
  ASSERT_TRUE(Open(EFileAccess::Read, EFileCreation::OpenExisting));
  const auto event = std::make_shared<COverlappedEvent>();
  // Some systems refuse it at once, others when they come to it.
  try {
    m_file.WriteOverlapped(BytesOf("x"), 0, event);
    EXPECT_TRUE(event->Wait(kLongEnough));
  } catch (const CFileCustException& exception) {
    EXPECT_EQ(GetOverlappedCounters().lastError, exception.GetCode());
  }
  EXPECT_NE(GetOverlappedCounters().lastError, kNoSystemError);
  ExpectNothingPending();
  EXPECT_EQ(ReadText(m_path), "abc");
}

}  // namespace
}  // namespace tolvane
