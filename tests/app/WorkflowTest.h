// A workflow over a small real database and a fake front end.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/RepairWorkflow.h"
#include "app/status/Status.h"
#include "platform/Process.h"
#include "store/WorkFolder.h"
#include "tests/app/FakeFrontEnd.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/support/PageBuilder.h"
#include "tests/writer/FakeDao.h"

namespace tolvane {

using Lines = std::vector<std::string>;

// Tables "People" (2 rows), "Cities" (`cities` rows) and two more called "Twin".
inline Bytes MakeSource(uint32_t cities = 300) {
  CDatabaseBuilder file(kJet4Layout);
  STableSpec spec;
  spec.AddFixed(u"Id", kTypeLong, 4).AddVariable(u"Name", kTypeText, 100);
  const auto add = [&](std::u16string_view name, uint32_t rows) {
    spec.rowCount = rows;
    const uint32_t table = file.AddTable(spec);
    constexpr uint32_t kRowsOnPage = 50;
    for (uint32_t row = 0; row < rows;) {
      std::vector<SRowSpec> page;
      for (uint32_t i = 0; i < kRowsOnPage && row < rows; ++i, ++row)
        page.push_back(
            {MakeRow(spec, kJet4Layout,
                     {Little(row + 1, 4), StoredText(u"Name " + ToDecimal(row + 1), kJet4Layout)})});
      file.AddDataPage(table, page);
    }
    file.AddCatalogueRow(table, name, 1);
  };
  add(u"People", 2);
  add(u"Cities", cities);
  add(u"Twin", 1);
  add(u"Twin", 3);
  return file.Build();
}

class CWorkflowTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(runFolder.Create(scratch.GetPath() + kPathSeparator));
    damaged = scratch / u"damaged.mdb";
    WriteSource(MakeSource());
    MakeWorkflow();
  }
  void TearDown() override {
    workflow.reset();
    CDisplayPause::Instance().SetLength(0);
    EXPECT_EQ(CRepairThreadCounter::Instance().GetCount(), 0);
    EXPECT_FALSE(CRepairingFileStatus::Instance().IsRunning());
    EXPECT_FALSE(CSavingStatus::Instance().IsSaving());
    EXPECT_FALSE(CPreviewThreadStatus::Instance().IsBusy());
  }

  void WriteSource(const Bytes& bytes) {
    WriteText(damaged, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
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

  template <class F>
  static void Until(F condition) {
    while (!condition()) SleepMilliseconds(1);
  }
  static bool IsRepairing() { return CRepairingFileStatus::Instance().IsRunning(); }
  static bool IsSaving() { return CSavingStatus::Instance().IsSaving(); }

  void FinishRepair() {
    Until([] { return !IsRepairing(); });
    workflow->OnTimer(kRepairTimer);
  }
  void Repair() {
    workflow->SelectCorruptedFile(damaged);
    workflow->Next();
    ASSERT_EQ(workflow->GetPage(), EPageState::Repairing);
    FinishRepair();
    ASSERT_EQ(workflow->GetPage(), EPageState::Repaired);
  }
  void StartSave(std::u16string_view name = u"out.mdb") {
    window.paths = {scratch / name};
    workflow->Next();
    ASSERT_EQ(workflow->GetPage(), EPageState::Saving);
  }
  void FinishSave() {
    Until([] { return !IsSaving(); });
    workflow->OnTimer(kSaveTimer);
  }
  void FinishPreview() {
    Until([] { return !CPreviewThreadStatus::Instance().IsBusy(); });
  }

  CScratchFolder scratch;
  CRunFolder runFolder;
  std::u16string damaged;
  CFakeFrontEnd window;
  CFakeClock clock;
  CFakeProcesses processes;
  CFakeEngine fakeEngine;
  std::unique_ptr<CRepairWorkflow> workflow;
};

}  // namespace tolvane
