#include "platform/Files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

namespace fs = std::filesystem;

fs::path Native(const std::u16string& path) {
  return {path};
}

// False where the system has no links or does not let this user make them.
bool MakeLink(const std::u16string& target, const std::u16string& link) {
  std::error_code error;
  if (GetFileKind(target) == EFileKind::Folder) {
    fs::create_directory_symlink(Native(target), Native(link), error);
  } else {
    fs::create_symlink(Native(target), Native(link), error);
  }
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
  WriteText(file, "12345");
  EXPECT_EQ(GetFileKind(file), EFileKind::File);
  EXPECT_EQ(GetFileKind(folder.GetPath()), EFileKind::Folder);
  EXPECT_EQ(GetFileKind(folder / u"none"), EFileKind::Missing);
  EXPECT_EQ(GetFileKind(u""), EFileKind::Missing);
  EXPECT_EQ(GetFileKind(IsOnWindows() ? u"NUL" : u"/dev/null"), EFileKind::Other);
  EXPECT_EQ(GetFileLength(file), 5u);
  EXPECT_EQ(GetFileLength(folder.GetPath()), 0u);
  EXPECT_TRUE(CanRead(file));
  EXPECT_TRUE(CanWrite(file));
  EXPECT_TRUE(CanWrite(folder.GetPath()));
  EXPECT_FALSE(CanRead(folder / u"none"));
  EXPECT_FALSE(CanWrite(folder / u"none"));
  EXPECT_FALSE(CreateFolder(folder.GetPath()));
  EXPECT_NE(LastSystemError(), kNoSystemError);
  EXPECT_FALSE(CreateFolder(folder / u"none" + kPathSeparator + u"below"));
  EXPECT_FALSE(RemoveFile(folder / u"none"));
  EXPECT_TRUE(RemoveFile(file));
  EXPECT_FALSE(FileExists(file));
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
  fs::create_hard_link(Native(file), Native(folder / u"hard"), error);
  EXPECT_EQ(IsSameFile(file, folder / u"hard"), !error);
  const bool hasLink = MakeLink(file, folder / u"soft");
  EXPECT_EQ(IsSameFile(file, folder / u"soft"), hasLink);
}

TEST(Files, RemovingATreeTakesAllOfItAndFollowsNoLink) {
  const CScratchFolder folder;
  const std::u16string outside = folder / u"outside";
  ASSERT_TRUE(CreateFolder(outside));
  WriteText(outside + kPathSeparator + u"kept", "kept");
  std::u16string path = folder / u"tree";
  const std::u16string tree = path;
  for (int depth = 0; depth < 20; depth++) {
    ASSERT_TRUE(CreateFolder(path));
    WriteText(path + kPathSeparator + u"file", "x");
    path += kPathSeparator;
    path += u"below";
  }
  const bool hasLinks =
      MakeLink(outside, tree + kPathSeparator + u"link") && MakeLink(outside, folder / u"link");
  EXPECT_TRUE(RemoveFolderTree(tree));
  EXPECT_FALSE(FileExists(tree));
  if (hasLinks) {
    EXPECT_TRUE(RemoveFolderTree(folder / u"link" + kPathSeparator));
    EXPECT_FALSE(FileExists(folder / u"link"));
  }
  EXPECT_EQ(ReadText(outside + kPathSeparator + u"kept"), "kept");

  EXPECT_TRUE(RemoveFolderTree(tree)) << "nothing left is what was asked for";
  EXPECT_FALSE(RemoveFolderTree(outside + kPathSeparator + u"kept")) << "a file is no folder";
  EXPECT_FALSE(RemoveFolderTree(u""));
}

TEST(Files, RenameReplacesTheTarget) {
  const CScratchFolder folder;
  WriteText(folder / u"new", "new");
  WriteText(folder / u"old", "old content");
  EXPECT_TRUE(RenameFile(folder / u"new", folder / u"old"));
  EXPECT_EQ(ReadText(folder / u"old"), "new");
  EXPECT_FALSE(FileExists(folder / u"new"));
  EXPECT_FALSE(RenameFile(folder / u"new", folder / u"old"));
  EXPECT_EQ(ReadText(folder / u"old"), "new");
}

TEST(Files, ListsAreSortedAndHoldNamesOnly) {
  const CScratchFolder folder;
  for (const char16_t* name : {u"b", u"\u6F22", u"a b", u"\u00E9"}) WriteText(folder / name, "");
  ASSERT_TRUE(CreateFolder(folder / u"c"));
  EXPECT_EQ(ListFolder(folder.GetPath()),
            (std::vector<std::u16string>{u"a b", u"b", u"c", u"\u00E9", u"\u6F22"}));
  EXPECT_TRUE(ListFolder(folder / u"none").empty());
  EXPECT_TRUE(ListFolder(folder / u"b").empty());
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
  EXPECT_EQ(GetFileKind(file), EFileKind::File);
  EXPECT_EQ(ListFolder(path), std::vector<std::u16string>{u"file.mdb"});
  EXPECT_TRUE(RenameFile(file, path + kPathSeparator + u"other.mdb"));
  EXPECT_TRUE(RemoveFile(path + kPathSeparator + u"other.mdb"));
}

TEST(Files, WhereThingsBelong) {
  EXPECT_EQ(GetFileKind(GetTempFolder()), EFileKind::Folder);
  EXPECT_EQ(GetFileKind(GetExecutableFolder()), EFileKind::Folder);
  for (const std::u16string& folder : {GetTempFolder(), GetExecutableFolder(), GetUserCacheFolder()}) {
    EXPECT_TRUE(folder.ends_with(kPathSeparator)) << ToUtf8(folder);
    EXPECT_EQ(GetAbsolutePath(folder), folder);
  }
  const std::u16string program = IsOnWindows() ? u"platform_tests.exe" : u"platform_tests";
  EXPECT_TRUE(FileExists(GetExecutableFolder() + program));

  const std::u16string here = fs::current_path().u16string();
  EXPECT_EQ(GetAbsolutePath(u"x.mdb"), here + kPathSeparator + u"x.mdb");
  EXPECT_EQ(GetAbsolutePath(u"./x.mdb"), here + kPathSeparator + u"x.mdb");
}

}  // namespace
}  // namespace tolvane
