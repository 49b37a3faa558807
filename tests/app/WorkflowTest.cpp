// The user's way through the pages, over a small real database and a fake front end: repair, preview, and the
// ways out.
#include "tests/app/WorkflowTest.h"

namespace tolvane {
namespace {

// --- repair ---

TEST_F(Workflow, ChoosingAFileStartsTheRepair) {
  EXPECT_EQ(window.hint, kChooseHint);
  EXPECT_EQ(window.switches, kRepairOnly);
  workflow->Next();
  EXPECT_EQ(Page(), EPageState::ModeSelection) << "cancelled";

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
  workflow->SelectCorruptedFile(scratch / u"early.mdb");
  EXPECT_EQ(Page(), EPageState::Repairing) << "a timer that does not run, and a file before its timer has";
  workflow->OnTimer(kRepairTimer);
  EXPECT_EQ(window.Take({"bar", "kill", "page", "tables"}),
            (Lines{"bar step", "kill 61462", "bar hidden", "bar reset", "page 3", "tables 4"}));
  EXPECT_EQ(window.switches, kRepairAndSave);
  EXPECT_EQ(window.tables, (Lines{"People 2", "Cities 300", "Twin 1", "Twin 3"}));
  EXPECT_EQ(window.log, ToUtf8(CRepairLog::Instance().Get()));
  EXPECT_NE(window.status.find("(Step 4/4)"), std::string::npos);
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos) << window.summary;
  EXPECT_NE(window.summary.find("Nothing was lost."), std::string::npos) << window.summary;
  workflow->OnTimer(kRepairTimer);
  EXPECT_EQ(window.calls, Lines{}) << "a late message of a timer that was killed";
  workflow->SelectCorruptedFile(scratch / u"dropped.mdb");
  EXPECT_EQ(Page(), EPageState::FileSelected);
  EXPECT_EQ(window.hint, "Select corrupted access file and press repair button.");
  EXPECT_EQ(window.tables.size(), 4u) << "the result stays until the next repair";
}

TEST_F(Workflow, FilesThatCannotBeReadStartNothing) {
  const std::u16string missing = scratch / u"missing.mdb";
  const std::string refusal =
      "message plain: File '" + ToUtf8(missing) + "' does not exist or access is denied.";
  ASSERT_TRUE(CreateFolder(scratch / u"folder"));
  const struct {
    std::u16string corrupted, healthy;
    bool isTemplateMode;
    std::string message;
  } cases[] = {
      {missing, {}, false, refusal},
      {missing, damaged, true, refusal},
      {damaged, missing, true, refusal},
      {damaged, {}, true, "message info: Please Select Template MS Access Database File."},
      {scratch / u"folder", {}, false, "message plain: '" + ToUtf8(scratch / u"folder") + "' is a folder."},
  };
  for (const auto& c : cases) {
    MakeWorkflow();
    workflow->ChooseMode(c.isTemplateMode);
    workflow->SelectTemplateFile(c.healthy);
    workflow->SelectCorruptedFile(c.corrupted);
    window.calls.clear();
    workflow->Next();
    const Lines messages = window.Take({"message", "page", "timer"});
    ASSERT_EQ(messages.size(), 1u) << c.message;
    EXPECT_TRUE(messages[0].starts_with(c.message)) << messages[0];
    EXPECT_GT(messages[0].size(), sizeof("message plain:")) << "no empty message";
    EXPECT_EQ(Page(), EPageState::FileSelected);
  }
}

TEST_F(Workflow, TemplateModeTakesTheDefinitionsOfTheOtherFile) {
  const std::u16string healthy = scratch / u"healthy.mdb";
  Bytes bytes = MakeSource();
  WriteFile(healthy, bytes);
  for (const size_t page : {6u, 7u, 8u, 9u, 10u})
    if (bytes[page * 4096] == 2) bytes[page * 4096] = 9;
  WriteFile(damaged, bytes);
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

// The pause behind step 2 holds the worker there; later stops come wherever it is by then.
TEST_F(Workflow, StopInEveryStepDiscardsTheRepair) {
  WriteFile(damaged, MakeSource(3000));
  for (const std::string step : {"", "(Step 1/4)", "(Step 2/4)", "(Step 3/4)", "(Step 4/4)"}) {
    SCOPED_TRACE(step);
    SetPause(step > "(Step 2/4)" ? 0 : 600'000);
    StartRepair();
    Until([&] { return ToUtf8(CStatusProgress::Instance().GetText()) >= step || !IsRepairing(); });
    window.calls.clear();
    EXPECT_FALSE(workflow->StopRepair()) << "No";
    EXPECT_EQ(window.calls, Lines{kAskStop});
    window.answers = {true};
    EXPECT_TRUE(workflow->StopRepair());
    EXPECT_EQ(window.Take({"ask", "status", "kill", "tables", "refresh", "page", "message", "bar"}),
              (Lines{kAskStop, kAskStop, "status Please wait...", "kill 61462", "bar hidden", "bar reset",
                     "tables 0", "refresh records", "status ", "page 1", kTellStopped}));
    EXPECT_EQ(window.hint, kChooseHint);
    EXPECT_EQ(window.selectedFile, "");
    EXPECT_EQ(window.switches, kRepairOnly);
    EXPECT_EQ(workflow->GetManager().GetData(), nullptr);
    EXPECT_FALSE(workflow->IsWorking());
  }
  EXPECT_TRUE(workflow->StopRepair() && workflow->StopSave()) << "nothing is to be stopped";
  workflow->Next();
  EXPECT_EQ(window.calls, Lines{"open: Select corrupted file to repair..."}) << "as the hint says";
}

TEST_F(Workflow, ARepairThatEndsWhileStopIsAskedIsKept) {
  StartRepair();
  window.onQuestion = [this] { FinishRepair(); };
  window.answers = {true};
  EXPECT_TRUE(workflow->StopRepair());
  EXPECT_EQ(Page(), EPageState::Repaired);
  EXPECT_NE(workflow->GetManager().GetData(), nullptr);
}

TEST_F(Workflow, WhereNothingIsFoundThereIsNothingToSave) {
  const std::u16string text = scratch / u"letter.txt";
  WriteText(text, std::string(9000, 'x'));
  const struct {
    std::u16string corrupted, healthy;
    std::string hint, summary;
  } cases[] = {
      {text, {}, "No table was found", "Its name does not end in .mdb or .accdb"},
      {damaged, text, "The template does not fit", "Template " + ToUtf8(text) + ": "},
  };
  for (const auto& c : cases) {
    MakeWorkflow();
    workflow->ChooseMode(!c.healthy.empty());
    workflow->SelectTemplateFile(c.healthy);
    workflow->SelectCorruptedFile(c.corrupted);
    workflow->Next();
    FinishRepair();
    EXPECT_TRUE(window.hint.starts_with(c.hint)) << window.hint;
    EXPECT_NE(window.summary.find(c.summary), std::string::npos) << window.summary;
    EXPECT_NE(window.summary.find("What can be done:"), std::string::npos) << window.summary;
    EXPECT_TRUE(workflow->MayLeaveResult());
    window.calls.clear();
    workflow->Next();
    EXPECT_EQ(window.calls, Lines{"message info: There is nothing to save."});
    EXPECT_EQ(Page(), EPageState::Repaired);
  }
}

TEST_F(Workflow, AFullWorkFolderIsNoDamage) {
  Repair();
  auto& ledger = const_cast<CAccessData*>(workflow->GetManager().GetData())->GetLedger();
  const auto cut = [&](const CAccessTable& table) {
    ledger.Add(EDamage::SkippedTable, {2, table.GetDefinitionOffset(), -1, 1});
  };
  std::vector<const CAccessTable*> tables;
  for (const auto& table : workflow->GetManager().GetData()->GetTables())
    if (!IsSystemTable(*table)) tables.push_back(table.get());
  cut(*tables.front());
  ledger.Add(EDamage::UnnamedTable, {3, CDamageLedger::kNoTable, -1, 15});
  workflow->Back();
  workflow->ShowHeldResult();
  EXPECT_TRUE(window.hint.starts_with("There was no room for all rows")) << window.hint;
  for (const std::string& part :
       {"The rows of 1 table could not be kept in the folder for temporary files:\r\n" +
            ToUtf8(runFolder.GetPath()),
        "A save would lack rows of these tables:\r\n    " + ToUtf8(tables.front()->name) + " ("})
    EXPECT_NE(window.summary.find(part), std::string::npos) << window.summary;
  EXPECT_EQ(window.summary.find("names are lost"), std::string::npos) << window.summary;
  EXPECT_TRUE(workflow->CanSave()) << "the others are whole";
  for (size_t i = 1; i < tables.size(); ++i) cut(*tables[i]);
  EXPECT_FALSE(workflow->CanSave());
}

TEST_F(Workflow, AResultThatWasNotSavedIsLeftKnowinglyAndFoundAgain) {
  Repair();
  window.calls.clear();
  EXPECT_FALSE(workflow->MayLeaveResult()) << "No";
  window.answers = {true};
  EXPECT_TRUE(workflow->MayLeaveResult() && workflow->MayLeaveResult()) << "Yes, asked once";
  EXPECT_EQ(window.Take({"ask"}).size(), 2u);
  workflow->ChooseMode(true);
  workflow->SelectCorruptedFile(scratch / u"other.mdb");
  ASSERT_TRUE(workflow->IsResultHeld());
  workflow->ShowHeldResult();
  EXPECT_EQ(Page(), EPageState::Repaired);
  EXPECT_EQ(window.selectedFile, ToUtf8(damaged));
  EXPECT_FALSE(workflow->IsTemplateMode());
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos) << window.summary;
  Repair();
  workflow->SetEngine(*embeddedEngine);
  StartSave();
  FinishSave();
  EXPECT_TRUE(workflow->MayLeaveResult()) << "saved";
}

// --- preview ---

TEST_F(Workflow, SelectingATableShowsItsRows) {
  Repair();
  CRecordStore& records = workflow->GetResultView().GetRecords();
  const struct {
    std::u16string name;
    std::string summary;
    size_t rows;
  } cases[] = {
      {u"Twin", "Table Name : Twin\r\nTotal Column(s) : 2\r\nTotal Row(s) : 1", 1},
      {u"cities", "", 0},
      {u"MSysObjects", "Table Name : MSysObjects\r\nTotal Column(s) : 17\r\nTotal Row(s) : 4", 4},
      {u"Cities", "Table Name : Cities\r\nTotal Column(s) : 2\r\nTotal Row(s) : 300", 300},
  };
  for (const auto& c : cases) {
    Preview(c.name);
    EXPECT_EQ(window.summary, c.summary);
    EXPECT_EQ(records.GetItemCount(), c.rows) << ToUtf8(c.name);
  }
  EXPECT_EQ(records.GetCell(299, 1), u"Name 300");
  const uint32_t generation = records.GetGeneration();
  workflow->GetResultView().SelectItem(u"Cities");
  workflow->GetResultView().SelectItem(u"");
  EXPECT_EQ(records.GetGeneration(), generation) << "the same table twice";
  workflow->GetResultView().SelectItem(kTreeRoot);
  EXPECT_EQ(records.GetItemCount(), 0u);
  EXPECT_TRUE(records.GetColumns().empty());
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos);
}

TEST_F(Workflow, ANewSelectionEndsTheEarlierPreview) {
  WriteFile(damaged, MakeSource(20'000));
  Repair();
  for (int round = 0; round < 20; ++round) {
    workflow->GetResultView().SelectItem(u"Cities");
    Preview(u"People");
    ASSERT_EQ(workflow->GetResultView().GetRecords().GetItemCount(), 2u);
    ASSERT_EQ(workflow->GetResultView().GetRecords().GetColumns().size(), 2u);
  }
  workflow->GetResultView().SelectItem(u"Cities");
  workflow->Back();
  workflow->Next();  // the new repair deletes what the preview reads
  EXPECT_EQ(Page(), EPageState::Repairing);
  EXPECT_EQ(window.tables, Lines{});
  workflow->GetResultView().SelectItem(u"Cities");
  FinishRepair();
  EXPECT_EQ(workflow->GetResultView().GetRecords().GetItemCount(), 0u);
}

// --- the end ---

TEST_F(Workflow, CloseAsksOnEveryPage) {
  using enum EPageState;
  const struct {
    EPageState page;
    std::deque<bool> answers;
    Lines calls;
  } cases[] = {
      {FileSelected, {}, {"restore", kAskClose}},
      {FileSelected, {true}, {"restore", kAskClose, "end process"}},
      {Repairing, {}, {"restore", kAskStop}},
      {Repairing, {true, false}, {"restore", kAskStop, "page 1", kTellStopped, kAskClose}},
      {Repaired, {true}, {"restore", kAskClose, "page 1", "end process"}},
      {Saving, {}, {"restore", kAskStop}},
      {Saving,
       {true, true},
       {"restore", kAskStop, "page 3", kTellStopped, kAskClose, "page 1", "end process"}},
      {Saved, {true}, {"restore", kAskClose, "page 3", "page 1", "end process"}},
  };
  for (const auto& c : cases) {
    GoTo(c.page);
    workflow->GetResultView().SelectItem(u"Cities");
    window.calls.clear();
    window.answers = c.answers;
    EXPECT_EQ(workflow->Close(), c.calls.back() == "end process");
    EXPECT_EQ(window.Take({"restore", "ask", "page", "message", "end"}), c.calls);
  }
}

TEST_F(Workflow, GoingAwayStopsWhatRuns) {
  GoTo(EPageState::Repairing);
  window.calls.clear();
  workflow->GetResultView().SelectItem(u"Cities");
  EXPECT_EQ(window.calls, Lines{}) << "the result is the worker's own";
  workflow.reset();
  EXPECT_FALSE(IsRepairing());
  // Back leaves a running repair alone; closing then waits for it.
  GoTo(EPageState::Repairing);
  workflow->Back();
  workflow->Next();
  EXPECT_EQ(Page(), EPageState::FileSelected);
  window.answers = {true};
  EXPECT_TRUE(workflow->Close());
  EXPECT_FALSE(IsRepairing());
}

}  // namespace
}  // namespace tolvane
