// A repair of a database that our own engine made, in a work folder of its own, ready to be handed on.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/ExternalEngine.h"
#include "app/status/Status.h"
#include "engine/AccessRepair.h"
#include "samples/DatabaseBuilder.h"
#include "store/WorkFolder.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/support/ParsedInfoReader.h"

namespace tolvane::test {

// Of the tables of a repair the one of that name; fails the test and answers an empty one when there is none.
inline SReadTable TableNamed(const SReadParsedInfo& info, std::u16string_view name) {
  for (const SReadTable& table : info.tables)
    if (table.name == name) return table;
  ADD_FAILURE() << "no table " << ToUtf8(name);
  return {};
}

class CHandOffTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_folder.Create(GetTempFolder())) << ToUtf8(m_folder.GetProblem());
    CDatabaseBuilder database(ToNativePath(InFolder(u"damaged.mdb")));
    database.AddTable("People", {AutoNumber("ID"), Text("Name", 50), Memo("Notes"), Fixed("Born", kDaoDate),
                                 Text("Town", 40), Text("Street", 40)});
    database.AddTable("Words", {Text("Word", 30)});
    database.OpenTable("People");
    for (const char* name : {"Ada", "Grace", "Edsger"}) {
      database.BeginRow();
      database.Set(1, name);
      database.EndRow();
    }
    database.CloseTable();
    database.Close();
    Repair(InFolder(u"damaged.mdb"));
  }
  void TearDown() override { CSavingStatus::Instance().SetSaving(false); }

  void Repair(const std::u16string& path) {
    CRepairingFileStatus::Instance().SetRunning(true);
    m_repair.Repair(path, u"", path);
    CRepairingFileStatus::Instance().SetRunning(false);
    ASSERT_NE(m_repair.GetData(), nullptr);
  }
  // What a save leaves to the next one.
  static void BeginSaving() {
    CSavingStatus::Instance().SetSaving(true);
    CSavingStatus::Instance().SetLaunchFailed(false);
    CProgressStatus::Instance().SetMax(7);
    CProgressStatus::Instance().SetPos(7);
    CRepairLog::Instance().Set(u"old log");
    CStatusProgress::Instance().SetText(u"old status");
  }
  std::u16string InFolder(std::u16string_view name) const {
    return m_folder.GetPath() + std::u16string(name);
  }
  std::u16string OutputPath() const { return InFolder(u"Tolvane_damaged.mdb"); }
  // How the status objects stand after every hand-off; `problem` is the log line before the location.
  void ExpectSaved(bool hasLaunchFailed, const std::string& problem) const {
    const std::string output = ToUtf8(OutputPath());
    const std::string line = problem.empty() ? "" : problem + "\r\n";
    EXPECT_EQ(ToUtf8(CRepairLog::Instance().Get()), line + "Location: \r\n" + output);
    EXPECT_EQ(ToUtf8(CStatusProgress::Instance().GetText()), "Location: " + output);
    EXPECT_EQ(CSavingStatus::Instance().GetLaunchFailed(), hasLaunchFailed);
    EXPECT_FALSE(CSavingStatus::Instance().IsSaving());
    EXPECT_EQ(CProgressStatus::Instance().GetMax(), 100);
    EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
    for (const std::u16string& name : ListFolder(m_folder.GetPath()))
      EXPECT_NE(ToUtf8(ExtensionOf(name)), "kpi") << "left behind";
  }

  CRunFolder m_folder;
  CAccessRepair m_repair;
};

}  // namespace tolvane::test
