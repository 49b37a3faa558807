// Saving: the worker, its end, and the stop at each step.
#include <atomic>

#include "engine/AccessRepair.h"
#include "tests/app/WorkflowTest.h"
#include "writer/embedded/EmbeddedEngine.h"

namespace tolvane {

namespace {

const char* const kStopQuestionLine = "ask: Do you really want to stop current process?";
const char* const kStoppedLine = "message info: Proccess stop by user.";

class Save : public CWorkflowTest {};

TEST_F(Save, WritesTheRecoveredTables) {
  const auto engine = MakeEmbeddedEngine({.tempFolder = runFolder.GetPath()});
  workflow->SetEngine(*engine);
  Repair();
  window.calls.clear();
  processes.ended.clear();
  StartSave();
  EXPECT_EQ(window.Take({"save", "page", "bar", "timer"}),
            (Lines{"save: Tolvane_damaged.mdb", "page 4", "bar shown", "timer 61463 every 1000"}));
  EXPECT_EQ(processes.ended, Lines{"AccdbSaveEngine.exe"});
  EXPECT_EQ(window.switches, (SCommandSwitches{.canRepair = false, .canStop = true, .canSave = false}));
  const std::u16string output = scratch / u"out.mdb";
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
  EXPECT_EQ(window.switches, (SCommandSwitches{.canRepair = true, .canStop = false, .canSave = true}));
  EXPECT_EQ(ToUtf8(workflow->GetOutputPath()), ToUtf8(output));

  workflow->Next();
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved) << "the last page";
  workflow->Back();
  EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos);

  CRepairingFileStatus::Instance().SetRunning(true);
  CAccessRepair again;
  again.Repair(output, {}, output);
  CRepairingFileStatus::Instance().SetRunning(false);
  ASSERT_NE(again.GetData(), nullptr);
  EXPECT_TRUE(again.GetData()->GetLedger().IsClean());
}

TEST_F(Save, ACancelledDialogStartsNothing) {
  workflow->SelectCorruptedFile(damaged);
  Repair();
  window.calls.clear();
  workflow->Next();
  EXPECT_EQ(window.calls, Lines{"save: Tolvane_damaged.mdb"});
  EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
  EXPECT_FALSE(IsSaving());
}

TEST_F(Save, WhatHoldsNoTableIsNoSuccess) {
  WriteSource(Bytes(100));
  Repair();
  StartSave();
  FinishSave();
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved);
  EXPECT_EQ(window.hint.find("successfully"), std::string::npos) << window.hint;
}

TEST_F(Save, AFailureIsToldOnTheLastPage) {
  fakeEngine.log.refuse = [](const std::string& call) {
    return call.starts_with("create") ? CDaoResult{EDaoError::DiskFull, u"no room"} : CDaoResult::Ok();
  };
  Repair();
  StartSave();
  FinishSave();
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved);
  EXPECT_EQ(window.log, "The new database could not be written: no room\r\nLocation: \r\n" +
                            ToUtf8(workflow->GetOutputPath()));
  EXPECT_NE(window.summary.find("The new database is not whole: no room"), std::string::npos);
  EXPECT_EQ(window.hint, "The database could not be saved as a whole.");
  EXPECT_EQ(fakeEngine.log.calls.front(), "terminate");
  EXPECT_EQ(fakeEngine.log.calls.back(), "terminate");
}

TEST_F(Save, AnEngineThatCouldNotBeLaunchedLeadsBack) {
  Repair();
  StartSave();
  CSavingStatus::Instance().SetLaunchFailed(true);
  FinishSave();
  EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
  EXPECT_FALSE(CSavingStatus::Instance().GetLaunchFailed());
}

// Holds the worker at its `call`-th call of the database engine until the save is stopped. False when there
// are fewer calls.
class CStopAtCall {
 public:
  CStopAtCall(CFakeEngine& engine, size_t call) : m_engine(engine) {
    engine.log.calls.clear();
    engine.log.refuse = [this, &engine, call](const std::string&) {
      if (engine.log.calls.size() < call) return CDaoResult::Ok();
      m_isHeld = true;
      while (CSavingStatus::Instance().IsSaving()) SleepMilliseconds(1);
      return CDaoResult::Ok();
    };
  }
  ~CStopAtCall() { m_engine.log.refuse = nullptr; }
  [[nodiscard]] bool IsHeld() const { return m_isHeld; }

 private:
  CFakeEngine& m_engine;
  std::atomic<bool> m_isHeld{false};
};

TEST_F(Save, StopAtEveryCallLeadsBack) {
  WriteSource(MakeSource(3));
  Repair();
  size_t stops = 0;
  for (size_t call = 1;; ++call) {
    SCOPED_TRACE(call);
    CStopAtCall hold(fakeEngine, call);
    StartSave();
    Until([&] { return hold.IsHeld() || !IsSaving(); });
    if (!hold.IsHeld()) {
      FinishSave();
      break;
    }
    ++stops;
    window.calls.clear();
    EXPECT_FALSE(workflow->StopSave()) << "No";
    EXPECT_TRUE(IsSaving());
    const double before = clock.GetSeconds();
    window.answers = {true};
    processes.ended.clear();
    EXPECT_TRUE(workflow->StopSave());
    EXPECT_EQ(window.Take({"ask", "kill", "page", "message", "bar"}),
              (Lines{kStopQuestionLine, kStopQuestionLine, "kill 61462", "bar hidden", "bar reset",
                     "kill 61463", "bar hidden", "bar reset", "page 3", kStoppedLine}));
    EXPECT_GE(clock.GetSeconds() - before, 3.0);
    EXPECT_EQ(processes.ended, Lines{"AccdbSaveEngine.exe"});
    EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
    EXPECT_FALSE(workflow->IsWorking());
    ASSERT_NE(workflow->GetManager().GetData(), nullptr) << "the repair's result stays";
  }
  EXPECT_GT(stops, 30u);
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved);
}

TEST_F(Save, AStoppedSaveLeavesNoDatabase) {
  const auto engine = MakeEmbeddedEngine({.tempFolder = runFolder.GetPath()});
  WriteSource(MakeSource(20'000));
  Repair();
  workflow->SetEngine(*engine);
  StartSave();
  const std::u16string output = workflow->GetOutputPath();
  Until([&] { return FileExists(output); });
  window.answers = {true};
  workflow->StopSave();
  EXPECT_FALSE(FileExists(output));
  EXPECT_EQ(window.log, "Stopped. The unfinished database was deleted: " + ToUtf8(output));
}

TEST_F(Save, CloseStopsTheSaveFirst) {
  Repair();
  CStopAtCall hold(fakeEngine, 3);
  StartSave();
  EXPECT_FALSE(workflow->Close());
  EXPECT_EQ(workflow->GetPage(), EPageState::Saving);
  window.calls.clear();
  window.answers = {true, true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_EQ(window.Take({"restore", "ask", "page", "message", "end"}),
            (Lines{"restore", kStopQuestionLine, "page 3", kStoppedLine,
                   "ask: Are you sure, you want to close the application?", "page 1", "end process"}));
}

TEST_F(Save, CloseOfTheLastPage) {
  Repair();
  StartSave();
  FinishSave();
  window.calls.clear();
  window.answers = {true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_EQ(window.Take({"ask", "page"}),
            (Lines{"ask: Are you sure, you want to close the application?", "page 3", "page 1"}));
}

// Commands that the switches forbid, should they come all the same.
TEST_F(Save, ForbiddenCommandsDoNoHarm) {
  Repair();
  {
    CStopAtCall hold(fakeEngine, 5);
    StartSave();
    workflow->SelectCorruptedFile(scratch / u"other.mdb");
    workflow->SelectTreeItem(u"Cities");
    workflow->Back();
    EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
    workflow->Next();
    EXPECT_EQ(workflow->GetPage(), EPageState::Repaired) << "one save at a time";
    workflow->Back();
    workflow->Next();
    EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected) << "no repair beside a save";
    CSavingStatus::Instance().SetSaving(false);
    workflow->OnTimer(kSaveTimer);
    EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  }
  Repair();
  StartSave();
  workflow->Next();
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved);
  FinishSave();
  EXPECT_EQ(workflow->GetPage(), EPageState::Saved);
}

}  // namespace

}  // namespace tolvane
