// The user's way through the pages, over a small real database and a fake front end: repair, preview, save,
// and the ways out.
#include <atomic>
#include <memory>
#include <utility>

#include "app/RepairWorkflow.h"
#include "embedded/EmbeddedEngine.h"
#include "engine/AccessRepair.h"
#include "status/Status.h"
#include "store/WorkFolder.h"
#include "tests/app/FakeFrontEnd.h"
#include "tests/engine/EngineTest.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/FakeDao.h"

namespace tolvane {
namespace {

constexpr SCommandSwitches kRepairOnly{.canRepair = true, .canStop = false, .canSave = false};
constexpr SCommandSwitches kStopOnly{.canRepair = false, .canStop = true, .canSave = false};
constexpr SCommandSwitches kRepairAndSave{.canRepair = true, .canStop = false, .canSave = true};

const char* const kAskStop = "ask: Do you really want to stop current process?";
const char* const kAskClose = "ask: Are you sure, you want to close the application?";
const char* const kTellStopped = "message info: Proccess stop by user.";
const char* const kChooseHint = "Please click on repair button and select corrupted MS Access file.";

// Tables "People" (2 rows), "Cities" (`cities` rows) and two more called "Twin".
Bytes MakeSource(uint32_t cities = 300) {
  constexpr size_t kRowsOnPage = 50;
  CDatabaseBuilder file(kLayoutJet4);
  for (const auto& [name, rows] : {std::pair{u"People", 2u}, std::pair{u"Cities", cities},
                                   std::pair{u"Twin", 1u}, std::pair{u"Twin", 3u}}) {
    STableSpec spec = SmallTable();
    spec.rowCount = rows;
    const uint32_t table = file.AddTable(spec);
    std::vector<SRowSpec> page;
    for (uint32_t row = 1; row <= rows; ++row) {
      page.push_back({SmallRow(kLayoutJet4, row, u"Name " + ToDecimal(row))});
      if (page.size() == kRowsOnPage || row == rows) file.AddDataPage(table, std::exchange(page, {}));
    }
    file.AddCatalogueRow(table, name, 1);
  }
  return file.Build();
}

template <class F>
void Until(F condition) {
  while (!condition()) SleepMilliseconds(1);
}
bool IsRepairing() {
  return CRepairingFileStatus::Instance().IsRunning();
}
bool IsSaving() {
  return CSavingStatus::Instance().IsSaving();
}
// Milliseconds for which a repair pauses behind step 2.
void SetPause(uint32_t length) {
  CDisplayPause::Instance().SetLength(length);
}

class Workflow : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(runFolder.Create(scratch.GetPath() + kPathSeparator));
    WriteFile(damaged, MakeSource());
    MakeWorkflow();
  }
  void TearDown() override {
    workflow.reset();
    SetPause(0);
    EXPECT_EQ(CRepairThreadCounter::Instance().GetCount(), 0);
    EXPECT_FALSE(IsRepairing());
    EXPECT_FALSE(IsSaving());
    EXPECT_FALSE(CPreviewThreadStatus::Instance().IsBusy());
  }

  static void WriteFile(const std::u16string& path, const Bytes& bytes) {
    WriteText(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
  void MakeWorkflow() {
    workflow = std::make_unique<CRepairWorkflow>(SWorkflowParts{.dialogs = window,
                                                                .view = window,
                                                                .frame = window,
                                                                .processes = processes,
                                                                .engine = fakeEngine,
                                                                .clock = &clock});
    workflow->Start();
  }
  [[nodiscard]] EPageState Page() const { return workflow->GetPage(); }

  void StartRepair() {
    workflow->SelectCorruptedFile(damaged);
    workflow->Next();
    ASSERT_EQ(Page(), EPageState::Repairing);
  }
  void FinishRepair() {
    Until([] { return !IsRepairing(); });
    workflow->OnTimer(kRepairTimer);
  }
  void Repair() {
    StartRepair();
    FinishRepair();
    ASSERT_EQ(Page(), EPageState::Repaired);
  }
  void StartSave() {
    window.paths = {output};
    workflow->Next();
    ASSERT_EQ(Page(), EPageState::Saving);
  }
  void FinishSave() {
    Until([] { return !IsSaving(); });
    workflow->OnTimer(kSaveTimer);
  }
  // Holds the next worker at its `call`-th call of the database engine until the save is stopped.
  void HoldSaveAt(size_t call) {
    isHeld = false;
    fakeEngine.log.calls.clear();
    fakeEngine.log.refuse = [this, call](const std::string&) {
      if (fakeEngine.log.calls.size() < call) return CDaoResult::Ok();
      isHeld = true;
      Until([] { return !IsSaving(); });
      return CDaoResult::Ok();
    };
  }
  void Preview(std::u16string_view table) {
    workflow->SelectTreeItem(table);
    Until([] { return !CPreviewThreadStatus::Instance().IsBusy(); });
  }
  // A new workflow that shows this page, at work where the page is one of work.
  void GoTo(EPageState page) {
    MakeWorkflow();
    SetPause(page == EPageState::Repairing ? 600'000 : 0);
    workflow->SelectCorruptedFile(damaged);
    if (page >= EPageState::Repairing) StartRepair();
    if (page >= EPageState::Repaired) FinishRepair();
    if (page >= EPageState::Saving) {
      HoldSaveAt(page == EPageState::Saving ? 3 : SIZE_MAX);
      StartSave();
    }
    if (page == EPageState::Saved) FinishSave();
  }

  CScratchFolder scratch;
  CRunFolder runFolder;
  const std::u16string damaged = scratch / u"damaged.mdb", output = scratch / u"out.mdb";
  CFakeFrontEnd window;
  CFakeClock clock;
  CFakeProcesses processes;
  CFakeEngine fakeEngine;
  std::atomic<bool> isHeld{false};
  std::unique_ptr<CDaoEngine> embeddedEngine = MakeEmbeddedEngine();
  std::unique_ptr<CRepairWorkflow> workflow;
};

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
    EXPECT_EQ(workflow->GetManager().GetRepair(), nullptr);
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
  ledger.Add(EDamage::SkippedTable, {2, CDamageLedger::kNoTable, -1, 1});
  ledger.Add(EDamage::UnnamedTable, {3, CDamageLedger::kNoTable, -1, 15});
  workflow->Back();
  workflow->ShowHeldResult();
  EXPECT_TRUE(window.hint.starts_with("There was no room")) << window.hint;
  EXPECT_NE(
      window.summary.find("The rows of 1 table could not be kept in the folder for temporary files:\r\n" +
                          ToUtf8(runFolder.GetPath())),
      std::string::npos)
      << window.summary;
  EXPECT_EQ(window.summary.find("names are lost"), std::string::npos) << window.summary;
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
  CRecordStore& records = workflow->GetRecords();
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
  workflow->SelectTreeItem(u"Cities");
  workflow->SelectTreeItem(u"");
  EXPECT_EQ(records.GetGeneration(), generation) << "the same table twice";
  workflow->SelectTreeItem(kTreeRoot);
  EXPECT_EQ(records.GetItemCount(), 0u);
  EXPECT_TRUE(records.GetColumns().empty());
  EXPECT_NE(window.summary.find("4 tables, 306 rows"), std::string::npos);
}

TEST_F(Workflow, ANewSelectionEndsTheEarlierPreview) {
  WriteFile(damaged, MakeSource(20'000));
  Repair();
  for (int round = 0; round < 20; ++round) {
    workflow->SelectTreeItem(u"Cities");
    Preview(u"People");
    ASSERT_EQ(workflow->GetRecords().GetItemCount(), 2u);
    ASSERT_EQ(workflow->GetRecords().GetColumns().size(), 2u);
  }
  workflow->SelectTreeItem(u"Cities");
  workflow->Back();
  workflow->Next();  // the new repair deletes what the preview reads
  EXPECT_EQ(Page(), EPageState::Repairing);
  EXPECT_EQ(window.tables, Lines{});
  workflow->SelectTreeItem(u"Cities");
  FinishRepair();
  EXPECT_EQ(workflow->GetRecords().GetItemCount(), 0u);
}

// --- save ---

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
  workflow->SelectTreeItem(u"Cities");
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
    workflow->SelectTreeItem(u"Cities");
    window.calls.clear();
    window.answers = c.answers;
    EXPECT_EQ(workflow->Close(), c.calls.back() == "end process");
    EXPECT_EQ(window.Take({"restore", "ask", "page", "message", "end"}), c.calls);
  }
}

TEST_F(Workflow, GoingAwayStopsWhatRuns) {
  GoTo(EPageState::Repairing);
  window.calls.clear();
  workflow->SelectTreeItem(u"Cities");
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
