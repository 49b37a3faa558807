#include "platform/FileCust.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

std::string ReadSome(CFileCust& file, size_t count) {
  std::string text(count, '\0');
  CErrorHandler handler;
  text.resize(file.Read({reinterpret_cast<uint8_t*>(text.data()), count}, handler));
  EXPECT_FALSE(handler.HasError()) << ToUtf8(handler.GetMessageText());
  return text;
}

// The code that a write throws; 0 when it throws none.
template <class F>
uint32_t ThrownBy(F write) {
  try {
    write();
  } catch (const CFileCustException& exception) {
    EXPECT_EQ(exception.GetMessageText(), SystemMessage(exception.GetCode()));
    return exception.GetCode();
  }
  return kNoSystemError;
}

class FileCust : public testing::Test {
 protected:
  bool Open(EFileAccess access, EFileCreation creation, EFileFlags flags = EFileFlags::Normal) {
    return m_file.Open(m_path, access, EFileShare::ReadWrite, creation, flags);
  }
  CScratchFolder m_folder;
  std::u16string m_path = m_folder / u"\u00FC \u6F22.dat";
  CFileCust m_file;
};

TEST_F(FileCust, CreationDecidesWhatOpenNeedsAndKeeps) {
  EXPECT_FALSE(Open(EFileAccess::Read, EFileCreation::OpenExisting));
  EXPECT_FALSE(m_file.IsOpen());
  EXPECT_NE(m_file.GetLastErrorCode(), kNoSystemError);
  EXPECT_EQ(m_file.GetPath(), m_path);
  const std::u16string message = SystemMessage(m_file.GetLastErrorCode());
  EXPECT_TRUE(!message.empty() && message.back() != u'\n') << ToUtf8(message);

  ASSERT_TRUE(Open(EFileAccess::Write, EFileCreation::CreateNew));
  EXPECT_EQ(m_file.GetLastErrorCode(), kNoSystemError);
  m_file.Write(BytesOf("abc"));
  EXPECT_FALSE(Open(EFileAccess::Write, EFileCreation::CreateNew));
  EXPECT_EQ(ReadText(m_path), "abc");
  ASSERT_TRUE(Open(EFileAccess::ReadWrite, EFileCreation::OpenAlways));
  m_file.Write(BytesOf("X"));
  m_file.Close();
  EXPECT_EQ(ReadText(m_path), "Xbc");
  ASSERT_TRUE(Open(EFileAccess::Write, EFileCreation::CreateAlways));
  EXPECT_EQ(m_file.GetLength(), 0u);
  m_path = m_folder / u"new";
  EXPECT_TRUE(Open(EFileAccess::Write, EFileCreation::OpenAlways));
  m_path = m_folder.GetPath();
  EXPECT_FALSE(Open(EFileAccess::Read, EFileCreation::OpenExisting)) << "a folder";
  EXPECT_NE(m_file.GetLastErrorCode(), kNoSystemError);
}

TEST_F(FileCust, AZeroUnitDoesNotCutTheName) {
  WriteText(m_path, "secret");
  const std::u16string cut = m_path + std::u16string(u"\0.mdb", 5);
  EXPECT_FALSE(m_file.Open(cut, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting));
  EXPECT_EQ(GetFileKind(cut), EFileKind::Missing);
  EXPECT_FALSE(RemoveFile(cut));
  EXPECT_EQ(ReadText(m_path), "secret");
}

TEST_F(FileCust, ReadingPastTheEndIsShortAndNoError) {
  WriteText(m_path, "0123456789");
  ASSERT_TRUE(Open(EFileAccess::Read, EFileCreation::OpenExisting, EFileFlags::Sequential));
  for (const char* expected : {"012345", "6789", ""}) EXPECT_EQ(ReadSome(m_file, 6), expected);
  EXPECT_TRUE(m_file.IsAtEnd());

  std::array<uint8_t, 4> buffer{};
  CErrorHandler handler;
  EXPECT_EQ(m_file.ReadAt(8, buffer, handler), 2u);
  EXPECT_EQ(buffer[1], '9');
  EXPECT_EQ(m_file.ReadAt(2, buffer, handler), 4u);
  EXPECT_EQ(m_file.ReadAt(5000, buffer, handler), 0u);
  EXPECT_FALSE(handler.HasError());
  EXPECT_EQ(m_file.GetPosition(), 10u);
}

TEST_F(FileCust, WritesGoWhereTheyShould) {
  ASSERT_TRUE(Open(EFileAccess::ReadWrite, EFileCreation::CreateNew));
  m_file.Write(BytesOf("0123456789"));
  m_file.WriteAt(2, BytesOf("ab"));
  m_file.WriteAt(12, BytesOf("z"));
  EXPECT_EQ(m_file.GetPosition(), 10u);
  m_file.Write(BytesOf("!"));
  EXPECT_TRUE(m_file.Flush());
  EXPECT_EQ(ReadText(m_path), std::string("01ab456789!\0z", 13));
  EXPECT_TRUE(m_file.Truncate(3));
  EXPECT_EQ(m_file.GetPosition(), 3u);
  m_file.Write(BytesOf("c"));
  m_file.Close();
  EXPECT_EQ(ReadText(m_path), "01ac");
}

TEST_F(FileCust, AClosedFileOrOneWithoutTheRightFailsAndSaysWhy) {
  std::array<uint8_t, 4> buffer{};
  CErrorHandler closed;
  EXPECT_EQ(m_file.Read(buffer, closed), 0u);
  EXPECT_TRUE(closed.HasError());
  EXPECT_FALSE(m_file.Truncate(0) || m_file.Flush());
  EXPECT_NE(ThrownBy([&] { m_file.Write(BytesOf("x")); }), kNoSystemError);

  WriteText(m_path, "abc");
  ASSERT_TRUE(Open(EFileAccess::Write, EFileCreation::OpenExisting));
  CErrorHandler unreadable;
  EXPECT_EQ(m_file.ReadAt(0, buffer, unreadable), 0u);
  EXPECT_EQ(unreadable.GetMessageText(), SystemMessage(m_file.GetLastErrorCode()));
  ASSERT_TRUE(Open(EFileAccess::Read, EFileCreation::OpenExisting));
  const uint32_t code = ThrownBy([&] { m_file.Write(BytesOf("x")); });
  EXPECT_NE(code, kNoSystemError);
  EXPECT_EQ(m_file.GetLastErrorCode(), code);
  EXPECT_NE(ThrownBy([&] { m_file.WriteAt(1, BytesOf("x")); }), kNoSystemError);
  EXPECT_EQ(ReadText(m_path), "abc");

  m_path = u"/dev/full";
  if (IsOnWindows() || !Open(EFileAccess::Write, EFileCreation::OpenExisting))
    GTEST_SKIP() << "no device that is always full";
  EXPECT_EQ(ThrownBy([&] { m_file.Write(BytesOf("x")); }), kDiskFullError);
  EXPECT_EQ(ThrownBy([&] { m_file.WriteAt(0, BytesOf("x")); }), kDiskFullError);
}

TEST_F(FileCust, FilesMayBeLargerThanFourGigabytes) {
  constexpr uint64_t kLength = (uint64_t{5} << 30) + 3;
  ASSERT_TRUE(Open(EFileAccess::ReadWrite, EFileCreation::CreateNew));
  if (!m_file.Truncate(kLength)) GTEST_SKIP() << ToUtf8(SystemMessage(m_file.GetLastErrorCode()));
  EXPECT_EQ(m_file.GetLength(), kLength);
  EXPECT_EQ(GetFileLength(m_path), kLength);
  std::array<uint8_t, 8> buffer{};
  CErrorHandler handler;
  EXPECT_EQ(m_file.ReadAt(kLength - 3, buffer, handler), 3u);
  EXPECT_EQ(m_file.Seek(1, ESeekOrigin::End, ESeekDirection::Backward, handler), kLength - 1);
  EXPECT_EQ(m_file.Read(buffer, handler), 1u);
  EXPECT_FALSE(handler.HasError());
}

}  // namespace
}  // namespace tolvane
