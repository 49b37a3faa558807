// Saving what a repair found, from the page that shows it: success, failure, stop, and what stays of an old
// output.
#include "tests/app/WorkflowTest.h"

namespace tolvane {
namespace {

TEST_F(Workflow, SavesTheRecoveredTables) {
  workflow->SetEngine(*embeddedEngine);
  Repair();
  window.calls.clear();
  processes.ended.clear();
  workflow->Next();
  EXPECT_EQ(window.calls, Lines{"save: Tolvane_damaged.mdb"});
  EXPECT_EQ(Page(), EPageState::Repaired) << "cancelled";
  window.calls.clear();
  processes.ended.clear();
  StartSave();
  EXPECT_EQ(window.Take({"save", "page", "bar", "timer"}),
            (Lines{"save: Tolvane_damaged.mdb", "page 4", "bar shown", "timer 61463 every 1000"}));
  EXPECT_EQ(processes.ended, Lines{"AccdbSaveEngine.exe"});
  EXPECT_EQ(window.switches, kStopOnly);
  FinishSave();
  EXPECT_EQ(window.Take({"page", "kill"}), (Lines{"page 5", "kill 61463"}));
  EXPECT_EQ(window.hint, "The database has been repaired and saved successfully.");
  EXPECT_EQ(window.outputPath, ToUtf8(output));
  EXPECT_EQ(window.status, "Database saved location : " + ToUtf8(output));
  EXPECT_EQ(window.log,
            "Table \"Twin\" was saved as \"Twin_1\": A table named \"Twin\" exists already.\r\n"
            "Saving data for People...\r\nSaving data for Cities...\r\nSaving data for Twin...\r\n"
            "Saving data for Twin...\r\nLocation: \r\n" +
                ToUtf8(output));
  EXPECT_NE(window.summary.find("4 tables, 306 records"), std::string::npos) << window.summary;
  EXPECT_EQ(window.switches, kRepairAndSave);

  workflow->Next();
  EXPECT_EQ(Page(), EPageState::Saved) << "the last page";
  workflow->Back();
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos);
  workflow->SelectCorruptedFile(output);
  workflow->Next();
  FinishRepair();
  EXPECT_NE(window.summary.find("Nothing was lost."), std::string::npos) << window.summary;
  EXPECT_EQ(window.tables, (Lines{"People 2", "Cities 300", "Twin 1", "Twin_1 3"}));
}

TEST_F(Workflow, AFailureIsToldOnTheLastPage) {
  fakeEngine.log.refuse = [](const std::string& call) {
    return call.starts_with("create") ? CDaoResult{EDaoError::DiskFull, u"no room"} : CDaoResult::Ok();
  };
  Repair();
  StartSave();
  FinishSave();
  EXPECT_EQ(Page(), EPageState::Saved);
  EXPECT_EQ(window.log, "The new database could not be written: no room\r\nLocation: \r\n" + ToUtf8(output));
  EXPECT_NE(window.summary.find("Nothing was saved: no room"), std::string::npos);
  EXPECT_EQ(window.hint, "The database could not be saved. Nothing was written.");
  EXPECT_EQ(fakeEngine.log.calls.front(), "terminate");
  EXPECT_EQ(fakeEngine.log.calls.back(), "terminate");
}

TEST_F(Workflow, StopAtAnyCallOfTheEngineLeadsBack) {
  WriteFile(damaged, MakeSource(3));
  Repair();
  size_t stops = 0;
  for (size_t call = 1;; call += 3, ++stops) {
    SCOPED_TRACE(call);
    HoldSaveAt(call);
    StartSave();
    Until([&] { return isHeld || !IsSaving(); });
    if (!isHeld) break;
    window.calls.clear();
    EXPECT_FALSE(workflow->StopSave()) << "No";
    EXPECT_TRUE(IsSaving());
    const double before = clock.GetSeconds();
    window.answers = {true};
    processes.ended.clear();
    EXPECT_TRUE(workflow->StopSave());
    EXPECT_EQ(window.Take({"ask", "kill", "page", "message", "bar"}),
              (Lines{kAskStop, kAskStop, "kill 61462", "bar hidden", "bar reset", "kill 61463", "bar hidden",
                     "bar reset", "page 3", kTellStopped}));
    EXPECT_GE(clock.GetSeconds() - before, 3.0);
    EXPECT_EQ(processes.ended, Lines{"AccdbSaveEngine.exe"});
    EXPECT_FALSE(workflow->IsWorking());
    ASSERT_NE(workflow->GetManager().GetData(), nullptr) << "the repair's result stays";
  }
  EXPECT_GT(stops, 10u);
  FinishSave();
  EXPECT_EQ(Page(), EPageState::Saved);
}

TEST_F(Workflow, AnOutputIsReplacedWhenTheNewOneIsWholeAndNotBefore) {
  WriteText(output, "old");
  WriteFile(damaged, MakeSource(20'000));
  Repair();
  const auto filesBeside = [&] { return ListFolder(FolderOf(output)).size(); };
  const size_t files = filesBeside();
  workflow->SetEngine(*embeddedEngine);
  StartSave();
  Until([&] { return filesBeside() > files; });
  window.answers = {true};
  workflow->StopSave();
  EXPECT_EQ(ReadText(output), "old");
  EXPECT_EQ(filesBeside(), files);
  EXPECT_EQ(window.log, "Stopped. Nothing was saved.");

  fakeEngine.log.refuse = [](const std::string& call) {
    return call.starts_with("update") ? CDaoResult{EDaoError::DiskFull, u"no room"} : CDaoResult::Ok();
  };
  workflow->SetEngine(fakeEngine);
  StartSave();
  FinishSave();
  EXPECT_EQ(ReadText(output), "old");
  EXPECT_EQ(filesBeside(), files);

  workflow->Back();
  workflow->SetEngine(*embeddedEngine);
  StartSave();
  FinishSave();
  EXPECT_NE(ReadText(output), "old");
  EXPECT_EQ(filesBeside(), files);

  workflow->Back();
  StartSave();
  Until([] { return !IsSaving(); });
  window.answers = {true};
  workflow->StopSave();
  EXPECT_NE(window.log, "Stopped. Nothing was saved.") << "it had ended before";
}

TEST_F(Workflow, AWorkFolderThatVanishedIsMadeAgain) {
  Repair();
  RemoveFolderTree(FolderOf(runFolder.GetPath()).substr(0, runFolder.GetPath().size() - 1));
  workflow->Back();
  workflow->Next();
  FinishRepair();
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos) << window.summary;
}

// Commands that the switches forbid, should they come all the same.
TEST_F(Workflow, ForbiddenCommandsDoNoHarm) {
  GoTo(EPageState::Saving);
  workflow->SelectCorruptedFile(scratch / u"other.mdb");
  workflow->GetResultView().SelectItem(u"Cities");
  workflow->Back();
  EXPECT_EQ(Page(), EPageState::Repaired);
  workflow->Next();
  EXPECT_EQ(Page(), EPageState::Repaired) << "one save at a time";
  workflow->Back();
  workflow->Next();
  EXPECT_EQ(Page(), EPageState::FileSelected) << "no repair beside a save";
  EXPECT_EQ(window.selectedFile, ToUtf8(damaged));
  CSavingStatus::Instance().SetSaving(false);
  workflow->OnTimer(kSaveTimer);
  EXPECT_EQ(Page(), EPageState::FileSelected);
  CRepairThreadCounter::Instance()++;
  workflow->ChooseMode(true);
  CRepairThreadCounter::Instance()--;
  EXPECT_FALSE(workflow->IsTemplateMode()) << "while a worker counts";
}

}  // namespace
}  // namespace tolvane
