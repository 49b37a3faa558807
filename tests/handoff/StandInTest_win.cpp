// The hand-off to a program of our own in the save engine's place.
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "app/FileSave.h"
#include "tests/handoff/HandOffTest.h"

namespace tolvane::test {
namespace {

// Without a display Wine gives no windows, unless it is told to use its null driver.
bool HasDesktop() {
  const HWND window =
      CreateWindowW(L"STATIC", L"probe", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  return window != nullptr && DestroyWindow(window);
}
constexpr char kNoDesktop[] = "the system gives no windows: start under xvfb-run";

class CStandInTest : public CHandOffTest {
 protected:
  SHandOffResult Run(const char* mode, const std::u16string& folder = GetExecutableFolder()) {
    _putenv_s("TOLVANE_STAND_IN", mode);
    _putenv_s("TOLVANE_STAND_IN_RECORD", ToNativePath(RecordPath()).c_str());
    CProcessManager processes;
    const std::unique_ptr<CExternalEngineLauncher> launcher = MakeExternalEngineLauncher();
    return SaveThroughExternalEngine({m_data, OutputPath(), folder, 9}, processes, *launcher);
  }
  std::u16string RecordPath() const { return InFolder(u"record.txt"); }
  std::string ReadRecord() const { return ReadText(RecordPath()); }
  void ExpectLine(const std::string& line) const {
    EXPECT_NE(("\n" + ReadRecord()).find("\n" + line + "\n"), std::string::npos) << line << "\n--\n"
                                                                                 << ReadRecord();
  }
};

TEST_F(CStandInTest, ReadsTheFileAndIsTold) {
  if (!HasDesktop()) GTEST_SKIP() << kNoDesktop;
  const SHandOffResult result = Run("normal");
  EXPECT_TRUE(result.isStarted);
  EXPECT_EQ(result.exitCode, 0u);
  ExpectLine("maximised, 1 argument");
  ExpectLine("file of 11418 bytes");
  ExpectLine("text 0 from 9: " + ToUtf8(OutputPath()));
  ExpectLine("message from 9");
  ExpectSaved(false, "");
}

TEST_F(CStandInTest, AMissingEngineIsTold) {
  const SHandOffResult result = Run("normal", m_folder.GetPath());
  EXPECT_FALSE(result.isStarted);
  EXPECT_EQ(ReadRecord(), "<missing>");
  EXPECT_TRUE(result.problem.ends_with(SystemMessage(ERROR_FILE_NOT_FOUND))) << ToUtf8(result.problem);
  ExpectSaved(true, ToUtf8(result.problem));
}

TEST_F(CStandInTest, AnEngineThatIsKilledIsTold) {
  const SHandOffResult result = Run("killed");
  EXPECT_EQ(result.exitCode, 3u);
  ExpectLine("file of 11418 bytes");
  ExpectSaved(false, "The save engine ended early, with status 3.");
}

TEST_F(CStandInTest, AnEngineWithoutAWindowIsTold) {
  EXPECT_TRUE(Run("no-window").isStarted);
  ExpectSaved(false, "The save engine ended without writing the database.");
}

TEST_F(CStandInTest, AStopEndsAnEngineThatHangs) {
  if (!HasDesktop()) GTEST_SKIP() << kNoDesktop;
  std::atomic<bool> hasEnded{false};
  std::thread user([this, &hasEnded] {
    while (!hasEnded && ReadRecord().find("message from") == std::string::npos) SleepMilliseconds(50);
    CProcessManager processes;
    EXPECT_TRUE(processes.IsRunning(u"ACCDBsaveengine.EXE"));
    EndExternalEngine(processes);
  });
  const SHandOffResult result = Run("hang");
  hasEnded = true;
  user.join();
  EXPECT_TRUE(result.isStarted);
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_FALSE(CProcessManager().IsRunning(kExternalEngineName));
  ExpectSaved(false, "The save engine ended without writing the database.");
}

}  // namespace
}  // namespace tolvane::test
