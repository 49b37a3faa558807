#include "platform/OverlappedLedger.h"

#include <gtest/gtest.h>

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
  CErrorHandler m_handler;
};

TEST_F(Overlapped, WritesEndWithTheirBytesInPlaceAndNothingPending) {
  ASSERT_TRUE(Open(EFileAccess::ReadWrite, EFileCreation::CreateNew));
  constexpr size_t kBlock = 70'000;
  constexpr size_t kBlocks = 40;
  const auto event = std::make_shared<COverlappedEvent>();
  std::string expected;
  // Back to front, so that each must go to its own offset.
  for (size_t i = kBlocks; i-- > 0;) {
    const char letter = static_cast<char>('A' + i);
    m_file.WriteOverlapped(std::vector<uint8_t>(kBlock, static_cast<uint8_t>(letter)), i * kBlock,
                           i == 0 ? event : nullptr);
    expected.insert(0, kBlock, letter);
  }
  EXPECT_TRUE(event->Wait(kLongEnough));
  EXPECT_TRUE(CFileCust::WaitForOverlapped(kLongEnough));
  EXPECT_TRUE(WaitForRoomToWrite(kLongEnough));
  ExpectNothingPending();
  EXPECT_TRUE(ReadText(m_path) == expected);

  // The other operations work on such a file as on any, and closing it waits for its own writes.
  m_file.Seek(0, ESeekOrigin::End, ESeekDirection::Forward, m_handler);
  m_file.Write(BytesOf("end"));
  for (uint64_t i = 0; i < 8; i++) m_file.WriteOverlapped(std::vector<uint8_t>(1 << 20, 'x'), i << 20);
  m_file.Close();
  EXPECT_EQ(GetFileLength(m_path), 8u << 20);
  ExpectNothingPending();
}

}  // namespace
}  // namespace tolvane
