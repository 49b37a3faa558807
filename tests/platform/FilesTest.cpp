#include "platform/Files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/Arguments.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

namespace fs = std::filesystem;

// False where the system has no links or does not let this user make them.
bool MakeLink(const std::u16string& target, const std::u16string& link) {
  std::error_code error;
  if (GetFileKind(target) == EFileKind::Folder)
    fs::create_directory_symlink(fs::path(target), fs::path(link), error);
  else
    fs::create_symlink(fs::path(target), fs::path(link), error);
  return !error && FileExists(link);
}

TEST(Files, NamesComeApartAtTheirSeparators) {
  struct SCase {
    std::u16string_view path, folder, name, extension;
  };
  const SCase cases[] = {
      {u"/a/b.c/d.mdb", u"/a/b.c/", u"d.mdb", u"mdb"},
      {u"d.tar.gz", u"", u"d.tar.gz", u"gz"},
      {u"/a.b/d", u"/a.b/", u"d", u""},
      {u"/a/.hidden", u"/a/", u".hidden", u""},
      {u"/a/", u"/a/", u"", u""},
      {u"end.", u"", u"end.", u""},
      {u"", u"", u"", u""},
  };
  for (const SCase& one : cases) {
    SCOPED_TRACE(ToUtf8(one.path));
    EXPECT_EQ(FolderOf(one.path), one.folder);
    EXPECT_EQ(FileNameOf(one.path), one.name);
    EXPECT_EQ(ExtensionOf(one.path), one.extension);
  }
  const bool isWindows = IsOnWindows();
  EXPECT_EQ(FileNameOf(u"C:\\x\\d.mdb"), isWindows ? u"d.mdb" : u"C:\\x\\d.mdb");
  EXPECT_EQ(FolderOf(u"C:d.mdb"), isWindows ? u"C:" : u"");
}

TEST(Files, KindsAndRights) {
  const CScratchFolder folder;
  const std::u16string file = folder / u"file";
  const std::u16string none = folder / u"none";
  WriteText(file, "12345");
  EXPECT_EQ(GetFileKind(file), EFileKind::File);
  EXPECT_EQ(GetFileKind(folder.GetPath()), EFileKind::Folder);
  for (const std::u16string& missing : {none, std::u16string()})
    EXPECT_EQ(GetFileKind(missing), EFileKind::Missing);
  EXPECT_EQ(GetFileKind(IsOnWindows() ? u"NUL" : u"/dev/null"), EFileKind::Other);
  EXPECT_EQ(GetFileLength(file), 5u);
  EXPECT_EQ(GetFileLength(folder.GetPath()), 0u);
  EXPECT_TRUE(CanRead(file) && CanWrite(file) && CanWrite(folder.GetPath()));
  EXPECT_FALSE(CanRead(none) || CanWrite(none));
  EXPECT_FALSE(CreateFolder(folder.GetPath()));
  EXPECT_NE(LastSystemError(), kNoSystemError);
  EXPECT_FALSE(CreateFolder(none + kPathSeparator + u"below"));
  EXPECT_FALSE(RemoveFile(none));
  EXPECT_TRUE(RemoveFile(file));
  EXPECT_FALSE(FileExists(file));
}

// Where no shell does it.
TEST(Files, PatternsOfTheCommandLineNameFiles) {
  const CScratchFolder scratch;
  for (const std::u16string_view name : {u"b.mdb", u"A b.MDB", u"c.mdbx", u"d.accdb"})
    std::ofstream(fs::path(scratch / name)) << "";
  const std::u16string all = scratch / u"*.mdb", none = scratch / u"*.old";
  std::vector<std::u16string> expanded{u"repair", scratch / u"A b.MDB", scratch / u"b.mdb", u"/?", u"--to=*",
                                       none};
  if (kPathSeparator == u'/') expanded = {u"repair", all, u"/?", u"--to=*", none};
  EXPECT_EQ(ExpandFileNames({u"repair", all, u"/?", u"--to=*", none}), expanded);
}

TEST(Files, OneFileUnderTwoNamesIsTheSame) {
  const CScratchFolder folder;
  const std::u16string file = folder / u"File.mdb";
  WriteText(file, "x");
  WriteText(folder / u"twin.mdb", "x");
  EXPECT_TRUE(IsSameFile(file, file));
  EXPECT_TRUE(IsSameFile(file, folder / u"." + kPathSeparator + u"File.mdb"));
  EXPECT_FALSE(IsSameFile(file, folder / u"twin.mdb"));
  EXPECT_FALSE(IsSameFile(file, folder / u"none"));
  EXPECT_FALSE(IsSameFile(folder / u"none", folder / u"none"));
  EXPECT_TRUE(IsSameFile(folder.GetPath(), folder.GetPath() + kPathSeparator));
  EXPECT_EQ(IsSameFile(file, folder / u"FILE.MDB"), IsOnWindows());

  std::error_code error;
  fs::create_hard_link(fs::path(file), fs::path(folder / u"hard"), error);
  EXPECT_EQ(IsSameFile(file, folder / u"hard"), !error);
  const bool hasLink = MakeLink(file, folder / u"soft");
  EXPECT_EQ(IsSameFile(file, folder / u"soft"), hasLink);
}

TEST(Files, RemovingATreeTakesAllOfItAndFollowsNoLink) {
  const CScratchFolder folder;
  const std::u16string outside = folder / u"outside";
  const std::u16string kept = outside + kPathSeparator + u"kept";
  ASSERT_TRUE(CreateFolder(outside));
  WriteText(kept, "kept");
  const std::u16string tree = folder / u"tree";
  std::u16string path = tree;
  for (int depth = 0; depth < 20; depth++) {
    ASSERT_TRUE(CreateFolder(path));
    path += kPathSeparator;
    WriteText(path + u"file", "x");
    path += u"below";
  }
  if (MakeLink(outside, tree + kPathSeparator + u"link") && MakeLink(outside, folder / u"link")) {
    EXPECT_TRUE(RemoveFolderTree(folder / u"link" + kPathSeparator));
    EXPECT_FALSE(FileExists(folder / u"link"));
  }
  EXPECT_TRUE(RemoveFolderTree(tree));
  EXPECT_FALSE(FileExists(tree));
  EXPECT_TRUE(RemoveFolderTree(tree)) << "nothing left is what was asked for";
  EXPECT_FALSE(RemoveFolderTree(kept)) << "a file is no folder";
  EXPECT_FALSE(RemoveFolderTree(u""));
  EXPECT_EQ(ReadText(kept), "kept");
}

TEST(Files, PathsMayBeLong) {
  const CScratchFolder folder;
  std::u16string path = folder.GetPath();
  for (int depth = 0; depth < 5; depth++) {
    path += kPathSeparator + std::u16string(90, u'n');
    ASSERT_TRUE(CreateFolder(path));
  }
  const std::u16string file = path + kPathSeparator + u"file.mdb";
  WriteText(file, "deep");
  EXPECT_EQ(ReadText(file), "deep");
  EXPECT_EQ(ListFolder(path), std::vector<std::u16string>{u"file.mdb"});
  // Renaming replaces the target.
  const std::u16string other = path + kPathSeparator + u"other.mdb";
  WriteText(other, "old content");
  EXPECT_TRUE(RenameFile(file, other));
  EXPECT_FALSE(RenameFile(file, other)) << "it is gone";
  EXPECT_EQ(ReadText(other), "deep");
  EXPECT_TRUE(RemoveFile(other));
}

}  // namespace
}  // namespace tolvane
