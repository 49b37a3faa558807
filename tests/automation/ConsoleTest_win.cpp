// The console program with the stand-in installed in Wine: what it says, stores and leaves behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "embedded/EmbeddedEngine.h"
#include "platform/ChildProcess.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "tests/automation/StandInSystem.h"

namespace tolvane {
namespace {

// Programs of Windows take paths of Wine's own drive.
std::u16string OnDrive(std::string path) {
  std::ranges::replace(path, '/', '\\');
  return FromUtf8(path.starts_with('\\') ? "Z:" + path : path);
}

class CConsole : public testing::Test {
 protected:
  // A database with one table of two rows.
  void SetUp() override {
    RemoveFile(FromUtf8(m_source));
    const std::unique_ptr<CDaoEngine> engine = MakeEmbeddedEngine({.tempFolder = GetTempFolder()});
    std::unique_ptr<CDaoDatabase> database;
    std::unique_ptr<CDaoTableDef> table;
    std::unique_ptr<CDaoRecordset> rows;
    ASSERT_TRUE(engine->CreateDatabase(FromUtf8(m_source), u"", kDaoVersionJet4, database).IsOk());
    ASSERT_TRUE(database->CreateTableDef(u"People", 0, u"", u"", table).IsOk());
    EXPECT_TRUE(table->CreateField(u"ID", kDaoLong, 4, kDaoFixedField).IsOk());
    EXPECT_TRUE(table->Append().IsOk());
    table.reset();
    ASSERT_TRUE(database->OpenRecordset(u"SELECT * FROM [People]", rows).IsOk());
    for (const std::array<uint8_t, 4> bytes : {std::array<uint8_t, 4>{1}, std::array<uint8_t, 4>{2}}) {
      EXPECT_TRUE(rows->AddNew().IsOk());
      EXPECT_TRUE(rows->SetFieldValue(0, SValue{.type = kTypeLong, .isNull = false, .bytes = bytes}).IsOk());
      EXPECT_TRUE(rows->Update().IsOk());
    }
    EXPECT_TRUE(rows->Close().IsOk());
    rows.reset();
    EXPECT_TRUE(database->Close().IsOk());
  }
  void TearDown() override {
    RemoveStandIn();
    for (const std::string& path : {m_source, m_output, m_said, m_said + ".err"}) RemoveFile(FromUtf8(path));
  }
  // Its exit status, or -2 where it does not end; what it printed is left in Said().
  int Run(std::vector<std::u16string> words) {
    words.insert(words.end(), {u"--json", u"-q"});
    CChildProcess program;
    if (!program.Start(OnDrive(TOLVANE_PROGRAM), words, FromUtf8(m_said), FromUtf8(m_said + ".err")))
      return CChildProcess::kCrashed;
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < end) {
      if (const std::optional<int> status = program.Poll()) return *status;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -2;
  }
  [[nodiscard]] std::string Said() const {
    std::ifstream file(m_said, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const std::string m_folder = ToUtf8(GetTempFolder());
  const std::string m_source = m_folder + "of-engine.mdb";
  const std::string m_output = m_folder + "by-engine.mdb", m_said = m_folder + "by-engine.txt";
};

TEST_F(CConsole, EnginesAreListedWithTheFormatsThatTheyRefuse) {
  InstallStandIn("");
  EXPECT_EQ(Run({u"engines"}), 0);
  for (const char* part :
       {"\"class\": \"DAO.DBEngine.120\"", "\"format\": \"Access 97\"", "\"errorNumber\": 3001",
        "\"class\": \"DAO.DBEngine.36\"", "It is installed for ", "\"installedUsable\": true"})
    EXPECT_NE(Said().find(part), std::string::npos) << part << Said();
}

TEST_F(CConsole, TheEngineWritesWhatIsRepairedAndItsErrorsAreTold) {
  constexpr int kFailed = 2, kLost = 3;
  struct SCase {
    const char* failure;
    const char16_t* rules;
    int status;
    std::vector<const char*> said;
  };
  for (const SCase& expected :
       {SCase{"Rows People.Update|3022",
              u"standard",
              kLost,
              {"\"engine\": \"dao\"", "in table \\\"People_refused\\\"", "\"number\": 3022"}},
        {"Engine.OpenDatabase|3799", u"exact", kFailed, {"(error 3799)", "\"number\": 3799"}},
        {"Engine.CreateDatabase|3001", u"exact", kFailed, {"(error 3001)", "\"number\": 3001"}},
        {"Rows People.Update|hang",
         u"exact",
         kFailed,
         {"DAO.DBEngine.120 does not answer any more", "No file was made or changed under this name."}}}) {
    InstallStandIn(expected.failure);
    RemoveFile(FromUtf8(m_output));
    EXPECT_EQ(Run({u"repair", FromUtf8(m_source), u"--engine", u"dao", u"--rules", expected.rules, u"-o",
                   FromUtf8(m_output)}),
              expected.status)
        << expected.failure;
    for (const char* part : expected.said)
      EXPECT_NE(Said().find(part), std::string::npos) << expected.failure << Said();
    EXPECT_EQ(FileExists(FromUtf8(m_output)), expected.status == kLost) << expected.failure;
  }
}

}  // namespace
}  // namespace tolvane
