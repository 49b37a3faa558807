// Recovered tables that are ready to be handed on, and how every hand-off leaves the status objects.
#pragma once

#include <string>

#include "app/ExternalEngine.h"
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"

namespace tolvane::test {

class CHandOffTest : public CWriterTest {
 protected:
  void SetUp() override {
    CWriterTest::SetUp();
    m_data.sourcePath = InFolder(u"damaged.mdb");
    WriteRows(AddTable(u"People", {{u"ID", kTypeLong, 4}, {u"Name"}}), {{u"1", u"Ada"}, {u"2", u"Grace"}});
    WriteRows(AddTable(u"Words", {{u"Word", kTypeText, 30}}), {});
    // What a save leaves to the next one.
    CSavingStatus::Instance().SetLaunchFailed(false);
    CProgressStatus::Instance().SetMax(7);
    CProgressStatus::Instance().SetPos(7);
    CRepairLog::Instance().Set(u"old log");
    CStatusProgress::Instance().SetText(u"old status");
  }
  std::u16string OutputPath() const { return InFolder(u"Tolvane_damaged.mdb"); }
  // How the status objects stand after every hand-off; `problem` is the log line before the location.
  void ExpectSaved(bool hasLaunchFailed, const std::string& problem) const {
    const std::string output = ToUtf8(OutputPath());
    const std::string line = problem.empty() ? "" : problem + "\r\n";
    EXPECT_EQ(GetLog(), line + "Location: \r\n" + output);
    EXPECT_EQ(ToUtf8(CStatusProgress::Instance().GetText()), "Location: " + output);
    EXPECT_EQ(CSavingStatus::Instance().GetLaunchFailed(), hasLaunchFailed);
    EXPECT_FALSE(CSavingStatus::Instance().IsSaving());
    EXPECT_EQ(CProgressStatus::Instance().GetMax(), 100);
    EXPECT_EQ(CProgressStatus::Instance().GetPos(), 0);
    for (const std::u16string& name : ListFolder(m_folder.GetPath()))
      EXPECT_NE(ToUtf8(ExtensionOf(name)), "kpi") << "left behind";
  }
};

}  // namespace tolvane::test
