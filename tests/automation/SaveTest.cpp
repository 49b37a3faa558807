// Whole saves into the stand-in engine: the recorded calls, and what each call's failure costs.
#include <algorithm>
#include <array>
#include <fstream>

#include "automation/AutomationEngine.h"
#include "format/PropertyBlob.h"
#include "tests/automation/StandInSystem.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {
namespace {

// The exact rules, but for rows that tests can write as texts.
constexpr SRecoveryRules kTextRules = [] {
  SRecoveryRules rules = kExactRules;
  rules.recordsHoldTexts = true;
  rules.queriesAreTheirText = true;
  return rules;
}();

CAccessTableIndex MakeIndex(std::u16string_view name, uint16_t column, bool isPrimary,
                            bool isAscending = true) {
  CAccessTableIndex index;
  index.name = name;
  index.columns[0] = {column, isAscending};
  index.columnCount = 1;
  index.primary = index.unique = isPrimary ? 1 : 0;
  return index;
}

class CAutomationSave : public CWriterTest {
 protected:
  explicit CAutomationSave(const SRecoveryRules& rules = kStandardRules) : CWriterTest(rules) {}

  void SetUp() override {
    CWriterTest::SetUp();
    AddTypes();
    CAccessTable& people = AddTable(u"People", {{u"ID", kTypeLong, 4, 7}, {u"Name"}});
    people.indexes.Add(MakeIndex(u"Primary Key", 1, true));
    people.indexes.Add(MakeIndex(u"ByName", 2, false, false));
    WriteRows(people, {{u"1", u"Ann"}, {u"2", u""}, {u"1", u"again"}});
    WriteRows(AddTable(u"Orders", {{u"Number", kTypeLong, 4}, {u"Of", kTypeLong, 4}}), {{u"7", u"1"}});
    AddQuery();
    CAccessTable& relations = AddTable(u"MSysRelationships", std::vector<STestColumn>(8, STestColumn{u""}));
    for (uint16_t i = 0; i < 8; ++i) relations.columns.GetAt(i)->number = i;
    WriteRows(relations, {{u"PeopleOrders", u"0", u"1", u"0", u"Orders", u"Of", u"People", u"ID"}});
  }
  void TearDown() override {
    RemoveStandIn();
    CWriterTest::TearDown();
  }

  void AddTypes() {
    CAccessTable& table = AddTable(u"Types", {{u"Flag", kTypeBoolean, 1},
                                              {u"Small", kTypeByte, 1},
                                              {u"Integer", kTypeInteger, 2},
                                              {u"Long", kTypeLong, 4},
                                              {u"Money", kTypeCurrency, 8},
                                              {u"Single", kTypeSingle, 4},
                                              {u"Double", kTypeDouble, 8},
                                              {u"Date", kTypeDate, 8},
                                              {u"Binary", kTypeBinary, 10},
                                              {u"Text", kTypeText, 300},
                                              {u"Ole", kTypeOle, 0},
                                              {u"Memo", kTypeMemo, 0},
                                              {u"Guid", kTypeGuid, 16, 0x43},
                                              {u"Decimal", kTypeDecimal, 17}});
    const std::u16string path = InFolder(u"object");
    WriteObject(path, std::string(70'000, 'o'));
    WriteRows(table,
              {{u"True", u"-5", u"300", u"-70000", u"1.25", u"0.5", u"-2.5", u"02/01/2003 ", u"ab", u"Text",
                path, std::u16string(40'000, u'm'), u"{00112233-4455-6677-8899-AABBCCDDEEFF}", u"12"},
               {u"", u"200", u"", u"", u"", u"", u"", u"", u"", u"", u"", u"", u"", u""}});
  }
  void AddQuery() {
    CAccessTable& table = AddTable(u"MSysQueries", std::vector<STestColumn>(8, STestColumn{u"c"}));
    WriteRows(table, {{u"-1", u"5", u"", u"People", u"", u"", u"", u""},
                      {u"-1", u"6", u"", u"", u"", u"Name", u"", u""}});
    m_data.GetQueryObjects().Append(std::make_unique<CQuerySysObject>(u"Names", u"-1", u"0"));
  }
  static void WriteObject(const std::u16string& path, const std::string& bytes) {
    std::ofstream file(ToNativePath(path), std::ios::binary);
    file << bytes;
  }

  // With a stand-in that fails as told. False: the save as a whole failed.
  bool SaveWith(std::string_view failure, const SAutomationOptions& options = {},
                EStandIn kind = EStandIn::Library) {
    InstallStandIn(failure, kind);
    ShownJob().log.Set({});
    const std::unique_ptr<CDaoEngine> engine = MakeAutomationEngine(MakeStandInServers(), options);
    m_save = std::make_unique<CAccessSaveRepairedFile>(*engine, ShownJob());
    m_save->SetData(&m_data);
    m_save->SetOutputPath(InFolder(u"new.mdb"));
    engine->Terminate();
    const bool isSaved = m_save->Save();
    engine->Terminate();
    return isSaved;
  }
  [[nodiscard]] Lines Calls() const {
    const std::string folder = ToUtf8(m_folder.GetPath());
    Lines lines = ReadStandInCalls();
    for (std::string& line : lines)
      if (const size_t at = line.find(folder); at != std::string::npos) line.erase(at, folder.size());
    return lines;
  }
  // Those that have this word.
  [[nodiscard]] Lines CallsOf(std::string_view word) const {
    Lines lines = Calls();
    std::erase_if(lines, [word](const std::string& line) { return line.find(word) == std::string::npos; });
    return lines;
  }
  struct SMade {
    std::unique_ptr<CDaoEngine> engine;
    std::unique_ptr<CDaoDatabase> database;
  };
  [[nodiscard]] SMade MakeDatabase(const SAutomationOptions& options = {}) const {
    SMade made{MakeAutomationEngine(MakeStandInServers(), options), nullptr};
    EXPECT_TRUE(made.engine->CreateDatabase(InFolder(u"new.mdb"), u"", 0, made.database).IsOk());
    return made;
  }
  // A table "People" of a column "ID", an AutoNumber, and of indexes of these names.
  static void AddPeople(CDaoDatabase& database, int32_t attributes,
                        std::initializer_list<const char16_t*> indexes = {}) {
    std::unique_ptr<CDaoTableDef> table;
    ASSERT_TRUE(database.CreateTableDef(u"People", 0, u"", u"", table).IsOk());
    CDaoFieldInfo field;
    field.name = u"ID";
    field.type = kDaoLong;
    field.attributes = kDaoAutoIncrement | attributes;
    field.lastNumber = 9;
    EXPECT_TRUE(table->CreateField(field).IsOk());
    for (const char16_t* name : indexes) {
      CDaoIndexInfo index{name, {{u"ID"}}};
      index.unique = true;
      EXPECT_TRUE(table->CreateIndex(index).IsOk());
    }
    EXPECT_TRUE(table->Append().IsOk());
  }
  void ExpectCosts(const SAutomationOptions& options, const std::string& name);
  // The engine's number, in the summary and in the log.
  [[nodiscard]] bool HasError(int32_t number, std::string_view call) const {
    return std::ranges::any_of(m_save->GetSummary().engineErrors, [&](const CDaoEngineError& error) {
      return error.number == number && ToUtf8(error.call) == call &&
             ShownJob().log.Get().find(DescribeEngineError(error)) != std::u16string::npos;
    });
  }
  // What a save lacks, in a few words.
  [[nodiscard]] std::string Cost() const {
    const SSaveSummary& summary = m_save->GetSummary();
    if (!summary.failure.empty()) return "the save: " + ToUtf8(summary.failure);
    uint64_t records = 0, values = 0;
    for (const SSaveLoss& loss : summary.losses) {
      records += loss.records;
      values += loss.fields;
    }
    std::string cost;
    for (const auto& [word, count] : {std::pair{"tables", 3 - summary.tablesSaved},
                                      {"records", records},
                                      {"values", values},
                                      {"columns", summary.columnsLost},
                                      {"indexes", summary.indexesLost},
                                      {"weaker indexes", summary.indexesWeakened},
                                      {"queries", summary.queriesLost},
                                      {"relations", summary.relationsLost},
                                      {"weaker relations", summary.relationsWeakened},
                                      {"moved records", summary.recordsMoved}})
      if (count != 0) cost += (cost.empty() ? "" : ", ") + std::to_string(count) + " " + word;
    if (cost.empty()) return summary.notes.empty() ? "nothing" : "nothing but a remark";
    return cost;
  }

  std::unique_ptr<CAccessSaveRepairedFile> m_save;
};

class CAutomationSaveByTexts : public CAutomationSave {
 protected:
  CAutomationSaveByTexts() : CAutomationSave(kTextRules) {}
};

Lines ReadLines(const std::string& name) {
  std::ifstream file(std::string(TOLVANE_CALLS) + "/" + name, std::ios::binary);
  Lines lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// Written-out calls lie beside the test. Where they differ, what was recorded is left in the system's folder
// for temporary files.
void ExpectCalls(const Lines& calls, const std::string& name) {
  if (calls == ReadLines(name)) return;
  const std::u16string path = GetTempFolder() + FromUtf8(name);
  std::ofstream out(ToNativePath(path), std::ios::binary);
  for (const std::string& line : calls) out << line << "\n";
  ADD_FAILURE() << name << " is not what was recorded; see " << ToUtf8(path);
}

// "Field.Attributes" for "Field ID.Attributes = 33".
std::string MemberOf(const std::string& call) {
  const std::string called = call.substr(0, call.find_first_of("(="));
  const size_t blank = called.find(' '), member = called.find('.');
  std::string shown = called.substr(0, std::min(blank, member)) + called.substr(member);
  if (shown.ends_with(' ')) shown.pop_back();
  return shown;
}

// One save for each call, in which that call fails: what it costs, each kind of call and cost once. Where
// calls take their time, the first call of each kind.
void CAutomationSave::ExpectCosts(const SAutomationOptions& options, const std::string& name) {
  ASSERT_TRUE(SaveWith("", options));
  EXPECT_TRUE(HasError(3022, options.keysLast ? "Append" : "Update"));
  const Lines calls = Calls(), all = ReadLines(name);
  Lines matrix, seen;
  for (size_t i = 0; i < calls.size(); ++i) {
    const std::string member = MemberOf(calls[i]);
    if (IsStandInDistant() && std::ranges::find(seen, member) != seen.end()) continue;
    seen.push_back(member);
    static_cast<void>(SaveWith(std::to_string(i + 1), options));
    const std::string line = member + " -> " + Cost();
    EXPECT_NE(std::ranges::find(all, line), all.end()) << calls[i] << ": " << line;
    EXPECT_TRUE(HasError(3799, member.substr(member.rfind('.') + 1))) << calls[i];
    if (std::ranges::find(matrix, line) == matrix.end()) matrix.push_back(line);
  }
  if (!IsStandInDistant()) ExpectCalls(matrix, name);
}

TEST_F(CAutomationSave, AWholeSaveMakesTheWrittenCalls) {
  ASSERT_TRUE(SaveWith("", {.keysLast = false})) << ToUtf8(m_save->GetSummary().failure);
  ExpectCalls(Calls(), "save_keys_first.txt");
  EXPECT_EQ(Cost(), "1 moved records");
}

TEST_F(CAutomationSaveByTexts, AWholeSaveMakesKeysBehindTheRows) {
  ASSERT_TRUE(SaveWith("")) << ToUtf8(m_save->GetSummary().failure);
  ExpectCalls(Calls(), "save_keys_last.txt");
}

TEST_F(CAutomationSave, EachFailureCostsWhatItMust) {
  ExpectCosts({.keysLast = false}, "failures_keys_first.txt");
}

TEST_F(CAutomationSaveByTexts, EachFailureCostsWhatItMustBehindTheRows) {
  ExpectCosts({}, "failures_keys_last.txt");
}

TEST_F(CAutomationSave, AnEngineThatIsGoneOrHangsEndsTheSaveAndNotTheProgram) {
  for (const auto& [failure, told] :
       {std::pair{"Rows Types.Update|gone",
                  u"The database engine DAO.DBEngine.120 does not answer any more: it ended, or lost its "
                  u"connection, in the middle of its work (system error 0x80010108)."},
        {"Rows Types.Update|hang", u"The database engine DAO.DBEngine.120 does not answer: it hangs."}}) {
    SAutomationOptions options{.keysLast = false};
    options.limits.call = std::chrono::milliseconds(300);
    EXPECT_FALSE(SaveWith(failure, options));
    EXPECT_EQ(m_save->GetSummary().failure, told);
    EXPECT_TRUE(Calls().back().starts_with("Rows Types.Update"));
  }
}

// A server that ends in the middle of a call, or hangs there, takes nothing with it.
TEST_F(CAutomationSave, AServerInAProcessOfItsOwnMayEndOrHang) {
  if (!IsStandInDistant()) GTEST_SKIP() << "servers have processes of their own on Windows alone";
  SAutomationOptions options{.keysLast = false};
  EXPECT_FALSE(SaveWith("Field Small.Attributes|exit", options, EStandIn::Process));
  EXPECT_NE(m_save->GetSummary().failure.find(u"does not answer any more: it ended"), std::u16string::npos);
  InstallStandIn("", EStandIn::Process);
  CEngineThread thread(MakeStandInServers(), {});
  const std::vector<SInstalledEngine> engines = ListInstalledEngines(thread, GetTempFolder());
  ASSERT_FALSE(engines.empty());
  EXPECT_EQ(engines[0].problem, u"");
  EXPECT_EQ(engines[0].refused.size(), 1U);
  options.limits.call = std::chrono::milliseconds(700);
  EXPECT_FALSE(SaveWith("Field Small.Attributes|hang, exit", options, EStandIn::Process));
  EXPECT_NE(m_save->GetSummary().failure.find(u"does not answer: it hangs"), std::u16string::npos)
      << ToUtf8(m_save->GetSummary().failure);
}

// The one that hung keeps its thread; the next save has another.
TEST_F(CAutomationSave, AnEngineThatHungIsUsedAgain) {
  SAutomationOptions options{.keysLast = false};
  options.limits.call = std::chrono::milliseconds(300);
  InstallStandIn("Rows Types.Update|hang");
  const std::unique_ptr<CDaoEngine> engine = MakeAutomationEngine(MakeStandInServers(), options);
  for (const bool isWell : {false, true}) {
    if (isWell) InstallStandIn("");
    CAccessSaveRepairedFile save(*engine, ShownJob());
    save.SetData(&m_data);
    save.SetOutputPath(InFolder(u"new.mdb"));
    EXPECT_EQ(save.Save(), isWell) << ToUtf8(save.GetSummary().failure);
    engine->Terminate();
  }
}

// Whatever is kept of an engine that was ended fails, and does not seem to have been done.
TEST_F(CAutomationSave, AnEngineThatWasEndedAnswersNoMore) {
  if (IsStandInDistant()) GTEST_SKIP() << "the system's objects must be released first";
  InstallStandIn("");
  CEngineThread thread(MakeStandInServers(), {});
  AutomationObject engine;
  AutomationValue version;
  ASSERT_TRUE(thread.Create(u"DAO.DBEngine.120", engine).IsOk());
  EXPECT_TRUE(engine->Invoke(ECall::Get, u"Version", {}, &version).IsOk());
  thread.End();
  EXPECT_FALSE(engine->Invoke(ECall::Get, u"Version", {}, &version).IsOk());
}

// The number that a deleted row had is not given out again.
TEST_F(CAutomationSave, AnAutoNumberCountsOnWhereItDid) {
  for (const auto& [failure, told] :
       {std::pair{"", ""},
        {"Database.Execute('INSERT|3314",
         "AutoNumber \"ID\" counts on behind 3, its highest number, and not behind 9, as in the source: as "
         "the stand-in was told (error 3314)"},
        {"Database.Execute('DELETE|3086",
         "The record [ID] = 9 is none of the source's: it raised the AutoNumber, and the engine did not "
         "delete it again. Delete it by hand: as the stand-in was told (error 3086)"}}) {
    InstallStandIn(failure);
    const auto [engine, database] = MakeDatabase();
    AddPeople(*database, kDaoFixedField);
    std::unique_ptr<CDaoRecordset> rows;
    ASSERT_TRUE(database->OpenRecordset(u"SELECT * FROM [People]", rows).IsOk());
    for (const std::array<uint8_t, 4> bytes : {std::array<uint8_t, 4>{3}, std::array<uint8_t, 4>{2}}) {
      EXPECT_TRUE(rows->AddNew().IsOk());
      EXPECT_TRUE(rows->SetFieldValue(0, SValue{.type = kTypeLong, .isNull = false, .bytes = bytes}).IsOk());
      EXPECT_TRUE(rows->Update().IsOk());
    }
    EXPECT_TRUE(rows->Close().IsOk());
    rows.reset();
    std::vector<CDaoTableChange> changes;
    EXPECT_TRUE(database->CompleteTables(changes).IsOk());
    EXPECT_EQ(changes.empty() ? "" : ToUtf8(changes[0].text), told);
    const Lines made = CallsOf("Database.Execute");
    Lines expected{"Database.Execute('INSERT INTO [People] ([ID]) VALUES (9)', 128)",
                   "Database.Execute('DELETE FROM [People] WHERE [ID] = 9', 128)"};
    if (made.size() == 1) expected.pop_back();
    EXPECT_EQ(made, expected) << failure;
  }
}

// Attributes that an engine ignores are told; a stop leaves out what is not made yet, and tells it.
TEST_F(CAutomationSave, WhatBecomesOfATableBehindItsRowsIsTold) {
  const Lines texts{"Column \"ID\" is no AutoNumber any more: the engine dropped this without an error.",
                    "The save was stopped before all its keys and properties were made."};
  for (const bool isStopped : {false, true}) {
    InstallStandIn(isStopped ? "" : "Field ID.Attributes = |ignored");
    SAutomationOptions options;
    options.limits.isWanted = [this, isStopped] {
      return !isStopped || CallsOf("Append(Index First)").empty();
    };
    const auto [engine, database] = MakeDatabase(options);
    AddPeople(*database, kDaoVariableField, {u"First", u"Second", u"Third"});
    std::vector<CDaoTableChange> changes;
    EXPECT_TRUE(database->CompleteTables(changes).IsOk());
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(ToUtf8(changes[0].text), texts[isStopped ? 1 : 0]);
    EXPECT_EQ(changes[0].indexes, isStopped ? 2U : 0U);
    EXPECT_EQ(changes[0].properties, isStopped ? 0U : 1U);
  }
}

TEST_F(CAutomationSave, RefusalsOfTheEngineKeepTheirMeaning) {
  // Renamed, though the engine says it of an index in one place and of an object in the other.
  EXPECT_TRUE(SaveWith("Database.Relations.Append|3284"));
  EXPECT_EQ(Cost(), "1 weaker indexes, 1 relations");
  EXPECT_TRUE(SaveWith("Types.Append|3001"));
  EXPECT_TRUE(SaveWith("Cell Small.Value|3421"));
  EXPECT_EQ(m_save->GetSummary().losses.at(0).reason, u"as the stand-in was told (error 3421)");
}

// A query's own and those of its columns; one that is refused costs only itself.
TEST_F(CAutomationSave, PropertiesOfQueriesAreSet) {
  const auto wide = [](std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    return bytes;
  };
  SPropertyOwner query,
      column{kPropertiesOfColumn, wide(u"Name"), {{wide(u"Caption"), 0, kTypeText, {'N', 0}}}};
  query.properties = {{wide(u"Description"), 0, kTypeText, {'D', 0}},
                      {wide(u"MaxRecords"), 0, kTypeLong, {9, 0, 0, 0}}};
  SSavedQuery saved;
  saved.name = u"Names";
  saved.sql = u"SELECT Name FROM People";
  saved.properties = EncodePropertyBlob(false, std::array{query, column});
  for (const auto& [failure, told] :
       {std::pair{"", u""},
        {"QueryDef Names.CreateProperty('MaxRecords'",
         u"It has lost properties (\"MaxRecords\"): as the stand-in was told (error 3799)"}}) {
    InstallStandIn(failure);
    const auto [engine, database] = MakeDatabase();
    const CDaoResult result = database->CreateQuery(saved);
    EXPECT_TRUE(result.IsOk());
    EXPECT_EQ(result.text, told);
    EXPECT_EQ(CallsOf("CreateProperty"), (Lines{"QueryDef Names.CreateProperty('Description', 10, 'D')",
                                                "QueryDef Names.CreateProperty('MaxRecords', 4, 9)",
                                                "Field Name.CreateProperty('Caption', 10, 'N')"}));
  }
}

TEST_F(CAutomationSave, EnginesThatAreThereAreListed) {
  InstallStandIn("");
  CEngineThread thread(MakeStandInServers(), {});
  const std::vector<SInstalledEngine> engines = ListInstalledEngines(thread, GetTempFolder());
  ASSERT_EQ(engines.size(), 2U);
  EXPECT_EQ(engines[0].className + u" " + engines[0].version, u"DAO.DBEngine.120 16.0");
  ASSERT_EQ(engines[0].refused.size(), 1U);
  EXPECT_EQ(engines[0].refused[0].version, kDaoVersionJet3);
  EXPECT_EQ(engines[0].refused[0].number, 3001);
  EXPECT_TRUE(engines[1].className == u"DAO.DBEngine.36" &&
              engines[1].problem.starts_with(u"It is installed for "));
  EXPECT_EQ(DescribeMissingEngine(thread.GetServers(), engines), u"");
  EXPECT_TRUE(DescribeMissingEngine(thread.GetServers(), {engines[1]}).starts_with(u"DAO.DBEngine.36: "));
  // Newer engines make no Jet 3 database.
  const std::unique_ptr<CDaoEngine> engine = MakeAutomationEngine(MakeStandInServers(), {});
  std::unique_ptr<CDaoDatabase> database;
  const CDaoResult result = engine->CreateDatabase(InFolder(u"old.mdb"), u"", kDaoVersionJet3, database);
  EXPECT_EQ(result.code, EDaoError::InvalidArgument);
  EXPECT_NE(result.text.find(u"(error 3001) Newer engines make no Access 97 databases"),
            std::u16string::npos);
}

}  // namespace
}  // namespace tolvane
