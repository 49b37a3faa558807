// What stands around the workflow: start-up, the one copy, the choice of files, settings, and what the pages
// say about a result.
#include <gtest/gtest.h>

#include <array>

#include "app/AppStart.h"
#include "app/Losses.h"
#include "app/OutputChoice.h"
#include "app/OverallProgress.h"
#include "app/RecentFiles.h"
#include "app/StartChoice.h"
#include "app/ViewTexts.h"
#include "app/WindowPlace.h"
#include "store/WorkFolder.h"
#include "tests/app/FakeFrontEnd.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

// Notes each step and fails the one that is named.
class CFakeStart : public CStartActions {
 public:
  std::string failing;
  Lines steps;

  bool InitialiseOle() override { return Step("ole"); }
  void EnableControlContainer() override { Step("controls"); }
  void LoadProfile(std::u16string_view, size_t) override { Step("profile"); }
  void SetVisualStyle() override { Step("style"); }
  void RegisterDocument() override { Step("document"); }
  bool IsAlreadyRunning(std::u16string_view) override { return !Step("instance"); }
  bool MakeWorkFolder(std::u16string& problem) override {
    problem = u"no room";
    return Step("work folder");
  }
  bool OpenMainWindow(std::u16string_view path) override { return Step("window " + ToUtf8(path)); }
  void UpdateMainWindow() override { Step("update"); }

 private:
  bool Step(const std::string& step) {
    steps.push_back(step);
    return failing.empty() || !step.starts_with(failing);
  }
};

TEST(AppStart, AFailedStepIsTheLastAndIsTold) {
  const Lines all{"ole",      "controls",    "profile",      "style", "document",
                  "instance", "work folder", "window a.mdb", "update"};
  const struct {
    std::string failing;
    ptrdiff_t steps;
    Lines messages;
  } cases[] = {
      {"", 9, {}},
      {"ole", 1, {"message info: Are you sure, you want to close the application?"}},
      {"instance", 6, {"message info: Tolvane for Access is already running."}},
      {"work", 7, {"message warning: There is no folder for temporary files: no room"}},
      {"window", 8, {}},
  };
  for (const auto& c : cases) {
    CFakeStart start;
    start.failing = c.failing;
    CFakeFrontEnd window;
    EXPECT_EQ(InitInstance(start, window, u"a.mdb"), c.failing.empty()) << c.failing;
    EXPECT_EQ(start.steps, Lines(all.begin(), all.begin() + c.steps));
    EXPECT_EQ(window.calls, c.messages);
  }
}

class CFakeStore : public CRecentFileStore {
 public:
  std::vector<std::u16string> paths{u"a", u"", u"B", u"b", u"c", u"d", u"e"};
  std::vector<std::u16string> Load() override { return paths; }
  void Save(const std::vector<std::u16string>& saved) override { paths = saved; }
};

TEST(RecentFiles, FourWithoutDoubles) {
  using Paths = std::vector<std::u16string>;
  CFakeStore store;
  CRecentFiles files(store);
  files.Load();
  EXPECT_EQ(files.Get(), (Paths{u"a", u"b", u"c", u"d"}));
  files.Add(u"C");
  EXPECT_EQ(store.paths, (Paths{u"C", u"a", u"b", u"d"}));
  files.Add(u"f");
  EXPECT_EQ(store.paths, (Paths{u"f", u"C", u"a", u"b"}));
  files.Add(files.Get()[2]);
  EXPECT_EQ(store.paths, (Paths{u"a", u"f", u"C", u"b"}));
  files.Remove(u"c");
  EXPECT_EQ(store.paths, (Paths{u"a", u"f", u"b"}));
}

class OutputChoice : public testing::Test {
 protected:
  std::u16string Choose(const std::u16string& source, std::deque<std::u16string> answers) {
    window.paths = std::move(answers);
    return ChooseOutput(window, {.corruptedPath = source, .templatePath = {}}, lastPath);
  }

  CScratchFolder scratch;
  CFakeFrontEnd window;
  std::u16string lastPath;
};

TEST_F(OutputChoice, OffersTheNameAndTheFormatOfTheSource) {
  const struct {
    std::u16string source;
    bool isAce;
    std::u16string name, extension, patterns;
  } cases[] = {
      {scratch / u"db.accdb", true, u"Tolvane_db.accdb", u"accdb", u"*.accdb"},
      {scratch / u"a.b.MDB", false, u"Tolvane_a.b.MDB", u"MDB", u"*.mdb"},
      {u"db.bak", false, u"Tolvane_db.bak", u"bak", u"*.accdb;*.mdb"},
      {u"db", true, u"Tolvane_db", u"accdb", u"*.accdb"},
      {u"db.", false, u"Tolvane_db.", u"mdb", u"*.mdb"},
  };
  for (const auto& c : cases) {
    const SFileQuestion question = AskForOutputFile({c.source, {}, c.isAce});
    EXPECT_EQ(question.defaultName, c.name);
    EXPECT_EQ(question.folder, FolderOf(c.source));
    EXPECT_EQ(question.defaultExtension, c.extension);
    EXPECT_EQ(question.filter, u"MS Access Files (" + c.patterns + u")|" + c.patterns + u"||");
  }
}

TEST_F(OutputChoice, TheExtensionOfTheSourceIsForced) {
  const std::array<std::u16string_view, 3> cases[] = {
      // source, typed, chosen
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
  for (const auto& [source, typed, chosen] : cases) {
    EXPECT_EQ(ToUtf8(Choose(scratch / source, {scratch / typed})), ToUtf8(scratch / chosen));
    EXPECT_EQ(lastPath, scratch / typed);
  }
  EXPECT_EQ(ReadText(scratch / u"taken.mdb"), "old") << "until the new one is whole";
  EXPECT_EQ(ReadText(scratch / u"many.mdb"), "old");
}

TEST_F(OutputChoice, BadNamesAreAskedForAgain) {
  const std::u16string source = scratch / u"s.mdb";
  WriteText(source, "damaged");
  const auto ofLength = [&](size_t length) {
    const std::u16string start = scratch / u"";
    return start + std::u16string(length - start.size() - 4, u'n') + u".mdb";
  };
  EXPECT_EQ(Choose(source, {ofLength(246), scratch / u".mdb", scratch / u".accdb", source, ofLength(245)}),
            ofLength(245));
  EXPECT_EQ(window.Take({"message"}),
            (Lines{"message warning: File name should be less than 245 characters.",
                   "message warning: Please provide a valid file name.",
                   "message warning: Please provide a valid file name.",
                   "message warning: The repaired database cannot be saved over the file that it is made "
                   "from. Please provide another file name."}));
  lastPath.clear();
  EXPECT_EQ(Choose(source, {scratch / u".mdb"}), u"") << "cancelled";
  EXPECT_EQ(lastPath, u"");
  EXPECT_EQ(ReadText(source), "damaged");
}

TEST_F(OutputChoice, AFileThatCannotBeDeletedEndsTheChoice) {
  const std::u16string folder = scratch / u"folder.mdb";
  ASSERT_TRUE(CreateFolder(folder));
  EXPECT_EQ(Choose(scratch / u"s.mdb", {folder}), u"");
  const std::string start = "message plain: File" + ToUtf8(folder) + " cannot be overwritten.\n";
  const std::string message = window.Take({"message"}).at(0);
  EXPECT_TRUE(message.starts_with(start)) << message;
  EXPECT_GT(message.size(), start.size()) << "the system's reason";
}

TEST(ViewTexts, TheLastPageTellsWhatWasSavedAndWhatNot) {
  SSaveSummary summary;
  summary.tablesSaved = 1;
  summary.recordsSaved = 1234;
  CAccessData recovered{kStandardRules, GetWorkFolder()};
  EXPECT_EQ(ToUtf8(DescribeSave(summary, recovered, {})), "1 table, 1,234 records");
  recovered.GetLedger().Add(EDamage::RejectedRow, {7, CDamageLedger::kNoTable, 3, 1});
  summary.queriesSaved = 2;
  summary.relationsSaved = 1;
  summary.emptyRowsDropped = 1;
  summary.indexesLost = 1;
  summary.queriesSkipped = 3;
  summary.losses.push_back({u"Orders", 2, 1, u"too large"});
  summary.notes.push_back(u"a remark");
  summary.engineErrors.push_back({3022, u"Update", u"Twice.", 2});
  const std::string errors =
      "\r\n\r\nErrors of the installed database engine:\r\nError 3022 of Update, 2 times: Twice.";
  const std::string damage = "1 row that cannot be true\r\n    page 7, row 3";
  EXPECT_EQ(
      ToUtf8(DescribeSave(summary, recovered, u"disk full")),
      "Nothing was saved: disk full\r\nA file that had the name of the new database before is as it was." +
          errors + "\r\n\r\nLost or doubtful in the damaged file:\r\n" + damage);
  EXPECT_EQ(ToUtf8(DescribeSave(summary, recovered, {})),
            "1 table, 1,234 records\r\n2 saved queries\r\n1 relationship\r\n1 empty row left out\r\n\r\n"
            "Not saved:\r\n2 records of table Orders: too large\r\n1 value of table Orders: too large\r\n1 "
            "index\r\n"
            "3 queries of kinds that cannot be rebuilt" +
                errors + "\r\n\r\nLost or doubtful before that, in the damaged file:\r\n" + damage +
                "\r\n\r\nRemarks:\r\na remark");
}

TEST(Findings, DamageInWordsWithItsPlaces) {
  CAccessData data{kStandardRules, GetWorkFolder()};
  CAccessTable& table = data.GetTables().AddTable(5 * 4096);
  table.name = u"Orders";
  EXPECT_TRUE(ListDamage(data, 2).empty());
  for (uint64_t page = 7; page < 10; ++page)
    data.GetLedger().Add(EDamage::RejectedRow, {page, 5 * 4096, 3, 1});
  data.GetLedger().Add(EDamage::MissingRows, {5, 5 * 4096, -1, 40});
  const auto found = ListDamage(data, 2);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].count, 3u);
  EXPECT_EQ(ToUtf8(found[0].words), "rows that cannot be true");
  EXPECT_EQ(ToUtf8(found[0].places), "table Orders, page 7, row 3; table Orders, page 8, row 3; ...");
  EXPECT_EQ(ToUtf8(found[1].places), "table Orders, 40 rows");
}

TEST(Findings, EachSetOfRulesTellsItsOwn) {
  for (const bool isExact : {false, true}) {
    CAccessData data{isExact ? kExactRules : kStandardRules, GetWorkFolder()};
    CAccessTable& rights = data.GetTables().AddTable(3 * 4096);
    rights.name = u"MSysACEs";
    rights.columns.Add({});
    rights.header.rowCount = 5;
    EXPECT_FALSE(IsNothingRecovered(data));
    for (uint64_t page = 10; page < 40; ++page)
      data.GetLedger().Add(EDamage::BrokenPage, {page, CDamageLedger::kNoTable, -1, 1});
    // Access' own tables alone are something under one set, and nothing under the other.
    EXPECT_EQ(IsNothingRecovered(data), isExact);
    size_t told = 0;
    ForEachDamage(data, [&](const std::u16string&) { ++told; });
    EXPECT_EQ(told, isExact ? 30u : 20u);
    data.GetLedger().Add(EDamage::RejectedRow, {11, 3 * 4096, 3, 1});
    EXPECT_EQ(ListDamage(data, 1)[0].words.ends_with(u"Access' own"), isExact);
    data.NoteOtherObject(EOtherObject::Form, u"Start");
    EXPECT_EQ(ListOmittedObjects(data, 9).size(), isExact ? 1u : 0u);
    data.GetLedger().Add(EDamage::LostTable, {50, CDamageLedger::kNoTable, -1, 1});
    data.NoteLostTable(50, u"Orders");
    for (const SLossLine& line : ListDamage(data, 1))
      if (line.words.find(u"definition is gone") != std::u16string::npos) {
        EXPECT_EQ(ToUtf8(line.places), isExact ? "table Orders, page 50" : "page 50");
      }
  }
}

TEST(OverallProgress, NeverGoesBackAndBelievesPagesMoreThanRowCounts) {
  COverallProgress progress;
  progress.Start(100);
  int last = 0;
  const auto percentAt = [&](std::u16string status, int32_t position, int32_t maximum, int32_t pages,
                             double now) {
    progress.Update({std::move(status), position, maximum, pages, 1000}, now);
    EXPECT_GE(progress.GetPercent(), last);
    return last = progress.GetPercent();
  };
  EXPECT_EQ(percentAt(u"(Step 1/4)Scanning", 100, 200, 0, 101), 20);
  EXPECT_EQ(percentAt(u"(Step 2/4)Scanning", 0, 400, 0, 102), 20);
  EXPECT_EQ(percentAt(u"(Step 3/4) Parsing", 5000, 1, 0, 104), 40)
      << "more rows than the definitions promise";
  EXPECT_EQ(progress.GetText(), u"40 % done");
  for (int32_t second = 1; second <= 100; ++second)
    percentAt(u"(Step 3/4) Parsing", 5000, 1, 5 * second, 104 + 4 * second);
  EXPECT_EQ(last, 68);
  EXPECT_EQ(progress.GetText(), u"68 % done, about 3 minutes left");
  EXPECT_EQ(percentAt(u"(Step 4/4)Scanning", 10, 10, 1000, 700), 99) << "only the end is 100";
}

TEST(RecentFiles, LongPathsLoseTheMiddleOfTheirFolder) {
  const std::u16string folder = std::u16string(u"/first") + std::u16string(30, u'x') + u"/last/";
  const auto shorten = [&](size_t room) {
    return ToUtf8(
        ShortenPath(folder + u"name.mdb", [room](std::u16string_view text) { return text.size() <= room; }));
  };
  EXPECT_EQ(shorten(99), ToUtf8(folder + u"name.mdb"));
  EXPECT_EQ(shorten(26), "/firstx...xx/last/name.mdb");
  EXPECT_EQ(shorten(5), "name.mdb");
}

TEST(StartWords, OneFileOrAnAnswer) {
  using Words = std::vector<std::u16string>;
  EXPECT_EQ(ReadStartWords({}).file + ReadStartWords({}).message, u"");
  EXPECT_EQ(ReadStartWords({u"C:\\a b.mdb"}).file, u"C:\\a b.mdb");
  EXPECT_EQ(ReadStartWords({u"a.mdb"}).notice, u"");
  EXPECT_NE(ReadStartWords({u"a.mdb", u"b.mdb"}).notice, u"");
  for (const Words& words : {Words{u"/?"}, Words{u"a.mdb", u"--help"}})
    EXPECT_TRUE(ReadStartWords(words).message.starts_with(u"TolvaneForAccess [DATABASE]"));
  EXPECT_TRUE(ReadStartWords({u"--nonsense"}).message.starts_with(u"The option --nonsense is not known."));
  EXPECT_EQ(ReadTypedPath(u"  \"C:\\a b.mdb\"\r\n"), u"C:\\a b.mdb");
  EXPECT_EQ(ReadTypedPath(u" \" "), u"\"");
}

TEST(WindowPlace, FitsTheScreenThatIsThere) {
  constexpr SScreenArea kLeftScreen{-1280, 0, 0, 680};
  const struct {
    const char16_t* remembered;
    uint32_t dpi;
    SScreenArea shown;
  } cases[] = {
      {u"-1200 30 -300 530 96 0", 96, {-1200, 30, -300, 530}},
      {u"-1200 30 -300 530 96 0", 144, {-1280, 0, 0, 680}},    // larger than the screen
      {u"2000 900 2800 1500 192 1", 96, {-400, 380, 0, 680}},  // on a screen that is gone
  };
  for (const auto& c : cases) {
    const auto place = ParseWindowPlace(c.remembered);
    ASSERT_TRUE(place);
    EXPECT_EQ(FormatWindowPlace(*place), c.remembered);
    EXPECT_EQ(FitIntoScreen(*place, c.dpi, kLeftScreen), c.shown) << ToUtf8(c.remembered);
  }
  for (const char16_t* text :
       {u"", u"1 2 3", u"0 0 0 500 96 0", u"0 0 500 500 0 0", u"0 0 99999999999 5 96 0"})
    EXPECT_FALSE(ParseWindowPlace(text)) << ToUtf8(text);
}

}  // namespace
}  // namespace tolvane
