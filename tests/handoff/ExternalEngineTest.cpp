// The steps of the hand-off with an engine that the test plays, and what goes wrong in them.
#include "app/ExternalEngine.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {
namespace {

class CNoProcesses : public CProcessManager {
 public:
  explicit CNoProcesses(Lines& steps) : m_steps(steps) {}
  bool IsRunning(std::u16string_view) override { return true; }
  size_t Terminate(std::u16string_view name) override {
    m_steps.push_back("terminate " + ToUtf8(name) + ", log '" + ToUtf8(CRepairLog::Instance().Get()) +
                      "', status '" + ToUtf8(CStatusProgress::Instance().GetText()) + "'");
    return 1;
  }

 private:
  Lines& m_steps;
};

// What the played engine does.
struct SPlay {
  bool canStart = true;
  int looksBeforeWindow = 0;  // -1: there never is one
  uint32_t exitCode = 0;
};

class CPlayedEngine : public CExternalEngineLauncher, public CExternalProcess {
 public:
  CPlayedEngine(SPlay play, Lines& steps) : m_play(play), m_steps(steps) {}

  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    m_steps.push_back("start " + ToUtf8(program) + " with " + std::to_string(GetFileLength(path)) +
                      " bytes of ." + ToUtf8(ExtensionOf(path)));
    m_infoPath = path;
    return m_play.canStart ? std::make_unique<CPlayedEngine>(*this) : nullptr;
  }
  WindowHandle FindTopLevelWindow(std::u16string_view title) override {
    if (m_looks == 0) m_steps.push_back("find " + ToUtf8(title));
    return m_looks++ == m_play.looksBeforeWindow ? 42 : 0;
  }
  void SendText(WindowHandle window, WindowHandle sender, std::u16string_view text) override {
    m_steps.push_back("text to " + std::to_string(window) + " from " + std::to_string(sender));
    m_output = text;
  }
  void SendWindowMessage(WindowHandle window, uint32_t message, WindowHandle sender,
                         std::u16string_view text) override {
    EXPECT_EQ(text, m_output);
    m_steps.push_back("message " + std::to_string(message) + " to " + std::to_string(window) + " from " +
                      std::to_string(sender));
    WriteText(m_output, "a database");
  }
  // Patience with an engine that has no window ends at the third look: it has ended.
  bool WaitForEnd(std::optional<uint32_t> milliseconds) override {
    EXPECT_TRUE(FileExists(m_infoPath)) << "the engine still reads it";
    EXPECT_TRUE(CSavingStatus::Instance().IsSaving());
    if (!milliseconds) m_steps.push_back("wait");
    return !milliseconds || ++m_waits == 3;
  }
  uint32_t GetExitCode() override { return m_play.exitCode; }

 private:
  SPlay m_play;
  Lines& m_steps;
  std::u16string m_infoPath;
  std::u16string m_output;
  int m_looks = 0;
  int m_waits = 0;
};

constexpr size_t kInfoBytes = 5112 + 1552 + 4 + 2 * 1062 + 4;  // of one table with two columns

class CHandOffTest : public CWriterTest {
 protected:
  void SetUp() override {
    CWriterTest::SetUp();
    m_data.GetTables().Clear();
    AddTable(u"People", {{u"ID", kTypeLong, 4}, {u"Name"}});
    // What a save leaves to the next one.
    CSavingStatus::Instance().SetLaunchFailed(false);
    CProgressStatus::Instance().SetMax(7);
    CProgressStatus::Instance().SetPos(7);
    CRepairLog::Instance().Set(u"old log");
    CStatusProgress::Instance().SetText(u"old status");
  }
  std::u16string OutputPath() const { return InFolder(u"Tolvane_damaged.mdb"); }
  // How the status objects stand after every hand-off.
  void ExpectSaved(const SHandOffResult& result) const {
    const std::string output = ToUtf8(OutputPath());
    EXPECT_EQ(GetLog(),
              ToUtf8(result.problem) + (result.problem.empty() ? "" : "\r\n") + "Location: \r\n" + output);
    EXPECT_EQ(ToUtf8(CStatusProgress::Instance().GetText()), "Location: " + output);
    EXPECT_EQ(CSavingStatus::Instance().GetLaunchFailed(), !result.isStarted);
    EXPECT_FALSE(CSavingStatus::Instance().IsSaving());
    EXPECT_EQ(CProgressStatus::Instance().GetMax(), 100);
    EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
    for (const std::u16string& name : ListFolder(m_folder.GetPath()))
      EXPECT_NE(ToUtf8(ExtensionOf(name)), "kpi") << "left behind";
  }
};

TEST_F(CHandOffTest, TheEngineIsStartedToldAndWaitedFor) {
  const Lines all{"terminate AccdbSaveEngine.exe, log '', status ''",
                  "start /engines/AccdbSaveEngine.exe with " + std::to_string(kInfoBytes) + " bytes of .kpi",
                  "find W_7F105639-5C10-4a5b-8C7E-BDA4CED80280_ServerWindow",
                  "text to 42 from 9",
                  "message 32770 to 42 from 9",
                  "wait"};
  const struct {
    SPlay play;
    std::vector<size_t> steps;
    const char* problem;
  } cases[] = {
      {{.canStart = false}, {0, 1}, "The save engine \"/engines/AccdbSaveEngine.exe\" cannot be started: "},
      {{.looksBeforeWindow = -1}, {0, 1, 2, 5}, "The save engine ended without writing the database."},
      {{.exitCode = 7}, {0, 1, 2, 3, 4, 5}, "The save engine ended early, with status 7."},
      {{.looksBeforeWindow = 2}, {0, 1, 2, 3, 4, 5}, ""},
      {{}, {0}, "The save engine cannot be told of the table \""},  // a name that is too long
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.problem);
    SetUp();
    if (test.steps.size() == 1) m_data.GetTables().GetAt(0)->name.assign(256, u'n');
    Lines steps, expected;
    for (const size_t step : test.steps) expected.push_back(all[step]);
    CNoProcesses processes(steps);
    CPlayedEngine engine(test.play, steps);
    const SHandOffResult result =
        SaveThroughExternalEngine({m_data, OutputPath(), u"/engines/", 9}, processes, engine);
    EXPECT_EQ(steps, expected);
    EXPECT_EQ(result.isStarted, steps.size() > 2);
    EXPECT_EQ(result.exitCode, test.play.exitCode);
    EXPECT_TRUE(ToUtf8(result.problem).starts_with(test.problem)) << ToUtf8(result.problem);
    EXPECT_EQ(result.problem.empty(), *test.problem == 0);
    ExpectSaved(result);
    RemoveFile(OutputPath());
  }
}

}  // namespace
}  // namespace tolvane
