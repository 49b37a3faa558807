// What tests of the user's way through the pages share: a small real database and a fake front end.
#pragma once

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

inline constexpr SCommandSwitches kRepairOnly{.canRepair = true, .canStop = false, .canSave = false};
inline constexpr SCommandSwitches kStopOnly{.canRepair = false, .canStop = true, .canSave = false};
inline constexpr SCommandSwitches kRepairAndSave{.canRepair = true, .canStop = false, .canSave = true};

inline const char* const kAskStop = "ask: Do you really want to stop current process?";
inline const char* const kAskClose = "ask: Are you sure, you want to close the application?";
inline const char* const kTellStopped = "message info: Proccess stop by user.";
inline const char* const kChooseHint = "Please click on repair button and select corrupted MS Access file.";

// Tables "People" (2 rows), "Cities" (`cities` rows) and two more called "Twin".
inline Bytes MakeSource(uint32_t cities = 300) {
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
inline bool IsRepairing() {
  return CRepairingFileStatus::Instance().IsRunning();
}
inline bool IsSaving() {
  return CSavingStatus::Instance().IsSaving();
}
// Milliseconds for which a repair pauses behind step 2.
inline void SetPause(uint32_t length) {
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
    workflow->GetResultView().SelectItem(table);
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

}  // namespace tolvane
