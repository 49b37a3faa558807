#include "status/JobContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/Process.h"

namespace tolvane {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 500;

TEST(Status, NoUpdateIsLostBetweenThreads) {
  CRepairThreadCounter counter;
  CProgressStatus progress;
  CRepairLog log;
  CStatusProgress line;
  std::atomic<int> tornTexts{0};
  const auto work = [&](int number) {
    const std::u16string text(static_cast<size_t>(number) * 40 + 1, static_cast<char16_t>(u'a' + number));
    for (int i = 0; i < kRounds; i++) {
      counter++;
      progress.IncrementPos();
      log.Append(text);
      line.SetText(text);
      const std::u16string seen = line.GetText();
      tornTexts += seen.size() != static_cast<size_t>(seen[0] - u'a') * 40 + 1 || seen.back() != seen[0];
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; number++) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter.GetCount(), kThreads * kRounds);
  EXPECT_EQ(progress.GetPos(), kThreads * kRounds);
  EXPECT_EQ(tornTexts, 0);
  EXPECT_EQ((counter--).GetCount(), kThreads * kRounds) << "a copy of its own";
  const std::u16string text = log.Get();
  EXPECT_EQ(std::ranges::count(text, u'\n'), kThreads * kRounds - 1);
}

// A pause that does not end keeps the test from ending.
TEST(JobContext, APauseEndsWithItsTimeOrWithTheJob) {
  CJobContext job;
  job.saving.SetSaving(true);
  const double start = GetMonotonicSeconds();
  job.Pause();
  job.pause.SetLength(60);
  job.Pause();
  EXPECT_GE(GetMonotonicSeconds() - start, 0.055);
  job.pause.SetLength(3'600'000);
  std::thread user([&job] {
    SleepMilliseconds(40);
    job.Stop();
  });
  job.Pause();
  user.join();
}

TEST(JobContext, TheProcessShowsTheJobThatRuns) {
  CRepairLog& idle = CRepairLog::Instance();
  CJobContext first, second;
  {
    const CShownJob shown(first);
    EXPECT_EQ(&CRepairLog::Instance(), &first.log);
    auto later = std::make_unique<CShownJob>(second);
    EXPECT_EQ(&CSavingStatus::Instance(), &second.saving);
  }
  EXPECT_EQ(&CRepairLog::Instance(), &idle);
}

}  // namespace
}  // namespace tolvane
