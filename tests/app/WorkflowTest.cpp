// The way through the pages up to the preview, and the ways out.
#include "tests/app/WorkflowTest.h"

namespace tolvane {

namespace {

constexpr SCommandSwitches kRepairOnly{.canRepair = true, .canStop = false, .canSave = false};
constexpr SCommandSwitches kStopOnly{.canRepair = false, .canStop = true, .canSave = false};
constexpr SCommandSwitches kRepairAndSave{.canRepair = true, .canStop = false, .canSave = true};

const char* const kStopQuestionLine = "ask: Do you really want to stop current process?";
const char* const kCloseQuestionLine = "ask: Are you sure, you want to close the application?";
const char* const kStoppedLine = "message info: Proccess stop by user.";
const char* const kChooseHint = "Please click on repair button and select corrupted MS Access file.";

class Workflow : public CWorkflowTest {};

TEST_F(Workflow, ChoosingAFileStartsTheRepair) {
  EXPECT_EQ(window.hint, kChooseHint);
  EXPECT_EQ(window.switches, kRepairOnly);
  workflow->Next();
  EXPECT_EQ(workflow->GetPage(), EPageState::ModeSelection) << "cancelled";

  window.calls.clear();
  window.paths = {damaged};
  workflow->Next();
  EXPECT_EQ(window.Take({"open", "page", "timer", "bar", "ask", "message"}),
            (Lines{"open: Select corrupted file to repair...", "page 1", "page 2", "bar shown",
                   "timer 61462 every 1000"}));
  EXPECT_EQ(window.lastFileQuestion.filter, u"MS Access Files(*.mdb;*.accdb)|*.mdb;*.accdb||");
  EXPECT_EQ(window.lastFileQuestion.defaultExtension, u"accdb");
  EXPECT_EQ(window.switches, kStopOnly);
  EXPECT_EQ(processes.ended, Lines{"AccdbSaveEngine.exe"});
  EXPECT_EQ(window.selectedFile, ToUtf8(damaged));

  Until([] { return !IsRepairing(); });
  workflow->OnTimer(kSaveTimer);
  EXPECT_EQ(workflow->GetPage(), EPageState::Repairing) << "a timer that does not run";
  workflow->OnTimer(kRepairTimer);
  EXPECT_EQ(window.Take({"bar", "kill", "page", "tables"}),
            (Lines{"bar step", "kill 61462", "bar hidden", "bar reset", "page 3", "tables 4"}));
  EXPECT_EQ(window.switches, kRepairAndSave);
  EXPECT_EQ(window.tables, (Lines{"People 2", "Cities 300", "Twin 1", "Twin 3"}));
  EXPECT_EQ(window.log, ToUtf8(CRepairLog::Instance().Get()));
  EXPECT_EQ(window.status, ToUtf8(CStatusProgress::Instance().GetText()));
  EXPECT_NE(window.status.find("(Step 4/4)"), std::string::npos);
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos) << window.summary;
  EXPECT_NE(window.summary.find("Nothing was lost."), std::string::npos) << window.summary;
  workflow->OnTimer(kRepairTimer);
  EXPECT_TRUE(window.calls.empty()) << "a late message of a timer that was killed";
}

TEST_F(Workflow, FilesThatCannotBeReadStartNothing) {
  const std::u16string missing = scratch / u"missing.mdb";
  const std::string refusal =
      "message plain: File '" + ToUtf8(missing) + "' does not exist or access is denied.";
  ASSERT_TRUE(CreateFolder(scratch / u"folder"));
  struct SCase {
    std::u16string corrupted, healthy;
    bool isTemplateMode;
    std::string message;
  };
  const SCase cases[] = {
      {missing, {}, false, refusal},
      {missing, damaged, true, refusal},
      {damaged, missing, true, refusal},
      {damaged, {}, true, "message info: Please Select Template MS Access Database File."},
      {scratch / u"folder", {}, false, "message plain: "},
  };
  for (const SCase& c : cases) {
    MakeWorkflow();
    workflow->ChooseMode(c.isTemplateMode);
    workflow->SelectTemplateFile(c.healthy);
    workflow->SelectCorruptedFile(c.corrupted);
    window.calls.clear();
    workflow->Next();
    const Lines messages = window.Take({"message", "page", "timer"});
    ASSERT_EQ(messages.size(), 1u) << c.message;
    EXPECT_EQ(messages[0].substr(0, c.message.size()), c.message);
    EXPECT_GT(messages[0].size(), sizeof("message plain:")) << "no empty message";
    EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  }
}

TEST_F(Workflow, NoRepairWhileAWorkerCounts) {
  workflow->SelectCorruptedFile(damaged);
  CRepairThreadCounter::Instance()++;
  window.calls.clear();
  workflow->Next();
  workflow->SelectCorruptedFile(scratch / u"other.mdb");
  workflow->ChooseMode(true);
  EXPECT_FALSE(workflow->ChooseCorruptedFile());
  CRepairThreadCounter::Instance()--;
  EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  EXPECT_TRUE(window.calls.empty());
  EXPECT_EQ(window.selectedFile, ToUtf8(damaged));
  EXPECT_FALSE(workflow->IsTemplateMode());
}

TEST_F(Workflow, TemplateModeTakesTheDefinitionsOfTheOtherFile) {
  const std::u16string healthy = scratch / u"healthy.mdb";
  const Bytes bytes = MakeSource();
  WriteText(healthy, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  Bytes broken = bytes;
  for (const uint32_t page : {6u, 7u, 8u, 9u, 10u})
    if (broken[page * 4096] == 2) broken[page * 4096] = 9;
  WriteSource(broken);
  window.paths = {healthy};
  workflow->ChooseMode(true);
  EXPECT_EQ(window.calls.back(), "page 0 template");
  EXPECT_TRUE(workflow->ChooseTemplateFile());
  EXPECT_EQ(ToUtf8(window.lastFileQuestion.title), "Select file having same structure as corrupted file...");
  EXPECT_EQ(window.lastFileQuestion.defaultExtension, u"ACCDB");
  EXPECT_EQ(window.calls.back(), "template " + ToUtf8(healthy));
  Repair();
  EXPECT_EQ(window.tables.size(), 4u);
  EXPECT_NE(window.summary.find("Definitions from " + ToUtf8(healthy)), std::string::npos);
}

TEST_F(Workflow, BackFollowsTheTable) {
  workflow->Back();
  EXPECT_EQ(workflow->GetPage(), EPageState::ModeSelection);
  CShowPageState state;
  const std::pair<EPageState, EPageState> kSteps[] = {{EPageState::FileSelected, EPageState::FileSelected},
                                                      {EPageState::Repairing, EPageState::FileSelected},
                                                      {EPageState::Repaired, EPageState::FileSelected},
                                                      {EPageState::Saving, EPageState::Repaired},
                                                      {EPageState::Saved, EPageState::Repaired}};
  for (const auto& [from, to] : kSteps) {
    state.SetState(from);
    state.Back();
    EXPECT_EQ(state.GetState(), to);
  }
}

TEST_F(Workflow, ADroppedFileIsSelectedUnlessSomethingRuns) {
  const std::u16string other = scratch / u"other.mdb";
  workflow->SelectCorruptedFile(damaged);
  EXPECT_EQ(window.hint, "Select corrupted access file and press repair button.");
  workflow->Next();
  workflow->SelectCorruptedFile(other);
  EXPECT_EQ(workflow->GetPage(), EPageState::Repairing);
  EXPECT_EQ(window.selectedFile, ToUtf8(damaged));
  FinishRepair();
  workflow->SelectCorruptedFile(other);
  EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  EXPECT_EQ(window.tables.size(), 4u) << "the result stays until the next repair";
  EXPECT_NE(workflow->GetManager().GetData(), nullptr);
  workflow->SelectCorruptedFile({});
  EXPECT_EQ(window.selectedFile, ToUtf8(other));
}

TEST_F(Workflow, StopAnsweredNoChangesNothing) {
  CDisplayPause::Instance().SetLength(60'000);
  workflow->SelectCorruptedFile(damaged);
  EXPECT_TRUE(workflow->StopRepair());
  EXPECT_TRUE(workflow->StopSave());
  workflow->Next();
  window.calls.clear();
  EXPECT_FALSE(workflow->StopRepair());
  EXPECT_TRUE(workflow->StopSave());
  EXPECT_FALSE(workflow->Close());
  EXPECT_EQ(window.calls, (Lines{kStopQuestionLine, "restore", kStopQuestionLine}));
  EXPECT_TRUE(IsRepairing());
  CDisplayPause::Instance().SetLength(0);
  EXPECT_EQ(window.switches, kStopOnly);
}

// The pause behind step 2 holds the worker there; later stops come wherever it is by then.
TEST_F(Workflow, StopInEveryStepDiscardsTheRepair) {
  WriteSource(MakeSource(3000));
  for (const std::string step : {"", "(Step 1/4)", "(Step 2/4)", "(Step 3/4)", "(Step 4/4)"}) {
    SCOPED_TRACE(step);
    CDisplayPause::Instance().SetLength(step > "(Step 2/4)" ? 0 : 600'000);
    workflow->SelectCorruptedFile(damaged);
    workflow->Next();
    Until([&] { return ToUtf8(CStatusProgress::Instance().GetText()) >= step || !IsRepairing(); });
    window.answers = {true};
    window.calls.clear();
    workflow->StopRepair();
    EXPECT_EQ(window.Take({"ask", "status", "kill", "tables", "refresh", "page", "message", "bar"}),
              (Lines{kStopQuestionLine, "status Please wait...", "kill 61462", "bar hidden", "bar reset",
                     "tables 0", "refresh records", "status ", "page 1", kStoppedLine}));
    EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
    EXPECT_EQ(window.hint, kChooseHint);
    EXPECT_EQ(window.selectedFile, "");
    EXPECT_EQ(window.switches, kRepairOnly);
    EXPECT_EQ(workflow->GetManager().GetRepair(), nullptr);
    EXPECT_EQ(CRepairThreadCounter::Instance().GetCount(), 0);
    EXPECT_FALSE(workflow->IsWorking());
  }
  window.calls.clear();
  workflow->Next();
  EXPECT_EQ(window.calls, Lines{"open: Select corrupted file to repair..."}) << "as the hint says";
}

TEST_F(Workflow, ARepairThatEndsWhileStopIsAskedIsKept) {
  workflow->SelectCorruptedFile(damaged);
  workflow->Next();
  window.onQuestion = [this] { FinishRepair(); };
  window.answers = {true};
  EXPECT_TRUE(workflow->StopRepair());
  EXPECT_EQ(workflow->GetPage(), EPageState::Repaired);
  EXPECT_NE(workflow->GetManager().GetData(), nullptr);
}

TEST_F(Workflow, ARepairThatFindsNothingStillShowsItsPage) {
  WriteSource(Bytes(100));
  Repair();
  EXPECT_EQ(window.tables.size(), 0u);
  EXPECT_NE(window.summary.find("Nothing could be recovered."), std::string::npos) << window.summary;
}

// --- preview ---

TEST_F(Workflow, SelectingATableShowsItsRows) {
  Repair();
  CRecordStore& records = workflow->GetRecords();
  struct SCase {
    std::u16string name;
    std::string summary;
    size_t rows;
  };
  const SCase cases[] = {
      {u"Cities", "Table Name : Cities\r\nTotal Column(s) : 2\r\nTotal Row(s) : 300", 300},
      {u"Twin", "Table Name : Twin\r\nTotal Column(s) : 2\r\nTotal Row(s) : 1", 1},
      {u"cities", "", 0},
      {u"MSysObjects", "Table Name : MSysObjects\r\n", 4},
  };
  for (const SCase& c : cases) {
    workflow->SelectTreeItem(c.name);
    FinishPreview();
    EXPECT_EQ(window.summary.substr(0, c.name == u"MSysObjects" ? c.summary.size() : std::string::npos),
              c.summary);
    EXPECT_EQ(records.GetItemCount(), c.rows) << ToUtf8(c.name);
  }
  workflow->SelectTreeItem(u"Cities");
  FinishPreview();
  EXPECT_EQ(records.GetCell(299, 1), u"Name 300");
  const uint32_t generation = records.GetGeneration();
  workflow->SelectTreeItem(u"Cities");
  workflow->SelectTreeItem(u"");
  EXPECT_EQ(records.GetGeneration(), generation) << "the same table twice";
  workflow->SelectTreeItem(kTreeRoot);
  EXPECT_EQ(records.GetItemCount(), 0u);
  EXPECT_TRUE(records.GetColumns().empty());
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos);
}

TEST_F(Workflow, ANewSelectionEndsTheEarlierPreview) {
  WriteSource(MakeSource(20'000));
  Repair();
  for (int round = 0; round < 20; ++round) {
    workflow->SelectTreeItem(u"Cities");
    workflow->SelectTreeItem(u"People");
    FinishPreview();
    ASSERT_EQ(workflow->GetRecords().GetItemCount(), 2u);
    ASSERT_EQ(workflow->GetRecords().GetColumns().size(), 2u);
  }
  workflow->SelectTreeItem(u"Cities");
  workflow->Back();
  workflow->Next();  // the new repair deletes what the preview reads
  EXPECT_EQ(workflow->GetPage(), EPageState::Repairing);
  EXPECT_EQ(window.tables.size(), 0u);
  workflow->SelectTreeItem(u"Cities");
  FinishRepair();
  EXPECT_EQ(workflow->GetRecords().GetItemCount(), 0u);
}

// --- the end ---

TEST_F(Workflow, CloseAsksInEveryState) {
  workflow->SelectCorruptedFile(damaged);
  window.calls.clear();
  EXPECT_FALSE(workflow->Close());
  EXPECT_EQ(window.Take({"ask", "page", "end"}), Lines{kCloseQuestionLine});
  window.answers = {true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_EQ(window.Take({"restore", "ask", "page", "end"}),
            (Lines{"restore", kCloseQuestionLine, "end process"}));

  MakeWorkflow();
  Repair();
  workflow->SelectTreeItem(u"Cities");
  window.calls.clear();
  window.answers = {true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_EQ(window.Take({"ask", "page", "end"}), (Lines{kCloseQuestionLine, "page 1", "end process"}));
  EXPECT_FALSE(CPreviewThreadStatus::Instance().IsBusy());

  MakeWorkflow();
  CDisplayPause::Instance().SetLength(600'000);
  workflow->SelectCorruptedFile(damaged);
  workflow->Next();
  window.calls.clear();
  window.answers = {true, false, true};
  EXPECT_FALSE(workflow->Close());
  EXPECT_EQ(window.Take({"ask", "message", "page", "end"}),
            (Lines{kStopQuestionLine, "page 1", kStoppedLine, kCloseQuestionLine}));
  EXPECT_TRUE(workflow->Close());
}

TEST_F(Workflow, GoingAwayStopsWhatRuns) {
  CDisplayPause::Instance().SetLength(600'000);
  workflow->SelectCorruptedFile(damaged);
  workflow->Next();
  workflow.reset();
  EXPECT_FALSE(IsRepairing());
  // Back leaves a running repair alone; closing then waits for it.
  MakeWorkflow();
  workflow->SelectCorruptedFile(damaged);
  workflow->Next();
  workflow->Back();
  EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  workflow->Next();
  EXPECT_EQ(workflow->GetPage(), EPageState::FileSelected);
  window.answers = {true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_FALSE(IsRepairing());
}

}  // namespace

}  // namespace tolvane
