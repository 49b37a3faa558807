#include "platform/Process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "platform/ChildProcess.h"
#include "platform/Identity.h"
#include "platform/ProcessManager.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

TEST(Process, OnlyRunningOnesAreAlive) {
  EXPECT_TRUE(IsProcessAlive(GetProcessNumber()));
  EXPECT_FALSE(IsProcessAlive(0));
  EXPECT_FALSE(IsProcessAlive(0x7FFFFFF0));
  EXPECT_FALSE(IsProcessAlive(0xFFFFFFFF));  // -1: every process
}

// This program runs itself, which lists its tests and leaves the list in a file, too.
TEST(Process, WordsReachAChildAndItsOutputAndStatusComeBack) {
  const CScratchFolder folder;
  const std::u16string list = folder / u"two words.json", output = folder / u"output",
                       error = folder / u"error";
  const auto run = [&](const std::vector<std::u16string>& words) {
    CChildProcess child;
    EXPECT_TRUE(child.Start(GetProgramPath(), words, output, error));
    std::optional<int> status;
    const double start = GetMonotonicSeconds();
    while (!(status = child.Poll()) && GetMonotonicSeconds() < start + 60) SleepMilliseconds(5);
    EXPECT_EQ(child.Poll(), status) << "it stays what it was";
    return status;
  };
  EXPECT_EQ(run({u"--gtest_list_tests", u"--gtest_filter=Process.Only*", u"--gtest_output=json:" + list}), 0);
  EXPECT_NE(ReadText(output).find("OnlyRunningOnesAreAlive"), std::string::npos);
  EXPECT_NE(ReadText(list).find("OnlyRunningOnesAreAlive"), std::string::npos);
  CChildProcess none;
  EXPECT_FALSE(none.Start(folder / u"nothing", {}, output, error));
  EXPECT_EQ(none.Poll(), std::nullopt);
}

TEST(Process, AFixedIdentityGivesTheSameEachTime) {
  CIdentity first(36526, 7), second(36526, 7), other(36526, 8), chance;
  const auto text = [](CIdentity& identity) {
    const SGuidBytes guid = identity.MakeGuid();
    return std::string(std::begin(guid.bytes), std::end(guid.bytes));
  };
  const std::string guid = text(first);
  EXPECT_EQ(text(second), guid);
  EXPECT_NE(text(first), guid);
  EXPECT_NE(text(other), guid);
  EXPECT_NE(text(chance), text(chance));
  EXPECT_EQ(first.GetDate(), 36526);
  EXPECT_GT(chance.GetDate(), 36526);
}

TEST(Process, AnEndedChildThatNobodyCollectedIsNotAlive) {
  if (IsOnWindows()) GTEST_SKIP() << "no such processes here";
  const CScratchFolder folder;
  const std::string file = ToNativePath(folder / u"number");
  // The shell starts a child, then becomes a program that never collects it: the child must end later, or the
  // shell does.
  const std::string command = "sleep 0.3 & echo $! > '" + file + "'; exec sleep 1.5";
  std::thread parent([&command] { EXPECT_EQ(std::system(command.c_str()), 0); });
  uint32_t number = 0;
  for (int i = 0; number == 0 && i < 1000; i++) {
    SleepMilliseconds(10);
    number = static_cast<uint32_t>(LeadingInteger(FromUtf8(ReadText(folder / u"number"))));
  }
  const double start = GetMonotonicSeconds();
  while (IsProcessAlive(number) && GetMonotonicSeconds() < start + 2) SleepMilliseconds(10);
  EXPECT_NE(number, 0u);
  EXPECT_FALSE(IsProcessAlive(number)) << "while its parent still runs";
  parent.join();
}

std::atomic<int> g_interrupts{0};
void CountInterrupt() {
  g_interrupts++;
}

TEST(Process, InterruptsReachTheHandlerUnlessTheyAreIgnored) {
  if (IsOnWindows()) GTEST_SKIP() << "a console event cannot be sent to this process alone";
  for (const int number : {SIGINT, SIGTERM}) std::signal(number, SIG_DFL);
  SetInterruptHandler(CountInterrupt);
  for (const int number : {SIGINT, SIGTERM, SIGINT}) std::raise(number);
  EXPECT_EQ(g_interrupts, 3);
  std::signal(SIGTERM, SIG_IGN);  // as in a background job
  SetInterruptHandler(CountInterrupt);
  std::raise(SIGTERM);
  EXPECT_EQ(g_interrupts, 3);
  SetInterruptHandler(nullptr);
  std::signal(SIGTERM, SIG_DFL);
}

TEST(Process, TheLocalDateIsToday) {
  const std::time_t now = std::time(nullptr);
  const std::tm local = *std::localtime(&now);
  const double date = GetLocalDate();
  // The day of the week and the time of the day follow from the number; 30 December 1899 was a Saturday.
  EXPECT_EQ((static_cast<int>(date) + 6) % 7, local.tm_wday);
  const double seconds = (date - static_cast<int>(date)) * 86400.0;
  EXPECT_NEAR(seconds, local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec, 60.0);
}

TEST(Process, ProgramsAreFoundByTheirWholeName) {
  CProcessManager manager;
  const std::u16string name = IsOnWindows() ? u"Platform_Tests.exe" : u"Platform_Tests";
  EXPECT_TRUE(manager.IsRunning(name));
  EXPECT_FALSE(manager.IsRunning(name.substr(0, name.size() - 1)) || manager.IsRunning(name.substr(1)));
  EXPECT_EQ(manager.Terminate(u"TolvaneNeverStarted.exe"), 0u);
}

}  // namespace
}  // namespace tolvane
