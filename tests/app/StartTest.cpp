// Start-up, the one copy, settings and small models.
#include <gtest/gtest.h>

#include "app/AppStart.h"
#include "app/ErrorLog.h"
#include "app/LogText.h"
#include "app/RecentFiles.h"
#include "app/Settings.h"
#include "app/StartChoice.h"
#include "platform/InstanceChecker.h"
#include "tests/app/FakeFrontEnd.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {

namespace {

using Lines = std::vector<std::string>;

// Notes each step and fails the one that is named.
class CFakeStart : public CStartActions {
 public:
  explicit CFakeStart(std::string failing) : m_failing(std::move(failing)) {}
  Lines steps;

  bool InitialiseOle() override { return Step("ole"); }
  void EnableControlContainer() override { Step("controls"); }
  void LoadProfile(std::u16string_view key, size_t recentFiles) override {
    Step("profile " + ToUtf8(key) + " " + std::to_string(recentFiles));
  }
  void SetVisualStyle() override { Step("style"); }
  void RegisterDocument() override { Step("document"); }
  bool IsAlreadyRunning(std::u16string_view name) override { return !Step("instance " + ToUtf8(name)); }
  bool MakeWorkFolder(std::u16string& problem) override {
    problem = u"no room";
    return Step("work folder");
  }
  bool OpenMainWindow(std::u16string_view path) override { return Step("window " + ToUtf8(path)); }
  void UpdateMainWindow() override { Step("update"); }

 private:
  bool Step(std::string step) {
    steps.push_back(std::move(step));
    return !steps.back().starts_with(m_failing);
  }
  std::string m_failing;
};

TEST(AppStart, StepsInTheirOrder) {
  const Lines all{
      "ole",         "controls",     "profile Local AppWizard-Generated Applications 4",
      "style",       "document",     "instance 46985B92-200C-47a3-81FA-D116CE9E74CF_TolvaneForAccess",
      "work folder", "window a.mdb", "update"};
  struct SCase {
    std::string failing;
    size_t steps;
    Lines messages;
  };
  const SCase cases[] = {
      {"none", 9, {}},
      {"ole", 1, {"message info: Are you sure, you want to close the application?"}},
      {"instance", 6, {"message info: Tolvane for Access is already running."}},
      {"work", 7, {"message warning: There is no folder for temporary files: no room"}},
      {"window", 8, {}},
  };
  for (const SCase& c : cases) {
    CFakeStart start(c.failing);
    CFakeFrontEnd window;
    EXPECT_EQ(InitInstance(start, window, u"a.mdb"), c.failing == "none") << c.failing;
    EXPECT_EQ(start.steps, Lines(all.begin(), all.begin() + static_cast<ptrdiff_t>(c.steps)));
    EXPECT_EQ(window.calls, c.messages);
  }
}

TEST(InstanceChecker, OneHoldsTheName) {
  std::u16string name = u"tolvane-test-";
  for (const uint8_t byte : MakeGuid().bytes) name += ToDecimal(byte);
  {
    CInstanceChecker first;
    EXPECT_FALSE(first.IsAlreadyRunning(name));
    EXPECT_TRUE(CInstanceChecker().IsAlreadyRunning(name));
    EXPECT_FALSE(CInstanceChecker().IsAlreadyRunning(name + u"x"));
  }
  EXPECT_FALSE(CInstanceChecker().IsAlreadyRunning(name)) << "gone with its holder";
}

TEST(Settings, Prefixes) {
  const std::u16string kIllegal = u"Illegal character found in file pre fix ";
  EXPECT_EQ(SSettings().prefix, u"Rep");
  EXPECT_EQ(CheckPrefix(u""), u"Please fill prefix");
  for (const char16_t unit : std::u16string_view(u"/\\|*:?<>'"))
    EXPECT_EQ(CheckPrefix(std::u16string(u"a") + unit + u"b"), kIllegal);
  for (const std::u16string_view prefix : {u"Rep", u"   ", u"\"", u"\u00E9.~"})
    EXPECT_FALSE(CheckPrefix(prefix));
}

TEST(StartChoice, IsComplete) {
  EXPECT_EQ(CheckStartChoice({}), u"Please Select Corrupted MS Access Database File.");
  EXPECT_EQ(CheckStartChoice({true, u"a.mdb", u""}), u"Please Select Template MS Access Database File.");
  EXPECT_FALSE(CheckStartChoice({false, u"a.mdb", u""}));
  EXPECT_FALSE(CheckStartChoice({true, u"a.mdb", u"b.mdb"}));
  EXPECT_EQ(AskForCorruptedFile(EAskedFrom::StartDialog).title, u"Select Corrupted MS Access file...");
  EXPECT_EQ(AskForTemplateFile(EAskedFrom::StartDialog).title, u"Select template file...");
}

class CFakeStore : public CRecentFileStore {
 public:
  std::vector<std::u16string> paths;
  std::vector<std::u16string> Load() override { return paths; }
  void Save(const std::vector<std::u16string>& saved) override { paths = saved; }
};

TEST(RecentFiles, FourWithoutDoubles) {
  using Paths = std::vector<std::u16string>;
  CFakeStore store;
  store.paths = {u"a", u"", u"B", u"b", u"c", u"d", u"e"};
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

TEST(LogText, TheSameTextTwiceIsNoChange) {
  CLogText log;
  EXPECT_FALSE(log.Set(u""));
  EXPECT_TRUE(log.Set(u"a"));
  EXPECT_FALSE(log.Set(u"a"));
  log.Clear();
  EXPECT_TRUE(log.Set(u"a"));
}

TEST(ErrorLog, AppendsTheFirstHalfOfTheBytes) {
  const CScratchFolder scratch;
  const CErrorLog log(scratch / u"log.txt");
  EXPECT_TRUE(log.Write(u"abcd"));
  EXPECT_TRUE(log.Write(u"ef"));
  EXPECT_EQ(ReadText(scratch / u"log.txt"), std::string("a\0b\0e\0", 6));
  EXPECT_TRUE(CErrorLog(scratch / u"none/log.txt").Write(u"lost"));
  EXPECT_TRUE(CErrorLog().GetPath().ends_with(u"\\ErrorLog\\ErrorLog.txt"));
}

}  // namespace

}  // namespace tolvane
