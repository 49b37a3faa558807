// Where the repaired database may go.
#include "app/OutputChoice.h"

#include <gtest/gtest.h>

#include "tests/app/FakeFrontEnd.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {

namespace {

using Lines = std::vector<std::string>;

class OutputChoice : public testing::Test {
 protected:
  std::u16string Choose(const std::u16string& source, std::deque<std::u16string> answers) {
    window.paths = std::move(answers);
    window.calls.clear();
    return ChooseOutput(window, {.corruptedPath = source, .templatePath = {}}, lastPath);
  }

  CScratchFolder scratch;
  CFakeFrontEnd window;
  std::u16string lastPath;
};

TEST_F(OutputChoice, OffersTheNameAndTheFormatOfTheSource) {
  const std::u16string folder = scratch.GetPath() + kPathSeparator;
  struct SCase {
    std::u16string source;
    bool isAce;
    std::u16string name, extension, filter;
  };
  const SCase cases[] = {
      {folder + u"db.accdb", true, u"Tolvane_db.accdb", u"accdb", u"MS Access Files (*.accdb)|*.accdb||"},
      {folder + u"a.b.MDB", false, u"Tolvane_a.b.MDB", u"MDB", u"MS Access Files (*.mdb)|*.mdb||"},
      {folder + u"db.bak", false, u"Tolvane_db.bak", u"bak",
       u"MS Access Files (*.accdb;*.mdb)|*.accdb;*.mdb||"},
      {folder + u"db", true, u"Tolvane_db", u"accdb", u"MS Access Files (*.accdb)|*.accdb||"},
      {u"db.", false, u"Tolvane_db.", u"mdb", u"MS Access Files (*.mdb)|*.mdb||"},
  };
  for (const SCase& c : cases) {
    const SFileQuestion question = AskForOutputFile({c.source, {}, c.isAce});
    EXPECT_EQ(question.defaultName, c.name);
    EXPECT_EQ(question.defaultExtension, c.extension);
    EXPECT_EQ(question.filter, c.filter);
  }
}

TEST_F(OutputChoice, TheExtensionOfTheSourceIsForced) {
  struct SCase {
    std::u16string_view source, typed, chosen;
  };
  const SCase cases[] = {
      {u"s.mdb", u"x.mdb", u"x.mdb"},
      {u"s.MDB", u"x.mdb", u"x.mdb"},
      {u"s.mdb", u"x.MDB", u"x.MDB"},
      {u"s.accdb", u"x.mdb", u"x.mdb.accdb"},
      {u"s.mdb", u"x", u"x.mdb"},
      {u"s.mdb", u"taken.mdb", u"taken.mdb"},
      {u"s.mdb", u"many", u"many.mdb1.mdb2.mdb"},
  };
  for (const std::u16string_view name : {u"taken.mdb", u"many.mdb", u"many.mdb1.mdb"})
    WriteText(scratch / name, "old");
  for (const SCase& c : cases) {
    EXPECT_EQ(ToUtf8(Choose(scratch / c.source, {scratch / c.typed})), ToUtf8(scratch / c.chosen));
    EXPECT_EQ(lastPath, scratch / c.typed);
  }
  EXPECT_FALSE(FileExists(scratch / u"taken.mdb")) << "the dialog asked about it";
  EXPECT_EQ(ReadText(scratch / u"many.mdb"), "old");
}

TEST_F(OutputChoice, BadNamesAreAskedForAgain) {
  const std::u16string source = scratch / u"s.mdb";
  WriteText(source, "damaged");
  const auto ofLength = [&](size_t length) {
    std::u16string path = scratch / u"";
    path.resize(length - 4, u'n');
    return path + u".mdb";
  };
  EXPECT_EQ(Choose(source, {ofLength(246), scratch / u".mdb", scratch / u".accdb", source, ofLength(245)}),
            ofLength(245));
  EXPECT_EQ(
      window.Take({"message"}),
      (Lines{"message warning: File name should be less than 245 characters.",
             "message warning: Please provide a valid file name.",
             "message warning: Please provide a valid file name.",
             "message warning: The repaired database cannot be saved over the file that it is made from. "
             "Please provide another file name."}));
  lastPath.clear();
  EXPECT_EQ(Choose(source, {scratch / u".mdb"}), u"");
  EXPECT_EQ(lastPath, u"") << "cancelled";
  EXPECT_EQ(ReadText(source), "damaged");
}

TEST_F(OutputChoice, AFileThatCannotBeDeletedEndsTheChoice) {
  const std::u16string folder = scratch / u"folder.mdb";
  ASSERT_TRUE(CreateFolder(folder));
  EXPECT_EQ(Choose(scratch / u"s.mdb", {folder}), u"");
  const Lines messages = window.Take({"message"});
  ASSERT_EQ(messages.size(), 1u);
  const std::string start = "message plain: File" + ToUtf8(folder) + " cannot be overwritten.\n";
  EXPECT_TRUE(messages[0].starts_with(start)) << messages[0];
  EXPECT_GT(messages[0].size(), start.size()) << "the system's reason";
}

}  // namespace

}  // namespace tolvane
