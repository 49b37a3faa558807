// Decisions of the command line: arguments and the exit status.
#include <gtest/gtest.h>

#include "app/OutputFile.h"
#include "cli/CommandArguments.h"
#include "cli/Outcome.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

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

TEST(ExitStatus, TellsWholeNothingAndIncomplete) {
  CAccessData data{kStandardRules, GetWorkFolder()};
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing);
  CAccessTable& catalogue = AddTable(data, 2, u"MSysObjects", 0);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing) << "its definition is always there";
  catalogue.header.rowCount = 20;
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Done) << "a database without user tables is sound";
  data.GetLedger().Add(EDamage::LostTable, {0, CDamageLedger::kNoTable, -1, 1});
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Nothing) << "all tables of the catalogue are gone";
  AddTable(data, 5, u"Orders", 0);
  EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Incomplete);
}

TEST(ExitStatus, TheExactRulesCountWhatNoRepairBringsBack) {
  for (const auto& [rules, status] :
       {std::pair{ERules::Standard, EExitStatus::Done}, {ERules::Exact, EExitStatus::Incomplete}}) {
    CAccessData data{RulesOf(rules), GetWorkFolder()};
    AddTable(data, 5, u"Orders", 3);
    EXPECT_EQ(DecideRepairStatus(data, nullptr), EExitStatus::Done);
    data.NoteOtherObject(EOtherObject::Form, u"Entry");
    data.NoteOtherObject(EOtherObject::Form, u"Entry");
    data.NoteOtherObject(EOtherObject::LinkedTable, u"Far");
    EXPECT_EQ(DecideRepairStatus(data, nullptr), status);
    const auto lines = ListOmittedObjects(data, 1);
    ASSERT_EQ(lines.size(), status == EExitStatus::Done ? 0u : 2u);
    if (!lines.empty()) {
      EXPECT_EQ(lines[0].count, 1u) << "each name once";
      EXPECT_EQ(lines[0].places, u"Entry");
    }
    EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Done) << "all tables are there to be shown";
  }
}

TEST(ExitStatus, ValuesOfUnknownTypesAreALoss) {
  for (const auto& [rows, status] : {std::pair{3u, EExitStatus::Incomplete}, {0u, EExitStatus::Done}}) {
    CAccessData data{kStandardRules, GetWorkFolder()};
    AddTable(data, 5, u"Orders", rows, kTypeBigInt);
    EXPECT_EQ(DecideStatus(data, nullptr), status);
  }
}

TEST(ExitStatus, EveryKindOfDamageIsTold) {
  for (size_t kind = 0; kind < static_cast<size_t>(EDamage::Count_); ++kind) {
    CAccessData data{kStandardRules, GetWorkFolder()};
    AddTable(data, 5, u"Orders", 3);
    data.GetLedger().Add(static_cast<EDamage>(kind), {1, CDamageLedger::kNoTable, -1, 1});
    EXPECT_EQ(DecideStatus(data, nullptr), EExitStatus::Incomplete) << kind;
    EXPECT_EQ(GetDamageWords().at(kind).kind, static_cast<EDamage>(kind)) << "damage without words";
  }
}

TEST(ExitStatus, EveryLossOfSavingIsTold) {
  CAccessData data{kStandardRules, GetWorkFolder()};
  AddTable(data, 5, u"Orders", 3);
  SSaveSummary saved;
  EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Done);
  saved.emptyRowsDropped = 7;
  EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Done) << "an empty row holds nothing";
  for (uint64_t SSaveSummary::*count :
       {&SSaveSummary::fieldsDropped, &SSaveSummary::charactersReplaced, &SSaveSummary::columnsLost,
        &SSaveSummary::tablesChanged, &SSaveSummary::columnsChanged, &SSaveSummary::propertiesLost,
        &SSaveSummary::linksLost, &SSaveSummary::settingsChanged, &SSaveSummary::relationsChanged,
        &SSaveSummary::indexesLost, &SSaveSummary::indexesWeakened, &SSaveSummary::queriesLost,
        &SSaveSummary::queriesChanged, &SSaveSummary::queriesSkipped, &SSaveSummary::systemRowsLost,
        &SSaveSummary::relationsLost, &SSaveSummary::relationsWeakened}) {
    saved = {};
    saved.*count = 1;
    EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Incomplete);
  }
  saved = {};
  saved.losses.push_back({u"Orders", 1, 0, u"too large"});
  EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Incomplete);
  saved.failure = u"full";
  EXPECT_EQ(DecideStatus(data, &saved), EExitStatus::Failed);
}

TEST(FindTable, ByNameOrPage) {
  CAccessData data{kStandardRules, GetWorkFolder()};
  CAccessTable& lower = AddTable(data, 5, u"orders", 0);
  CAccessTable& exact = AddTable(data, 6, u"Orders", 0);
  CAccessTable& odd = AddTable(data, 7, u"page:5", 0);
  EXPECT_EQ(FindTable(data, u"Orders"), &exact);
  EXPECT_EQ(FindTable(data, u"ORDERS"), &lower);
  EXPECT_EQ(FindTable(data, u"page:6"), &exact);
  EXPECT_EQ(FindTable(data, u"page:5"), &odd) << "a name goes before a page";
  EXPECT_EQ(FindTable(data, u"page:8"), nullptr);
}

TEST(Arguments, NamesMayLookLikeOptions) {
  const SArguments repair =
      ParseArguments({u"repair", u"-o", u"out \u00fc.mdb", u"--to", u"ace", u"--", u"-odd name.mdb"})
          .arguments;
  EXPECT_EQ(repair.source, u"-odd name.mdb");
  EXPECT_EQ(repair.output, u"out \u00fc.mdb");
  EXPECT_EQ(repair.outputFormat, EOutputFormat::Ace);
  EXPECT_FALSE(repair.mayOverwrite);
  EXPECT_EQ(ParseArguments({u"export", u"/s", u"/T"}).arguments.source, u"/s");
  EXPECT_EQ(ToUtf8(DefaultOutputPath(u"a.mdb", u".accdb")), "Tolvane_a.accdb");
  EXPECT_EQ(ToUtf8(DefaultOutputPath(u"a.bak", u".mdb")), "Tolvane_a.bak.mdb");
}

TEST(Arguments, WrongUsageIsOneLine) {
  const std::vector<std::u16string> wrong[] = {{u"frob"},
                                               {u"repair"},
                                               {u"repair", u"a", u"b", u"-o", u"c"},
                                               {u"preview", u"a"},
                                               {u"preview", u"a", u"T", u"--rows", u"0"},
                                               {u"export", u"a", u"T", u"--json"},
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

}  // namespace
}  // namespace tolvane
