// The steps of the hand-off with an engine that the test plays, and what such an engine can read.
#include <cstdio>

#include "model/MSysComplexColumnsData.h"
#include "platform/Terminal.h"
#include "tests/handoff/HandOffTest.h"

namespace tolvane::test {
namespace {

class CNoProcesses : public CProcessManager {
 public:
  explicit CNoProcesses(std::vector<std::string>& steps) : m_steps(steps) {}
  bool IsRunning(std::u16string_view) override { return true; }
  size_t Terminate(std::u16string_view name) override {
    m_steps.push_back("terminate " + ToUtf8(name) + ", log '" + ToUtf8(CRepairLog::Instance().Get()) +
                      "', status '" + ToUtf8(CStatusProgress::Instance().GetText()) + "'");
    return 1;
  }

 private:
  std::vector<std::string>& m_steps;
};

// What the played engine does.
struct SPlay {
  bool canStart = true;
  int looksBeforeWindow = 0;  // -1: there never is one
  uint32_t exitCode = 0;
  bool writesOutput = true;
};

class CPlayedEngine : public CExternalEngineLauncher {
 public:
  CPlayedEngine(SPlay play, std::vector<std::string>& steps) : m_play(play), m_steps(steps) {}

  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    m_steps.push_back("start " + ToUtf8(program) + " with ." + ToUtf8(ExtensionOf(path)));
    m_infoPath = path;
    info = ReadParsedInfo(BytesOf(ReadText(m_infoPath)));
    if (!m_play.canStart) return nullptr;
    return std::make_unique<CProcess>(*this);
  }
  WindowHandle FindTopLevelWindow(std::u16string_view title) override {
    if (m_looks == 0) m_steps.push_back("find " + ToUtf8(title));
    return m_looks++ == m_play.looksBeforeWindow ? kWindow : 0;
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
    if (m_play.writesOutput) WriteText(std::u16string(text), "a database");
  }

  SReadParsedInfo info;

 private:
  static constexpr WindowHandle kWindow = 42;

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
  std::vector<std::string>& m_steps;
  std::u16string m_infoPath;
  std::u16string m_output;
  int m_looks = 0;
};

class CExternalEngineTest : public CHandOffTest {
 protected:
  SHandOffResult Run(SPlay play) {
    m_steps.clear();
    RemoveFile(OutputPath());
    CNoProcesses processes(m_steps);
    CPlayedEngine engine(play, m_steps);
    BeginSaving();
    SHandOffResult result =
        SaveThroughExternalEngine({*m_repair.GetData(), OutputPath(), u"/engines/", 9}, processes, engine);
    m_info = std::move(engine.info);
    return result;
  }
  std::vector<std::string> m_steps;
  SReadParsedInfo m_info;
};

using Steps = std::vector<std::string>;
const std::string kTerminate = "terminate AccdbSaveEngine.exe, log '', status ''";
const std::string kStart = "start /engines/AccdbSaveEngine.exe with .kpi";
const std::string kFind = "find W_7F105639-5C10-4a5b-8C7E-BDA4CED80280_ServerWindow";

TEST_F(CExternalEngineTest, ItsWindowIsToldWhenItAppears) {
  for (const int looks : {0, 2}) {
    const SHandOffResult result = Run({.looksBeforeWindow = looks});
    EXPECT_TRUE(result.isStarted);
    EXPECT_EQ(m_steps, (Steps{kTerminate, kStart, kFind, "text to 42 from 9", "message 32770 to 42 from 9",
                              "wait", "close"}));
    ExpectSaved(false, "");
  }
}

TEST_F(CExternalEngineTest, FailuresAreTold) {
  SHandOffResult result = Run({.canStart = false});
  EXPECT_FALSE(result.isStarted);
  EXPECT_EQ(m_steps, (Steps{kTerminate, kStart}));
  EXPECT_NE(result.problem.find(u"\"/engines/AccdbSaveEngine.exe\" cannot be started: "),
            std::u16string::npos);
  ExpectSaved(true, ToUtf8(result.problem));

  result = Run({.exitCode = 7});
  EXPECT_TRUE(result.isStarted);
  EXPECT_EQ(result.exitCode, 7u);
  ExpectSaved(false, "The save engine ended early, with status 7.");

  result = Run({.looksBeforeWindow = -1});
  EXPECT_EQ(m_steps, (Steps{kTerminate, kStart, kFind, "wait", "close"}));
  ExpectSaved(false, "The save engine ended without writing the database.");
}

TEST_F(CExternalEngineTest, ATableThatCannotBeToldStartsNothing) {
  m_repair.GetData()->GetTables().GetAt(0)->name.assign(256, u'n');
  const SHandOffResult result = Run({});
  EXPECT_FALSE(result.isStarted);
  EXPECT_EQ(m_steps, Steps{kTerminate});
  EXPECT_NE(result.problem.find(u"its name is longer than 255 characters"), std::u16string::npos);
  ExpectSaved(true, ToUtf8(result.problem));
}

TEST_F(CExternalEngineTest, TheFileLeadsToEveryTable) {
  Run({});
  ASSERT_TRUE(m_info.isSound);
  EXPECT_EQ(m_info.path, InFolder(u"damaged.mdb"));
  EXPECT_EQ(m_info.tables.size(), m_repair.GetData()->GetTables().GetCount());
  const SReadTable people = TableNamed(m_info, u"People");
  EXPECT_EQ(people.rowCount, 3u);
  EXPECT_EQ(people.columnCount, 6u);
  // T = (4 + 6 * 1062) + 1552 + (4 + 1161) = 9093, less 3096 and 8: room for 2.8 items at doubled offsets.
  ASSERT_EQ(people.columns.size(), 3u);
  EXPECT_EQ(people.columns[0].name, u"ID");
  EXPECT_EQ(people.columns[0].type, 4u);
  EXPECT_EQ(people.columns[1].name, u"Name");
  EXPECT_EQ(people.columns[1].type, 10u);
  EXPECT_EQ(people.columns[1].size, 50u);
  // T = 1066 + 1552 + 1165 = 3783: the only column would end at 4166.
  const SReadTable words = TableNamed(m_info, u"Words");
  EXPECT_EQ(words.rowCount, 0u);
  EXPECT_EQ(words.columnCount, 1u);
  EXPECT_TRUE(words.columns.empty());
  TableNamed(m_info, u"MSysObjects");
  for (const SReadTable& table : m_info.tables)
    EXPECT_EQ(GetFileKind(table.dataFile), EFileKind::File) << ToUtf8(table.dataFile);
}

TEST_F(CExternalEngineTest, RealDatabasesWithMultiValuedColumns) {
  std::u16string corpus = GetEnvironment(u"TOLVANE_CORPUS");
  if (corpus.empty()) corpus = FromUtf8(TOLVANE_SOURCE_FOLDER "/../shared/corpus");
  if (GetFileKind(corpus) != EFileKind::Folder) GTEST_SKIP() << "no real databases at hand (TOLVANE_CORPUS)";
  for (const char16_t* name : {u"/V2007/complexDataTestV2007.accdb", u"/V2010/complexDataTestV2010.accdb"}) {
    Repair(corpus + name);
    Run({});
    ASSERT_TRUE(m_info.isSound);
    size_t columns = 0;
    size_t complexColumns = 0;
    for (size_t i = 0; i < m_info.tables.size(); i++) {
      const CAccessTable& table = *m_repair.GetData()->GetTables().GetAt(i);
      EXPECT_EQ(m_info.tables[i].name, table.name);
      for (size_t k = 0; k < m_info.tables[i].columns.size(); k++, columns++) {
        const SReadColumn& column = m_info.tables[i].columns[k];
        EXPECT_EQ(column.name, table.columns.GetAt(k)->GetName());
        EXPECT_EQ(column.type, table.columns.GetAt(k)->type);
        if (column.complexNumbers.empty()) continue;
        EXPECT_EQ(ToDecimal(column.complexNumbers.back()),
                  table.columns.GetAt(k)->GetComplexData()->complexId);
        complexColumns++;
      }
    }
    std::printf("%zu tables, %zu columns, %zu of them complex\n", m_info.tables.size(), columns,
                complexColumns);
    EXPECT_GT(columns, 20u);
    EXPECT_GT(complexColumns, 0u);
  }
}

}  // namespace
}  // namespace tolvane::test
