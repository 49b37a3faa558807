// Decisions of the command line: arguments, the exit status, the output's name.
#include <gtest/gtest.h>

#include "cli/Arguments.h"
#include "cli/Findings.h"
#include "cli/OutputFile.h"

namespace tolvane {

namespace {

CAccessTable& AddTable(CAccessData& data, uint64_t page, std::u16string_view name, uint32_t rows,
                       uint8_t type = kTypeText) {
  CAccessTable& table = data.GetTables().AddTable(page * 4096);
  table.name = name;
  table.header.rowCount = rows;
  CAccessColumn column;
  column.type = type;
  column.SetName(u"c");
  table.columns.Add(std::move(column));
  return table;
}

}  // namespace

TEST(ExitStatus, SoundDataIsDone) {
  CAccessData data;
  AddTable(data, 2, u"MSysObjects", 20);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Done) << "a database without user tables is sound";
  AddTable(data, 5, u"Orders", 0);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Done);
  const SSaveSummary saved;
  EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Done);
}

TEST(ExitStatus, NothingIsNothing) {
  CAccessData data;
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing);
  AddTable(data, 2, u"MSysObjects", 0);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing)
      << "the catalogue's definition is always there";
  data.GetTables().FindTable(2 * 4096)->header.rowCount = 20;
  data.GetLedger().Add(EDamage::LostTable, {0, CDamageLedger::kNoTable, -1, 1});
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing) << "all tables of the catalogue are gone";
  AddTable(data, 5, u"Orders", 0);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Incomplete);
}

TEST(ExitStatus, EveryKindOfLossIsTold) {
  for (size_t kind = 0; kind < static_cast<size_t>(EDamage::Count_); ++kind) {
    CAccessData data;
    AddTable(data, 5, u"Orders", 3);
    data.GetLedger().Add(static_cast<EDamage>(kind), {1, CDamageLedger::kNoTable, -1, 1});
    EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Incomplete) << kind;
    EXPECT_EQ(GetDamageWords().at(kind).kind, static_cast<EDamage>(kind)) << "damage without words";
  }
  CAccessData data;
  AddTable(data, 5, u"Orders", 3);
  for (uint64_t SSaveSummary::*count :
       {&SSaveSummary::fieldsDropped, &SSaveSummary::charactersReplaced, &SSaveSummary::columnsLost,
        &SSaveSummary::indexesLost, &SSaveSummary::indexesWeakened, &SSaveSummary::queriesLost,
        &SSaveSummary::relationsLost, &SSaveSummary::relationsWeakened}) {
    SSaveSummary saved;
    saved.*count = 1;
    EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Incomplete);
  }
  SSaveSummary emptyRows;
  emptyRows.emptyRowsDropped = 7;
  EXPECT_EQ(DecideStatus(data, &emptyRows), EExitStatus::Done) << "an empty row holds nothing";
  SSaveSummary failed;
  failed.failure = u"full";
  EXPECT_EQ(DecideStatus(data, &failed), EExitStatus::Failed);
}

TEST(ExitStatus, ValuesOfUnknownTypesAreALoss) {
  CAccessData data;
  AddTable(data, 5, u"Orders", 3, kTypeBigInt);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Incomplete);
  CAccessData empty;
  AddTable(empty, 5, u"Orders", 0, kTypeBigInt);
  EXPECT_EQ(DecideStatus(empty, nullptr), EExitStatus::Done);
}

TEST(FindTable, ByNameOrPage) {
  CAccessData data;
  CAccessTable& lower = AddTable(data, 5, u"orders", 0);
  CAccessTable& exact = AddTable(data, 6, u"Orders", 0);
  CAccessTable& odd = AddTable(data, 7, u"page:5", 0);
  EXPECT_EQ(FindTable(data, u"Orders"), &exact);
  EXPECT_EQ(FindTable(data, u"ORDERS"), &lower);
  EXPECT_EQ(FindTable(data, u"page:6"), &exact);
  EXPECT_EQ(FindTable(data, u"page:5"), &odd) << "a name goes before a page";
  EXPECT_EQ(FindTable(data, u"page:8"), nullptr);
}

TEST(Arguments, CommandsAndOptions) {
  const SParsedArguments parsed =
      ParseArguments({u"repair", u"-o", u"out \u00fc.mdb", u"--overwrite", u"--", u"-odd name.mdb"});
  ASSERT_FALSE(parsed.isEnd) << parsed.text;
  EXPECT_EQ(parsed.arguments.command, ECommand::Repair);
  EXPECT_EQ(parsed.arguments.source, u"-odd name.mdb");
  EXPECT_EQ(parsed.arguments.output, u"out \u00fc.mdb");
  EXPECT_TRUE(parsed.arguments.mayOverwrite);
  EXPECT_FALSE(parsed.arguments.isAccess2000);
  EXPECT_TRUE(ParseArguments({u"repair", u"s.mdb", u"--access-2000"}).arguments.isAccess2000);
  const SParsedArguments slash =
      ParseArguments({u"export", u"/s", u"/T", u"--format", u"jsonl", u"--ole", u"base64"});
  ASSERT_FALSE(slash.isEnd) << slash.text;
  EXPECT_EQ(slash.arguments.source, u"/s");
  EXPECT_EQ(slash.arguments.format, EExportFormat::JsonLines);
  EXPECT_EQ(slash.arguments.ole, EOleForm::Base64);
}

TEST(Arguments, WrongUsageIsOneLine) {
  const std::vector<std::vector<std::u16string>> wrong{{u"frob"},
                                                       {u"repair"},
                                                       {u"repair", u"a", u"b"},
                                                       {u"repair", u"a", u"--engine", u"x"},
                                                       {u"preview", u"a"},
                                                       {u"preview", u"a", u"T", u"--rows", u"0"},
                                                       {u"preview", u"a", u"T", u"--rows", u"-3"},
                                                       {u"export", u"a"},
                                                       {u"export", u"a", u"T", u"--ole", u"files"},
                                                       {u"--frob"}};
  for (const auto& words : wrong) {
    const SParsedArguments parsed = ParseArguments(words);
    EXPECT_TRUE(parsed.isEnd);
    EXPECT_EQ(parsed.status, EExitStatus::WrongUsage) << parsed.text;
    EXPECT_EQ(parsed.text.find('\n'), std::string::npos) << parsed.text;
    EXPECT_FALSE(parsed.text.empty());
  }
}

TEST(OutputFile, DefaultStandsBesideTheSource) {
  EXPECT_EQ(DefaultOutputPath(u"a/b c.accdb"), u"a/Tolvane_b c.accdb");
  EXPECT_EQ(DefaultOutputPath(u"x.mdb"), u"Tolvane_x.mdb");
}

}  // namespace tolvane
