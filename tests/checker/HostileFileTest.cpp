// Files whose bytes mean harm: the check ends, in bounded time and memory, whatever they say. Run these under
// the sanitizers.
#include <algorithm>
#include <random>

#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

// One page after the other gets random bytes, or loses its head.
TEST(HostileFile, RandomBytesEndTheCheckCalmly) {
  std::mt19937 random(20260101);
  for (int round = 0; round < 60; round++) {
    CChangedFile file = MakeSoundFile();
    const size_t changes = 1 + random() % 200;
    for (size_t i = 0; i < changes; i++) {
      // Heads and the first structures matter most; page 0 stays, or nothing would be looked at.
      const size_t page = 1 + random() % (file.GetPageCount() - 1);
      const size_t offset = random() % 2 == 0 ? random() % 64 : random() % CChangedFile::kPageSize;
      file.At(page, offset) = static_cast<uint8_t>(random() % 4 == 0 ? 0xFF : random());
    }
    const SCheckReport report = CheckBytes(file.GetBytes());
    ASSERT_EQ(report.verdict, ECheckVerdict::Checked);
    for (const auto& [rule, count] : report.counts) {
      const auto kept = std::ranges::count_if(
          report.findings, [rule = rule](const SFinding& finding) { return finding.rule == rule; });
      EXPECT_LE(kept, 20) << rule;
    }
  }
}

TEST(HostileFile, LinksThatLeadBackEndTheWalk) {
  CChangedFile file = MakeSoundFile();
  const size_t plain = file.FindTable("PlainId");
  file.Put(plain, 4, 4, static_cast<uint32_t>(plain));  // a definition that goes on in itself
  // A chained value whose pieces follow each other in a circle.
  for (size_t page = file.FindPage(1, 0x4C41564C); page != 0; page = file.FindPage(1, 0x4C41564C, page + 1))
    if (file.Get(page, 8, 4) != 0)
      file.Put(page, file.StartOfRow(page, 0), 4, static_cast<uint32_t>(page << 8));
  // An index node that is its own child.
  const size_t node = file.FindPage(3, 2);
  ASSERT_NE(node, 0u);
  file.Put(node, 20, 4, static_cast<uint32_t>(node));
  const std::set<std::string> rules = RulesOf(CheckBytes(file.GetBytes()));
  EXPECT_TRUE(rules.count("F2")) << "a page that is asked for twice";
  EXPECT_TRUE(rules.count("D7")) << "a piece that belongs to two values";
}

TEST(HostileFile, CutFilesAndForeignFilesAreRefusedOrReported) {
  const std::vector<uint8_t> sound = MakeSoundFile().GetBytes();
  std::vector<uint8_t> bytes = sound;
  for (const size_t length : {4095u, 100u, 0u}) {
    bytes.resize(length);
    EXPECT_EQ(CheckBytes(bytes).verdict, ECheckVerdict::NotADatabase);
  }
  bytes.assign(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(sound.size() / 2 + 7));
  const SCheckReport half = CheckBytes(bytes);
  EXPECT_EQ(half.verdict, ECheckVerdict::Checked);
  EXPECT_TRUE(RulesOf(half).count("A1"));
  EXPECT_TRUE(RulesOf(half).count("F5"));
  bytes[0x3E] ^= 1;  // a page key
  EXPECT_EQ(CheckBytes(bytes).verdict, ECheckVerdict::Encrypted);
  EXPECT_EQ(CheckDatabase(u"no such file").verdict, ECheckVerdict::CannotOpen);
}

TEST(HostileFile, StopsWhenAsked) {
  const CScratchFolder folder;
  WriteFileBytes(folder / u"a.mdb", MakeSoundFile().GetBytes());
  int asked = 0;
  const SCheckOptions options{.shouldStop = [&asked] { return ++asked == 3; }};
  EXPECT_EQ(CheckDatabase(folder / u"a.mdb", options).verdict, ECheckVerdict::Stopped);
  EXPECT_EQ(asked, 3);
}

}  // namespace
}  // namespace tolvane::test
