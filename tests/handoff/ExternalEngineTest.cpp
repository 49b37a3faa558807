// The steps of the hand-off with an engine that the test plays, and what such an engine can read.
#include "tests/handoff/HandOffTest.h"

namespace tolvane::test {
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

class CPlayedEngine : public CExternalEngineLauncher {
 public:
  CPlayedEngine(SPlay play, Lines& steps) : m_play(play), m_steps(steps) {}

  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    m_steps.push_back("start " + ToUtf8(program) + " with ." + ToUtf8(ExtensionOf(path)));
    m_infoPath = path;
    info = ReadText(m_infoPath);
    if (!m_play.canStart) return nullptr;
    return std::make_unique<CProcess>(*this);
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

  std::string info;  // the file that it was given

 private:
  class CProcess : public CExternalProcess {
   public:
    explicit CProcess(CPlayedEngine& engine) : m_engine(engine) {}
    ~CProcess() override { m_engine.m_steps.push_back("close"); }
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;
    // Patience with an engine that has no window ends sooner here: it has ended at the third look.
    bool WaitForEnd(std::optional<uint32_t> milliseconds) override {
      EXPECT_TRUE(FileExists(m_engine.m_infoPath)) << "the engine still reads it";
      EXPECT_TRUE(CSavingStatus::Instance().IsSaving());
      if (!milliseconds) m_engine.m_steps.push_back("wait");
      return !milliseconds || m_engine.m_looks == 3;
    }
    uint32_t GetExitCode() override { return m_engine.m_play.exitCode; }

   private:
    CPlayedEngine& m_engine;
  };

  SPlay m_play;
  Lines& m_steps;
  std::u16string m_infoPath;
  std::u16string m_output;
  int m_looks = 0;
};

class CExternalEngineTest : public CHandOffTest {
 protected:
  SHandOffResult Run(SPlay play) {
    CNoProcesses processes(m_steps);
    CPlayedEngine engine(play, m_steps);
    SHandOffResult result =
        SaveThroughExternalEngine({m_data, OutputPath(), u"/engines/", 9}, processes, engine);
    m_info = engine.info;
    return result;
  }
  Lines m_steps;
  std::string m_info;
};

const std::string kTerminate = "terminate AccdbSaveEngine.exe, log '', status ''";
const std::string kStart = "start /engines/AccdbSaveEngine.exe with .kpi";
const std::string kFind = "find W_7F105639-5C10-4a5b-8C7E-BDA4CED80280_ServerWindow";

TEST_F(CExternalEngineTest, ItsWindowIsToldWhenItAppears) {
  const SHandOffResult result = Run({.looksBeforeWindow = 2});
  EXPECT_TRUE(result.isStarted);
  EXPECT_EQ(m_steps, (Lines{kTerminate, kStart, kFind, "text to 42 from 9", "message 32770 to 42 from 9",
                            "wait", "close"}));
  ExpectSaved(false, "");
}

TEST_F(CExternalEngineTest, AnEngineThatCannotBeStartedIsTold) {
  const SHandOffResult result = Run({.canStart = false});
  EXPECT_FALSE(result.isStarted);
  EXPECT_EQ(m_steps, (Lines{kTerminate, kStart}));
  EXPECT_NE(result.problem.find(u"\"/engines/AccdbSaveEngine.exe\" cannot be started: "),
            std::u16string::npos);
  ExpectSaved(true, ToUtf8(result.problem));
}

TEST_F(CExternalEngineTest, AnEngineThatFailsIsTold) {
  EXPECT_EQ(Run({.exitCode = 7}).exitCode, 7u);
  ExpectSaved(false, "The save engine ended early, with status 7.");
}

TEST_F(CExternalEngineTest, AnEngineWithoutAWindowIsTold) {
  EXPECT_TRUE(Run({.looksBeforeWindow = -1}).isStarted);
  EXPECT_EQ(m_steps, (Lines{kTerminate, kStart, kFind, "wait", "close"}));
  ExpectSaved(false, "The save engine ended without writing the database.");
}

TEST_F(CExternalEngineTest, ATableThatCannotBeToldStartsNothing) {
  m_data.GetTables().GetAt(0)->name.assign(256, u'n');
  const SHandOffResult result = Run({});
  EXPECT_FALSE(result.isStarted);
  EXPECT_EQ(m_steps, Lines{kTerminate});
  EXPECT_NE(result.problem.find(u"its name is longer than 255 characters"), std::u16string::npos);
  ExpectSaved(true, ToUtf8(result.problem));
}

// A head, and for each table 1552 bytes, its columns and an empty list of indexes.
TEST_F(CExternalEngineTest, TheFileHoldsEveryTable) {
  Run({});
  EXPECT_EQ(m_info.size(), 5112u + 2 * (1552 + 4 + 4) + (2 + 1) * 1062);
  for (const char* name : {"People", "Words"}) {
    std::string wide;
    for (const char* c = name; *c != 0; ++c) wide += {*c, '\0'};
    EXPECT_NE(m_info.find(wide), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace tolvane::test
