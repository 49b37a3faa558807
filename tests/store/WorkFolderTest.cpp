#include "store/WorkFolder.h"

#include <filesystem>
#include <regex>

#include "platform/Process.h"
#include "platform/Text.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

const std::u16string kSeparator(1, kPathSeparator);

class WorkFolder : public CStoreTest {};

TEST_F(WorkFolder, ARunFolderIsUsedWhileItLivesAndLeavesNothing) {
  const std::u16string outer = GetWorkFolder();
  const std::u16string base = InFolder(u"base") + kSeparator + u"two \u4E09";
  {
    CRunFolder first;
    CRunFolder second;
    ASSERT_TRUE(first.Create(base)) << ToUtf8(first.GetProblem());
    ASSERT_TRUE(second.Create(base));
    EXPECT_NE(first.GetPath(), second.GetPath());
    EXPECT_EQ(GetWorkFolder(), second.GetPath());
    EXPECT_TRUE(ListFolder(first.GetPath()).empty()) << "the trial of writing must leave nothing";
    const std::regex pattern("run-" + std::to_string(GetProcessNumber()) + "-[0-9a-f]{16}");
    for (const std::u16string& name : ListFolder(base)) EXPECT_TRUE(std::regex_match(ToUtf8(name), pattern));
    WriteFileBytes(first.GetPath() + u"4096", {1});
    first.Remove();
    EXPECT_EQ(GetWorkFolder(), second.GetPath());
  }
  EXPECT_TRUE(ListFolder(base).empty());
  EXPECT_EQ(GetFileKind(base), EFileKind::Folder);
  SetWorkFolder(outer);
}

TEST_F(WorkFolder, AFileInTheWayIsAProblemThatNamesIt) {
  const std::u16string outer = GetWorkFolder();
  WriteFileBytes(InFolder(u"file"), {1});
  CRunFolder run;
  EXPECT_FALSE(run.Create(InFolder(u"file")));
  EXPECT_NE(run.GetProblem().find(InFolder(u"file")), std::u16string::npos);
  EXPECT_GT(run.GetProblem().size(), InFolder(u"file").size() + 5) << "the system's reason follows";
  EXPECT_EQ(run.GetPath(), u"");
  EXPECT_EQ(GetWorkFolder(), outer);
}

TEST_F(WorkFolder, OnlyFoldersOfEndedRunsAreStale) {
  const std::u16string stale = InFolder(u"run-4000000000-0123456789abcdef");
  std::vector<std::u16string> kept{
      u"run-" + ToDecimal(GetProcessNumber()) + u"-0123456789abcdef",  // of this run
      u"run-4000000000",                                               // no random part
      u"run-4000000000-0123456789abcde",                               // one digit short
      u"run-4000000000-0123456789abcdeg",                              // no hexadecimal digit
      u"run-4x00000000-0123456789abcdef",
      u"run--0123456789abcdef",
      u"run-99999999999999999999-0123456789abcdef",
      u"my run-4000000000-0123456789abcdef",
      u"precious",
  };
  for (const std::u16string& name : kept) ASSERT_TRUE(CreateFolder(InFolder(name)));
  ASSERT_TRUE(CreateFolder(stale));
  // What a user might have: a file of such a name, and a link to a folder that is not ours.
  kept.insert(kept.end(), {u"run-4000000000-fedcba9876543210", u"precious" + kSeparator + u"file"});
  for (const std::u16string& file : {stale + kSeparator + u"4096", InFolder(kept[9]), InFolder(kept[10])})
    WriteFileBytes(file, {1});
  std::error_code noLink;
  std::filesystem::create_directory_symlink(
      std::filesystem::path(InFolder(u"precious")),
      std::filesystem::path(InFolder(u"run-4000000000-00000000000000aa")), noLink);

  CRunFolder::RemoveStale(InFolder(u""));
  EXPECT_FALSE(FileExists(stale));
  for (const std::u16string& name : kept) EXPECT_TRUE(FileExists(InFolder(name))) << ToUtf8(name);
}

}  // namespace
}  // namespace tolvane
