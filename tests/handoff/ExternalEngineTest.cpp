// The hand-off to an engine that the test plays: no command does it, so one way through and one that fails.
#include "app/ExternalEngine.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {
namespace {

// Shows its window at the third look, and is its own process.
class CPlayedEngine : public CExternalEngineLauncher, public CExternalProcess {
 public:
  CPlayedEngine(bool canStart, Lines& steps) : m_canStart(canStart), m_steps(steps) {}

  std::unique_ptr<CExternalProcess> Start(std::u16string_view program, std::u16string_view path) override {
    m_steps.push_back("start " + ToUtf8(program) + " with " + std::to_string(GetFileLength(path)) +
                      " bytes of ." + ToUtf8(ExtensionOf(path)));
    return m_canStart ? std::make_unique<CPlayedEngine>(*this) : nullptr;
  }
  WindowHandle FindTopLevelWindow(std::u16string_view title) override {
    return title == kServerWindowTitle && ++m_looks == 3 ? 42 : 0;
  }
  void SendText(WindowHandle window, WindowHandle sender, std::u16string_view text) override {
    m_steps.push_back(std::to_string(window) + " from " + std::to_string(sender) + ": " + ToUtf8(text));
  }
  void SendWindowMessage(WindowHandle, uint32_t message, WindowHandle, std::u16string_view text) override {
    m_steps.push_back(std::to_string(message));
    WriteText(std::u16string(text), "a database");
  }
  bool WaitForEnd(std::optional<uint32_t> milliseconds) override {
    EXPECT_TRUE(CSavingStatus::Instance().IsSaving());
    if (!milliseconds) m_steps.push_back("wait");
    return !milliseconds;
  }
  uint32_t GetExitCode() override { return 7; }

 private:
  bool m_canStart;
  Lines& m_steps;
  int m_looks = 0;
};

class CHandOffTest : public CWriterTest {};

TEST_F(CHandOffTest, TheEngineIsStartedToldAndWaitedFor) {
  AddTable(u"People", {{u"ID", kTypeLong, 4}, {u"Name"}});
  const std::u16string output = InFolder(u"new.mdb");
  const Lines all{"start /engines/AccdbSaveEngine.exe with " +
                      std::to_string(5112 + 4 + 2 * 1062 + 1552 + 4) + " bytes of .kpi",
                  "42 from 9: " + ToUtf8(output), "32770", "wait"};
  for (const bool canStart : {false, true}) {
    CSavingStatus::Instance().SetSaving(true);
    CRepairLog::Instance().Set(u"old log");
    CProcessManager processes;
    Lines steps;
    CPlayedEngine engine(canStart, steps);
    const SHandOffResult result =
        SaveThroughExternalEngine({m_data, output, u"/engines/", 9}, processes, engine);
    EXPECT_EQ(steps, Lines(all.begin(), all.begin() + (canStart ? 4 : 1)));
    EXPECT_TRUE(
        ToUtf8(result.problem)
            .starts_with(canStart ? "The save engine ended early, with status 7."
                                  : "The save engine \"/engines/AccdbSaveEngine.exe\" cannot be started: "));
    EXPECT_EQ(GetLog(), ToUtf8(result.problem) + "\r\nLocation: \r\n" + ToUtf8(output));
    EXPECT_EQ(CSavingStatus::Instance().GetLaunchFailed(), !canStart);
    EXPECT_FALSE(CSavingStatus::Instance().IsSaving());
    EXPECT_EQ(ListFolder(m_folder.GetPath()).size(), canStart ? 1u : 0u) << "what was handed over is left";
  }
}

}  // namespace
}  // namespace tolvane
