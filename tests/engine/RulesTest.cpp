// Every rule of reading by itself: a file that it decides, what the standard set makes of it and what the
// exact reading of this one rule does.
#include <functional>
#include <optional>
#include <utility>

#include "engine/TableScanner.h"
#include "format/SystemObjects.h"
#include "store/ValueStream.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

struct SRuleCase {
  const char* rule;
  // Sets this rule, and no other, as it is in `from`.
  void (*take)(SRecoveryRules& rules, const SRecoveryRules& from);
  // What the rules make of a file, in words.
  std::string (*read)(const SRecoveryRules& rules);
  const char* standard;
  const char* exact;
};

template <auto... Rules>
void Take(SRecoveryRules& rules, const SRecoveryRules& from) {
  ((rules.*Rules = from.*Rules), ...);
}
#define RULE(name) #name, Take < &SRecoveryRules::name>

// The recovered table "T" of a file that begins as a sound one.
class CRuleFile : public CDatabaseBuilder {
 public:
  explicit CRuleFile(const SLayout& layout = kLayoutJet4) : CDatabaseBuilder(layout) {}

  uint32_t AddNamedTable(const STableSpec& spec = SmallTable()) {
    const uint32_t page = AddTable(spec);
    AddCatalogueRow(page, u"T", 1);
    return page;
  }
  uint32_t AddSmallRows(uint32_t owner) {
    return AddDataPage(owner, {{SmallRow(kLayoutJet4, 1, u"Ann")}, {SmallRow(kLayoutJet4, 2, u"Bob")}});
  }
};

using Describe = std::function<std::string(const CAccessTable&)>;

std::string ReadTable(const SRecoveryRules& rules, const Bytes& bytes, const Describe& describe,
                      const std::optional<Bytes>& healthy = {}) {
  const CTempFile source(bytes), definitions(healthy.value_or(bytes));
  const auto data = Recover(source.GetPath(), rules, (healthy ? definitions : source).GetPath());
  const CAccessTable* const table = TableNamed(*data, u"T");
  return table != nullptr ? describe(*table) : "no table";
}

std::string Rows(const CAccessTable& table) {
  return std::to_string(table.header.rowCount) + " rows";
}

std::string Columns(const CAccessTable& table) {
  std::string text;
  for (const CAccessColumn& column : table.columns)
    text += ToUtf8(column.GetName()) + " " + std::to_string(column.number) + ", ";
  return text;
}

std::string Indexes(const CAccessTable& table) {
  std::string text;
  for (const CAccessTableIndex& index : table.indexes) {
    text += ToUtf8(index.name) + ":";
    if (index.primary != 0) text += " primary";
    if (index.unique != 0) text += " unique";
    if (index.ignoreNulls != 0) text += " ignores nulls";
    if (index.required != 0) text += " required";
    text += "; ";
  }
  return text;
}

std::string LastValue(const CAccessTable& table) {
  CValueStream stream;
  stream.Open(table.GetRecords());
  uint32_t count = 0;
  std::string value = "none";
  for (std::u16string text; stream.ReadCount(count) && stream.ReadText(count, text);)
    value = "'" + ToUtf8(text) + "'";
  return value;
}

// --- pages ---

std::string FreedPage(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t page = file.AddSmallRows(file.AddNamedTable());
  // The first map of page 1: kind, first page, then a bit a page that is set while the page is free.
  const uint32_t map = file.Page(kGlobalMapPage).Get16(kLayoutJet4.data.slots);
  file.Page(kGlobalMapPage).Put8(map + 5 + page / 8, 1u << page % 8);
  return ReadTable(rules, file.Build(), Rows);
}

std::string OwnerThatIsGone(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t table = file.AddNamedTable();
  file.AddSmallRows(table);
  const Bytes healthy = file.Build();
  file.Page(table).Fill(0);
  return ReadTable(rules, file.Build(), Rows, healthy);
}

std::string NamelessTableOfAccess(const SRecoveryRules& rules) {
  CRuleFile file;
  STableSpec modules;
  file.AddTable(modules.AddVariable(u"__A__", kTypeText, 255));
  return TableNamed(*Recover(file.Build(), rules), u"MSysModules") != nullptr ? "known" : "unknown";
}

std::string TableThatOnlyTheNavigationPaneNames(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t table = file.AddTable(SmallTable());
  STableSpec list;
  list.AddVariable(u"Id", kTypeLong, 4)
      .AddVariable(u"Name", kTypeText, 255)
      .AddVariable(u"Type", kTypeLong, 4);
  file.AddDataPage(
      file.AddTable(list),
      {{MakeRow(list, kLayoutJet4, {Little(table, 4), StoredText(u"T", kLayoutJet4), Little(1, 4)})}});
  return ReadTable(rules, file.Build(), Rows);
}

std::string TemplateOfOtherPages(const SRecoveryRules& rules) {
  CRuleFile file, other;
  file.AddSmallRows(file.AddNamedTable());
  other.AddPage();
  other.AddNamedTable();
  return ReadTable(rules, file.Build(), Rows, other.Build());
}

std::string DefinitionWithoutMark(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t table = file.AddNamedTable();
  file.AddSmallRows(table);
  file.Page(table).Put32(kLayoutJet4.definition.magic, 0);
  return ReadTable(rules, file.Build(), Rows);
}

std::string MoreRowsThanPromised(const SRecoveryRules& rules) {
  STableSpec spec = SmallTable();
  spec.rowCount = 1;
  CRuleFile file;
  file.AddSmallRows(file.AddNamedTable(spec));
  const uint64_t surplus = Recover(file.Build(), rules)->GetLedger().GetCount(EDamage::SurplusRows);
  return std::to_string(surplus) + " doubtful";
}

std::string UsersTableNamedLikeAccesss(const SRecoveryRules& rules) {
  CRuleFile file;
  file.AddCatalogueRow(file.AddTable(SmallTable()), u"MSysMine", 1);
  const auto data = Recover(file.Build(), rules);
  const CAccessTable* const table = TableNamed(*data, u"MSysMine");
  if (table == nullptr) return "no table";
  return IsSystemTable(*table) ? "Access' own" : "the user's";
}

// --- definitions ---

std::string CatalogueDefinitionGone(const SRecoveryRules& rules) {
  CRuleFile file;
  file.AddSmallRows(file.AddNamedTable());
  file.Page(kObjectsPage).Fill(0);
  return ReadTable(rules, file.Build(), Rows);
}

std::string PermissionsDefinitionGone(const SRecoveryRules& rules) {
  STableSpec permissions;
  permissions.AddFixed(u"ObjectId", kTypeLong, 4).AddVariable(u"SID", kTypeBinary, 510);
  permissions.AddFixed(u"ACM", kTypeLong, 4).AddFixed(u"FInheritable", kTypeBoolean, 1);
  CRuleFile file;
  file.AddDataPage(kAcesPage,
                   {{MakeRow(permissions, kLayoutJet4, {Little(2, 4), Hex("0203"), Little(1, 4), Bytes()})}});
  const auto data = Recover(file.Build(), rules);
  const CAccessTable* const table = TableNamed(*data, kMSysAces);
  return table != nullptr ? Rows(*table) : "no table";
}

std::string CountOfColumnsWrong(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t table = file.AddNamedTable();
  file.Page(table).Put16(kLayoutJet4.definition.columnCount, 1);
  return ReadTable(rules, file.Build(), Columns);
}

std::string NumbersAbove255(const SRecoveryRules& rules) {
  STableSpec spec = SmallTable();
  spec.columns[1].number = 0x0102;
  CRuleFile file;
  file.AddNamedTable(spec);
  return ReadTable(rules, file.Build(), Columns);
}

// A table with an index whose definition `change` has changed; `at` is where its first real index begins.
std::string ReadIndexes(const SRecoveryRules& rules, const SLayout& layout, size_t indexes,
                        const std::function<void(CPageBytes& page, size_t at)>& change) {
  STableSpec spec = SmallTable();
  for (size_t i = 0; i < indexes; i++)
    spec.indexes.push_back({.columns = {{static_cast<uint16_t>(i)}}, .name = i == 0 ? u"A" : u"B"});
  CRuleFile file(layout);
  const uint32_t table = file.AddNamedTable(spec);
  size_t at = layout.definition.headerSize + indexes * layout.definition.statisticsSize;
  for (const SColumnSpec& column : spec.columns)
    at += layout.column.size + layout.text.nameLengthSize + StoredText(column.name, layout).size();
  change(file.Page(table), at);
  return ReadTable(rules, file.Build(), Indexes);
}

constexpr size_t kFlagsOfTheFormat = 46, kFlagsOfTheStandard = 42;

std::string FlagsOfAnIndex(const SRecoveryRules& rules) {
  return ReadIndexes(rules, kLayoutJet4, 1, [](CPageBytes& page, size_t at) {
    page.Put8(at + kFlagsOfTheStandard, kIndexUnique).Put8(at + kFlagsOfTheFormat, kIndexRequired);
  });
}

std::string SeveralFlagsOfAnIndex(const SRecoveryRules& rules) {
  return ReadIndexes(rules, kLayoutJet4, 1, [](CPageBytes& page, size_t at) {
    const uint32_t flags = kIndexUnique | kIndexIgnoreNulls | kIndexRequired;
    page.Put8(at + kFlagsOfTheStandard, flags).Put8(at + kFlagsOfTheFormat, flags);
  });
}

// The entry with number 0 makes the real index 1 the primary key.
std::string PrimaryKeyByNumber(const SRecoveryRules& rules, const SLayout& layout) {
  return ReadIndexes(rules, layout, 2, [&layout](CPageBytes& page, size_t at) {
    const SLogicalIndexLayout& entry = layout.logicalIndex;
    const size_t logical = at + 2 * size_t{layout.realIndex.size};
    page.Put32(logical + entry.number, 0).Put32(logical + entry.realIndex, 1);
    page.Put8(logical + entry.kind, kIndexKindPrimary);
  });
}

std::string SecondEntryOfOneIndex(const SRecoveryRules& rules) {
  STableSpec spec = SmallTable();
  spec.indexes = {{.columns = {{0}}, .name = u"A"}};
  Bytes definition = MakeDefinition(spec, kLayoutJet4);
  const SLogicalIndexLayout& entry = kLayoutJet4.logicalIndex;
  size_t names = definition.size() - 2 - 4;  // the end mark and the name of two bytes behind its length
  Bytes second(entry.size);
  second[entry.kind] = kIndexKindPrimary;
  second[entry.number] = 0;
  definition.insert(definition.begin() + static_cast<ptrdiff_t>(names), second.begin(), second.end());
  definition[kLayoutJet4.definition.logicalCount] = 2;
  definition[kLayoutJet4.definition.length] =
      static_cast<uint8_t>(definition[kLayoutJet4.definition.length] + entry.size);
  CRuleFile file;
  file.AddCatalogueRow(file.AddDefinition(definition), u"T", 1);
  return ReadTable(rules, file.Build(), Indexes);
}

std::string NamesOfAccess97(const SRecoveryRules& rules) {
  CRuleFile file(kLayoutJet3);
  file.AddNamedTable();
  return ReadTable(rules, file.Build(), Columns);
}

// --- rows ---

// The small rows of a file whose first slot has these bits, too.
std::string ReadRowsWithBits(const SRecoveryRules& rules, uint32_t bits) {
  CRuleFile file;
  CPageBytes& page = file.Page(file.AddSmallRows(file.AddNamedTable()));
  page.Put16(kLayoutJet4.data.slots, page.Get16(kLayoutJet4.data.slots) | bits);
  return ReadTable(rules, file.Build(), Rows);
}

std::string StartBeyondThePage(const SRecoveryRules& rules) {
  return ReadRowsWithBits(rules, 0x1000);
}

std::string RowBehindALostPointer(const SRecoveryRules& rules) {
  return ReadRowsWithBits(rules, kSlotHidden);
}

std::string ReasonOfARejectedRow(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t page = file.AddSmallRows(file.AddNamedTable());
  file.Page(page).Put16(kLayoutJet4.data.slots, 5);
  const auto data = Recover(file.Build(), rules);
  const auto& places = data->GetLedger().GetPlaces(EDamage::RejectedRow);
  if (places.empty()) return "no such row";
  return places[0].reason != nullptr ? places[0].reason : "no reason";
}

std::string PointerToAnothersRow(const SRecoveryRules& rules) {
  CRuleFile file;
  const uint32_t table = file.AddNamedTable();
  const uint32_t other = file.AddSmallRows(file.AddTable(SmallTable()));
  file.AddDataPage(table, {{MakePointerRow(other, 0), kSlotPointer}});
  return ReadTable(rules, file.Build(), Rows);
}

std::string ManyStoredColumns(const SRecoveryRules& rules) {
  STableSpec wide = SmallTable();
  wide.columns[1].number = 299;
  CRuleFile file;
  const uint32_t table = file.AddNamedTable(wide);
  file.AddDataPage(table, {{MakeRow(wide, kLayoutJet4, {Little(1, 4), StoredText(u"Ann", kLayoutJet4)})}});
  return ReadTable(rules, file.Build(), Rows);
}

// --- values ---

std::string ReadValue(const SRecoveryRules& rules, uint8_t type, const Bytes& value) {
  STableSpec spec;
  spec.AddFixed(u"V", type, static_cast<uint16_t>(value.size()));
  CRuleFile file;
  file.AddDataPage(file.AddNamedTable(spec), {{MakeRow(spec, kLayoutJet4, {value})}});
  return ReadTable(rules, file.Build(), LastValue);
}

std::string NegativeDecimal(const SRecoveryRules& rules) {
  return ReadValue(rules, kTypeDecimal, Hex("80 00000000 00000000 00000000 05000000"));
}
std::string SmallDouble(const SRecoveryRules& rules) {
  return ReadValue(rules, kTypeDouble, Hex("8DEDB5A0F7C6B03E"));  // 1e-6
}
std::string Midnight(const SRecoveryRules& rules) {
  return ReadValue(rules, kTypeDate, Hex("000000000000F03F"));  // a day after the first
}

std::string NumberThatSpellsAB(const SRecoveryRules& rules) {
  return ReadValue(rules, kTypeLong, StoredText(u"AB", kLayoutJet4));
}

const SRuleCase kCases[] = {
    {RULE(creditFreedPages), FreedPage, "2 rows", "0 rows"},
    {RULE(requireOwnerDefinition), OwnerThatIsGone, "0 rows", "2 rows"},
    {RULE(requireDefinitionMark), DefinitionWithoutMark, "2 rows", "no table"},
    {RULE(templateMatchesByName), TemplateOfOtherPages, "no table", "2 rows"},
    {RULE(surplusRowsAreDoubtful), MoreRowsThanPromised, "0 doubtful", "1 doubtful"},
    {RULE(systemTablesByName), UsersTableNamedLikeAccesss, "Access' own", "the user's"},
    {RULE(columnsNameSystemTables), NamelessTableOfAccess, "unknown", "known"},
    {RULE(useBuiltInSystemTables), PermissionsDefinitionGone, "no table", "1 rows"},
    {RULE(otherPlacesTellNames), TableThatOnlyTheNavigationPaneNames, "no table", "0 rows"},
    {RULE(mendDefinitions), CountOfColumnsWrong, "RecoveredField####0 0, ", "Id 0, Name 1, "},
    {RULE(columnNumberLowByteOnly), NumbersAbove255, "Id 0, Name 2, ", "Id 0, Name 258, "},
    {RULE(indexFlagsOffsetJet4), FlagsOfAnIndex, "Index_0: unique; ", "Index_0: required; "},
    {RULE(indexFlagsExactMatch), SeveralFlagsOfAnIndex, "Index_0: unique; ",
     "Index_0: unique ignores nulls required; "},
    {RULE(logicalIndexNumberOffsetJet4),
     [](const SRecoveryRules& rules) { return PrimaryKeyByNumber(rules, kLayoutJet4); },
     "Primary Key: primary; Index_1:; ", "Index_0:; Primary Key: primary; "},
    {RULE(logicalCountIsRealCount), SecondEntryOfOneIndex, "Index_0:; ", "A: primary; "},
    {RULE(rawJet3Names), NamesOfAccess97, "\u6449 0, \u614E\u656D 1, ", "Id 0, Name 1, "},
    {RULE(rowStartMask), StartBeyondThePage, "2 rows", "1 rows"},
    {RULE(skipHiddenRows), RowBehindALostPointer, "1 rows", "2 rows"},
    {RULE(tellReasons), ReasonOfARejectedRow, "no reason", "its start cannot be true"},
    {RULE(trustOverflowTarget), PointerToAnothersRow, "1 rows", "0 rows"},
    {RULE(maximumStoredColumns), ManyStoredColumns, "0 rows", "1 rows"},
    {RULE(decimalLowWordsOnly), NegativeDecimal, "'5'", "'-5'"},
    {RULE(floatDecimals), SmallDouble, "'0.00000'", "'1e-06'"},
    {RULE(recordsHoldTexts), NumberThatSpellsAB, "'4325441'", "'AB'"},
    {RULE(midnightKeepsBlank), Midnight, "'12/31/1899 '", "'12/31/1899'"},
};

class Rules : public CEngineTest, public testing::WithParamInterface<SRuleCase> {};
INSTANTIATE_TEST_SUITE_P(All, Rules, testing::ValuesIn(kCases),
                         [](const auto& one) { return std::string(one.param.rule); });

TEST_P(Rules, DecidesAlone) {
  EXPECT_EQ(GetParam().read(kStandardRules), GetParam().standard);
  SRecoveryRules rules = kStandardRules;
  GetParam().take(rules, kExactRules);
  EXPECT_EQ(GetParam().read(rules), GetParam().exact);
}

// Rules that are the same in both sets.
TEST_F(CEngineTest, RulesThatBothSetsShare) {
  SRecoveryRules rules = kStandardRules;
  EXPECT_EQ(CatalogueDefinitionGone(rules), "2 rows");
  rules.useBuiltInCatalogue = false;
  EXPECT_EQ(CatalogueDefinitionGone(rules), "no table");
  EXPECT_EQ(CatalogueDefinitionGone(kExactRules), "2 rows");
  rules = kStandardRules;
  EXPECT_EQ(PrimaryKeyByNumber(rules, kLayoutJet3), "Index_0:; Primary Key: primary; ");
  rules.logicalIndexNumberOffsetJet3 = 0;
  EXPECT_EQ(PrimaryKeyByNumber(rules, kLayoutJet3), "Primary Key: primary; Index_1:; ");
}

TEST_F(CEngineTest, APageThatCannotBeReadFollowsItsRule) {
  for (const auto& [set, keeps] : {std::pair{kStandardRules, true},
                                   {kStandardRules, false},
                                   {kExactRules, false},
                                   {kExactRules, true}}) {
    SRecoveryRules rules = set;
    rules.unreadablePageKeepsPrevious = keeps;
    CRuleFile file;
    const uint32_t table = file.AddNamedTable();
    file.AddSmallRows(table);
    const uint32_t lost = file.AddSmallRows(table);
    const CTempFile bytes(file.Build());
    CSource source(kStandardRules);
    ASSERT_TRUE(source.Open(bytes.GetPath()));
    if (!bytes.Truncate(file.OffsetOf(lost))) GTEST_SKIP() << "an open file cannot be cut here";
    CAccessData data(rules, GetWorkFolder());
    const CTableScanner scanner(rules, ShownJob());
    scanner.ScanTableDefinitions(data, source);
    scanner.ScanDataPages(data, source);
    const size_t pages = data.GetTables().FindTable(file.OffsetOf(table))->dataPages.GetCount();
    EXPECT_EQ(pages, keeps ? 2u : 1u);
  }
}

TEST(RuleSets, DifferOnlyInRulesThatHaveATest) {
  SRecoveryRules rules = kStandardRules;
  for (const SRuleCase& one : kCases) one.take(rules, kExactRules);
  // Each of these with the tests that fail when either set has the other's.
  // ExactRules.ADatabaseIsFoundAnywhereInAFile, Repair.BytesInFrontOfTheDatabaseAreSkippedWhereItsStartIsSure
  Take<&SRecoveryRules::pagesDecideFormat>(rules, kExactRules);
  // ExactRules.PagesWithoutAHeadGoToTheTableWhoseMapNamesThem, ScannerOfBoth.DataPagesGoToTheirOwners...
  Take<&SRecoveryRules::adoptOrphanPages>(rules, kExactRules);
  // ExactRules.RowsOfAnotherShapeAreNone, FieldDecoder.FixedValues
  Take<&SRecoveryRules::rowsMatchDefinition>(rules, kExactRules);
  // APageThatCannotBeReadFollowsItsRule
  Take<&SRecoveryRules::unreadablePageKeepsPrevious>(rules, kExactRules);
  // CExactDataTest.ValuesArriveAsTheyAre, CStructureTest.EveryTypeBecomesItsField
  Take<&SRecoveryRules::reduceFields>(rules, kExactRules);
  // CExactDataTest.ValuesArriveAsTheyAre, CDataTest.EmptyRowsAreNotStoredAndTheirNewRecordIsUsedByTheNext
  Take<&SRecoveryRules::dropEmptyRows>(rules, kExactRules);
  // PreparedQuery.HoldsTheStoredRowsInTheirOrder, CQueryStepTest.WhatChangesAQueryIsTold
  Take<&SRecoveryRules::queriesAreTheirText>(rules, kExactRules);
  // SaveRules.BytesAndFormatsFollowTheirRules
  Take<&SRecoveryRules::dropBytesAbove127, &SRecoveryRules::keepAceFormat>(rules, kExactRules);
  // CNullCascadeTest
  Take<&SRecoveryRules::nullCascadeIsUnknown>(rules, kExactRules);
  // Findings.EachSetOfRulesTellsItsOwn
  Take<&SRecoveryRules::damagePlacesTold, &SRecoveryRules::tellOmittedObjects,
       &SRecoveryRules::userTablesDecide>(rules, kExactRules);
  // In tests/writer and tests/cli: what is saved and what is told.
  Take<&SRecoveryRules::complexValuesAreData, &SRecoveryRules::keepLinks,
       &SRecoveryRules::keepDatabaseSettings, &SRecoveryRules::changesAreLosses>(rules, kExactRules);
  EXPECT_TRUE(rules == kExactRules) << "a rule without a test";
}

}  // namespace

}  // namespace tolvane
