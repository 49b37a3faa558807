// Files out of what attachments store around them, whole and damaged.
#include <gtest/gtest.h>

#include "tests/platform/ScratchFolder.h"
#include "writer/AttachmentSource.h"

namespace tolvane {
namespace {

using namespace std::literals;

// A stream of codes of its own, of the head for "txt" and 600 characters.
constexpr std::string_view kCompressed =
    "\x78\xda\xed\xcb\xc9\x09\xc0\x30\x0c\x04\x40\x05\x52\x42\x0a\x50\x6b\x02\x2f\xd8\x60\xbc\xa0\x03\x52\x7e"
    "\x5c"
    "\x40\x4a\xf0\x63\x9e\xf3\x88\xc8\xb5\xdd\x5b\xca\xbb\x89\x20\x47\x63\x07\x6a\x16\xd2\x51\x41\x63\x68\x4e"
    "\xd2"
    "\x14\x35\xca\xcc\x63\x45\x03\x35\x92\x83\x19\x58\x2c\xef\xae\x15\xc3\x89\xd3\x4f\xff\xed\x1f\xae\x83\xf5\xee"sv;
constexpr std::string_view kHead = "\x01\0\0\0\x6c\x02\0\0"sv;
constexpr std::string_view kFileHead = "\x14\0\0\0\x01\0\0\0\x04\0\0\0t\0x\0t\0\0\0"sv;

std::string Content() {
  std::string content;
  for (size_t i = 0; i < 600; i++) content += "etaoinshrdlu aeiou"[(i * i + i / 7) % 18];
  return content;
}

struct SRead {
  std::string content;
  bool isDamaged = false;
  bool operator==(const SRead&) const = default;
};

SRead ReadStored(std::string_view stored) {
  const CScratchFolder folder;
  WriteText(folder / u"stored", stored);
  CAttachmentSource source;
  EXPECT_TRUE(source.Open({.path = folder / u"stored"}));
  SRead read{{}, source.IsDamaged()};
  std::vector<uint8_t> buffer(77);
  for (size_t size = 1; size > 0;) {
    EXPECT_TRUE(source.Read(buffer, size));
    read.content.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size));
  }
  EXPECT_EQ(source.GetLength(), read.content.size());
  return read;
}

TEST(Attachment, GivesItsFileOrWhatIsLeftOfIt) {
  const std::string whole = std::string(kHead) + std::string(kCompressed);
  EXPECT_EQ(ReadStored(whole), (SRead{Content(), false}));
  const std::string raw = "\0\0\0\0\x18\0\0\0"s + std::string(kFileHead) + "file";
  EXPECT_EQ(ReadStored(raw), (SRead{"file", false}));
  EXPECT_EQ(ReadStored("no attachment at all"), (SRead{"no attachment at all", false}));
  EXPECT_EQ(ReadStored(""), SRead());

  const SRead cut = ReadStored(std::string_view(whole).substr(0, whole.size() - 20));
  EXPECT_TRUE(cut.isDamaged && !cut.content.empty() && Content().starts_with(cut.content));
  std::string wrongSum = whole;
  wrongSum.back() ^= 1;
  EXPECT_EQ(ReadStored(wrongSum), (SRead{Content(), true}));
  EXPECT_EQ(ReadStored(std::string_view(raw).substr(0, raw.size() - 1)), (SRead{"fil", true}));
  std::string noStream = whole;
  noStream[8] = 0;
  EXPECT_EQ(ReadStored(noStream), (SRead{noStream, true})) << "the bytes as they are stored";
}

// Damage anywhere ends the output: at its place at the latest, and within what deflate can make of the bytes.
TEST(Attachment, NoDamageIsEndless) {
  constexpr size_t kMostTimes = 1032;  // bytes out of one
  for (size_t i = 8; i < kCompressed.size() + kHead.size(); i++)
    for (const int bit : {0, 3, 7}) {
      std::string stored = std::string(kHead) + std::string(kCompressed);
      stored[i] = static_cast<char>(stored[i] ^ 1 << bit);
      const SRead read = ReadStored(stored);
      EXPECT_LE(read.content.size(), kMostTimes * stored.size());
      EXPECT_TRUE(read.isDamaged || read.content == Content());
    }
}

}  // namespace
}  // namespace tolvane
