#include <vector>

#include "engine/CatalogueImage.h"
#include "engine/DefinitionDecoder.h"
#include "tests/engine/EngineTest.h"
#include "tests/engine/Hex.h"

namespace tolvane {

namespace {

// A table of a text and a GUID column with a primary key, as the two engines wrote it.
constexpr std::string_view kJet3Definition =
    "02015643 00000000 a9000000 07000000 09000000 4e 0200 0100 0200 01000000 01000000 00370000 01370000"
    "00000000 00000000"
    "0a 0000 0000 0000 0100 0904 e404 02 0000 3200"
    "0f 0100 0100 0100 0100 0904 e404 43 0000 1000"
    "04 6e616d65 04 64617461"
    "0100 01 ffff29 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 02370000 38000000 09"
    "00000000 00000000 00 ffffffff 00000000 04 04 01"
    "0a 5072696d6172794b6579 ffff";
constexpr std::string_view kJet4Definition =
    "0201ff0e 00000000 f9000000 59060000 07000000 09000000 01000000 00000000 0000000000000000"
    "4e 0200 0100 0200 01000000 01000000 00e50200 01e50200"
    "00000000 00000000 00000000"
    "0a 59060000 0000 0000 0100 0904 00 00 02 01 00000000 0000 6400"
    "0f 59060000 0100 0100 0200 0904 00 00 43 00 00000000 0000 1000"
    "0800 6e0061006d006500 0800 6400610074006100"
    "83070000 010001 ffff29 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00"
    "02e50200 e6020000 00000000 89 00 00000000"
    "59060000 00000000 00000000 00 ffffffff 00000000 04 04 01 00000000"
    "1400 5000720069006d006100720079004b0065007900 ffff";

SRecoveryRules WithReadableNames() {
  SRecoveryRules rules = kStandardRules;
  rules.rawJet3Names = false;
  return rules;
}

struct SDecoded {
  CAccessTable table{0};
  bool isSound = false;

  std::u16string Name(size_t i) const { return std::u16string(table.columns.GetAt(i)->GetName()); }
};

// `length` cuts the buffer; by default it is one page, as a short definition has.
std::unique_ptr<SDecoded> Decode(Bytes bytes, const SJetLayout& layout, size_t length = 0,
                                 const SRecoveryRules& rules = kStandardRules) {
  bytes.resize(length != 0 ? length : std::max<size_t>(bytes.size(), layout.pageSize));
  auto decoded = std::make_unique<SDecoded>();
  decoded->isSound = CDefinitionDecoder(layout, rules, 1252).Decode(bytes, decoded->table);
  return decoded;
}

// Where the names start.
size_t NamesOf(const STableSpec& table, const SJetLayout& layout) {
  return layout.definition.headerLength + table.indexes.size() * layout.definition.statisticsLength +
         table.columns.size() * layout.column.size;
}

void PutLittle(Bytes& bytes, size_t at, uint64_t value, size_t width) {
  for (size_t i = 0; i < width; i++) bytes.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
}

TEST(Definition, Jet4FieldsAreReadFromTheirPlaces) {
  const auto decoded = Decode(Hex(kJet4Definition), kJet4Layout);
  const CAccessTable& table = decoded->table;
  EXPECT_TRUE(decoded->isSound);
  EXPECT_EQ(table.header.definitionLength, 249u);
  EXPECT_EQ(table.header.secondWord, 0x659u);
  EXPECT_EQ(table.header.rowCount, 7u);
  EXPECT_EQ(table.promisedRows, 7u);
  EXPECT_EQ(table.header.nextAutoNumber, 9u);
  EXPECT_EQ(table.header.tableType, 'N');
  EXPECT_EQ(table.header.highestColumnNumber, 2);
  EXPECT_EQ(table.header.variableColumnCount, 1);
  EXPECT_EQ(table.header.usedPagesMap, 0x2E500u);
  EXPECT_EQ(table.header.freePagesMap, 0x2E501u);
  ASSERT_EQ(table.columns.GetCount(), 2u);
  EXPECT_EQ(decoded->Name(0), u"name");
  EXPECT_EQ(table.columns.GetAt(0)->type, kTypeText);
  EXPECT_EQ(table.columns.GetAt(0)->length, 50) << "characters, not bytes";
  EXPECT_EQ(table.columns.GetAt(0)->extendedFlags, 1);
  EXPECT_EQ(table.columns.GetAt(0)->misc, 0x409u);
  EXPECT_EQ(decoded->Name(1), u"data");
  EXPECT_EQ(table.columns.GetAt(1)->number, 1);
  EXPECT_EQ(table.columns.GetAt(1)->variableIndex, 1);
  EXPECT_EQ(table.columns.GetAt(1)->flags, 0x43);
  EXPECT_EQ(table.columns.GetAt(1)->length, 16);
  ASSERT_EQ(table.indexes.GetCount(), 1u);
  const CAccessTableIndex& index = *table.indexes.GetAt(0);
  EXPECT_EQ(index.columnCount, 1u);
  EXPECT_EQ(index.columns[0].columnNumber, 1);
  EXPECT_TRUE(index.columns[0].isAscending);
  EXPECT_EQ(index.rootPage, 0x2E6u);
  EXPECT_EQ(index.primary, 1);
  EXPECT_EQ(index.name, u"Primary Key");
  EXPECT_EQ(index.unique, 0) << "the standard rules look for the flags at another place";
}

TEST(Definition, Jet3FieldsAreReadFromTheirPlaces) {
  const auto decoded = Decode(Hex(kJet3Definition), kJet3Layout, 0, WithReadableNames());
  const CAccessTable& table = decoded->table;
  EXPECT_TRUE(decoded->isSound);
  EXPECT_EQ(table.header.secondWord, 0u);
  EXPECT_EQ(table.header.rowCount, 7u);
  EXPECT_EQ(table.header.nextAutoNumber, 9u);
  EXPECT_EQ(table.header.usedPagesMap, 0x3700u);
  ASSERT_EQ(table.columns.GetCount(), 2u);
  EXPECT_EQ(decoded->Name(0), u"name");
  EXPECT_EQ(table.columns.GetAt(0)->length, 50) << "not halved";
  EXPECT_EQ(table.columns.GetAt(0)->codePage, 1252);
  EXPECT_EQ(decoded->Name(1), u"data");
  EXPECT_EQ(table.columns.GetAt(1)->number, 1);
  ASSERT_EQ(table.indexes.GetCount(), 1u);
  const CAccessTableIndex& index = *table.indexes.GetAt(0);
  EXPECT_EQ(index.columns[0].columnNumber, 1);
  EXPECT_EQ(index.rootPage, 56u);
  EXPECT_EQ(index.flagsByte, 9);
  EXPECT_EQ(index.unique, 1);
  EXPECT_EQ(index.required, 0) << "9 is not exactly 8";
  EXPECT_EQ(index.primary, 1);
}

// The raw bytes of a name fill half as many units; what the name before left behind them stays.
TEST(Definition, RawJet3NamesKeepTheTailOfTheOneBefore) {
  STableSpec table;
  for (const char16_t* name : {u"abcdef", u"xy", u"z", u"", u"no"}) table.AddFixed(name, kTypeLong, 4);
  const auto decoded = Decode(MakeDefinition(table, kJet3Layout), kJet3Layout);
  ASSERT_EQ(decoded->table.columns.GetCount(), 5u);
  EXPECT_EQ(decoded->Name(0), (std::u16string{0x6261, 0x6463, 0x6665}));
  EXPECT_EQ(decoded->Name(1), (std::u16string{0x7978, 0x6463}));
  EXPECT_EQ(decoded->Name(2), (std::u16string{0x797A}));
  EXPECT_EQ(decoded->Name(3), u"RecoveredField####0");
  EXPECT_EQ(decoded->Name(4), (std::u16string{0x6F6E, u'e'}));
  for (const size_t i : {0U, 1U, 2U, 3U, 4U})
    EXPECT_EQ(decoded->table.columns.GetAt(i)->storedNameBytes, (std::array{6, 2, 1, 0, 2}[i])) << i;
}

TEST(Definition, Jet4NamesThatCannotBeReadAreGenerated) {
  STableSpec table;
  table.AddFixed(u"", kTypeLong, 4).AddFixed(u"", kTypeLong, 4).AddFixed(u"C", kTypeLong, 4);
  Bytes bytes = MakeDefinition(table, kJet4Layout);
  PutLittle(bytes, NamesOf(table, kJet4Layout), 255, 2);
  PutLittle(bytes, NamesOf(table, kJet4Layout) + 2, 0xFFFF, 2);
  const auto decoded = Decode(bytes, kJet4Layout);
  EXPECT_EQ(decoded->Name(0), u"RecoveredField####0");
  EXPECT_EQ(decoded->Name(1), u"RecoveredField####1");
  EXPECT_EQ(decoded->Name(2), u"C");
  EXPECT_FALSE(decoded->isSound);
}

// A name of 254 bytes is the longest; one that ends with the buffer is not read.
TEST(Definition, Jet4NameBounds) {
  STableSpec table;
  table.AddFixed(std::u16string(127, u'n'), kTypeLong, 4);
  const Bytes bytes = MakeDefinition(table, kJet4Layout);
  const size_t end = NamesOf(table, kJet4Layout) + 2 + 254;
  EXPECT_EQ(Decode(bytes, kJet4Layout, end + 1)->Name(0), std::u16string(127, u'n'));
  EXPECT_EQ(Decode(bytes, kJet4Layout, end)->Name(0), u"RecoveredField####0");
}

class DefinitionOfBoth : public CBothFormats {};
INSTANTIATE_TEST_SUITE_P(Formats, DefinitionOfBoth, testing::Values(&kJet3Layout, &kJet4Layout), FormatName);

TEST_P(DefinitionOfBoth, CutEndsWithOneEmptyColumnAndNoIndex) {
  STableSpec table;
  table.AddFixed(u"A", kTypeLong, 4).AddFixed(u"B", kTypeDouble, 8).AddFixed(u"C", kTypeLong, 4);
  table.indexes.push_back({.columns = {{0}}});
  const Bytes bytes = MakeDefinition(table, layout);
  const size_t second = NamesOf(table, layout) - 2 * layout.column.size;

  // The start of the last field may lie at the very end of the buffer: its bytes are then missing, no more.
  const auto lax = Decode(bytes, layout, second + layout.column.length);
  ASSERT_EQ(lax->table.columns.GetCount(), 3u);
  EXPECT_EQ(lax->table.columns.GetAt(1)->type, kTypeDouble);
  EXPECT_EQ(lax->table.columns.GetAt(1)->length, 0);

  const auto cut = Decode(bytes, layout, second + layout.column.length - 1);
  ASSERT_EQ(cut->table.columns.GetCount(), 2u);
  EXPECT_EQ(cut->table.columns.GetAt(1)->type, kTypeNone);
  EXPECT_EQ(cut->Name(0), u"RecoveredField####0");
  EXPECT_EQ(cut->Name(1), u"RecoveredField####1");
  EXPECT_EQ(cut->table.indexes.GetCount(), 0u);
  EXPECT_FALSE(cut->isSound);
}

TEST_P(DefinitionOfBoth, HostileCountsCostNoMoreThanTheBuffer) {
  Bytes bytes = MakeDefinition(SmallTable(), layout);
  PutLittle(bytes, layout.definition.columnCount, 0xFFFF, 2);
  const auto manyColumns = Decode(bytes, layout);
  EXPECT_LE(manyColumns->table.columns.GetCount(), layout.pageSize / layout.column.size);
  PutLittle(bytes, layout.definition.realIndexCount, 0xFFFFFFFF, 4);
  const auto manyIndexes = Decode(bytes, layout);
  EXPECT_EQ(manyIndexes->table.columns.GetCount(), 1u) << "the descriptors lie beyond the buffer";
  EXPECT_EQ(manyIndexes->table.indexes.GetCount(), 0u);
  EXPECT_FALSE(manyIndexes->isSound);
}

TEST_P(DefinitionOfBoth, IndexColumnsEndAtTheFirstThatCannotBe) {
  STableSpec table;
  for (const char16_t* name : {u"A", u"B", u"C"}) table.AddFixed(name, kTypeLong, 4);
  table.indexes.push_back({.columns = {{2, 0}, {0}, {2}, {1}}});  // a column twice
  table.indexes.push_back({.columns = {{3}, {4}, {1}}});          // one beyond the number of columns
  table.indexes.push_back({.columns = {{1, 2}}, .isPrimary = true});
  const auto decoded = Decode(MakeDefinition(table, layout), layout);
  ASSERT_EQ(decoded->table.indexes.GetCount(), 3u);
  const CAccessTableIndex& first = *decoded->table.indexes.GetAt(0);
  ASSERT_EQ(first.columnCount, 2u);
  EXPECT_EQ(first.columns[0].columnNumber, 2);
  EXPECT_FALSE(first.columns[0].isAscending);
  EXPECT_TRUE(first.columns[1].isAscending);
  EXPECT_EQ(first.name, u"Index_0");
  EXPECT_EQ(decoded->table.indexes.GetAt(1)->columnCount, 1u) << "3 itself is not greater than 3";
  EXPECT_FALSE(decoded->table.indexes.GetAt(2)->columns[0].isAscending) << "only 1 is ascending";
  EXPECT_EQ(decoded->table.indexes.GetAt(2)->name, u"Primary Key");
  EXPECT_EQ(decoded->table.indexes.GetAt(1)->primary, 0);
}

TEST_P(DefinitionOfBoth, IndexFlagsCountOnlyAlone) {
  STableSpec table = SmallTable();
  table.indexes.resize(5);
  Bytes bytes = MakeDefinition(table, layout);
  const size_t flagsAt = layout.isJet3 ? 38 : 42;
  const size_t names = layout.isJet3 ? 2 + 2 + 4 : 4 + 4 + 8;  // of the lengths, "Id" and "Name"
  const std::vector<uint8_t> flags{0x01, 0x02, 0x08, 0x03, 0x0A};
  for (size_t i = 0; i < flags.size(); i++)
    bytes.at(NamesOf(table, layout) + names + i * layout.index.realSize + flagsAt) = flags[i];
  const auto decoded = Decode(bytes, layout);
  std::vector<int> seen;
  for (const CAccessTableIndex& index : decoded->table.indexes)
    seen.push_back(index.unique * 100 + index.ignoreNulls * 10 + index.required);
  EXPECT_EQ(seen, (std::vector<int>{100, 10, 1, 100, 0}));
}

TEST(Definition, Jet4ColumnNumbersKeepTheirLowByte) {
  STableSpec table = SmallTable();
  table.columns[1].number = 0x0105;
  EXPECT_EQ(Decode(MakeDefinition(table, kJet4Layout), kJet4Layout)->table.columns.GetAt(1)->number, 5);
  EXPECT_EQ(Decode(MakeDefinition(table, kJet3Layout), kJet3Layout)->table.columns.GetAt(1)->number, 0x0105);
}

TEST_P(DefinitionOfBoth, BuiltInCatalogueHasTheCataloguesColumns) {
  const auto decoded = Decode(MakeCatalogueImage(layout, kStandardRules), layout);
  CAccessTable& table = decoded->table;
  EXPECT_TRUE(decoded->isSound);
  EXPECT_EQ(table.header.tableType, 'S');
  EXPECT_EQ(table.header.highestColumnNumber, 17);
  EXPECT_EQ(table.header.variableColumnCount, 11);
  EXPECT_EQ(table.header.realIndexCount, 2u);
  EXPECT_EQ(decoded->Name(0), layout.isJet3 ? u"Id" : u"Connect");
  table.columns.SortByNumber();
  const std::vector<std::u16string> names{
      u"Id",          u"ParentId", u"Name",     u"Type",     u"DateCreate",  u"DateUpdate",
      u"Owner",       u"Flags",    u"Database", u"Connect",  u"ForeignName", u"RmtInfoShort",
      u"RmtInfoLong", u"Lv",       u"LvProp",   u"LvModule", u"LvExtra"};
  ASSERT_EQ(table.columns.GetCount(), names.size());
  for (size_t i = 0; i < names.size(); i++) EXPECT_EQ(decoded->Name(i), names[i]);
  const CAccessColumn& name = *table.columns.GetAt(2);
  EXPECT_EQ(name.type, kTypeText);
  EXPECT_EQ(name.length, 255);
  EXPECT_EQ(name.variableIndex, 0);
  const CAccessColumn& flags = *table.columns.GetAt(7);
  EXPECT_EQ(flags.fixedOffset, 26);
  EXPECT_EQ(flags.flags, 0x13);
  EXPECT_EQ(table.columns.GetAt(16)->variableIndex, 10);
}

// --- chains ---

STableSpec WideTable(size_t columns) {
  STableSpec table;
  for (size_t i = 0; i < columns; i++) table.AddFixed(u"Column" + ToDecimal(uint64_t{i}), kTypeLong, 4);
  return table;
}

class DefinitionChain : public CBothFormats {
 protected:
  // Decodes the tables at these pages of the file.
  void Parse(const CDatabaseBuilder& file, const std::vector<uint32_t>& pages) {
    const CTempFile source(file.Build());
    data = std::make_unique<CAccessData>();
    for (const uint32_t page : pages) data->GetTables().AddTable(file.OffsetOf(page));
    CDefinitionDecoder(layout, rules, 1252).ParseTableDefinitions(*data, source.GetPath());
  }
  uint64_t Broken() const { return data->GetLedger().GetCount(EDamage::BrokenDefinition); }
  const CAccessColumnList& Columns(size_t table = 0) const { return data->GetTables().GetAt(table)->columns; }

  SRecoveryRules rules = WithReadableNames();
  std::unique_ptr<CAccessData> data;
};
INSTANTIATE_TEST_SUITE_P(Formats, DefinitionChain, testing::Values(&kJet3Layout, &kJet4Layout), FormatName);

TEST_P(DefinitionChain, LongDefinitionsAreReadOverTheirPages) {
  CDatabaseBuilder file(layout);
  const uint32_t page = file.AddTable(WideTable(250));
  ASSERT_GT(file.GetPageCount(), page + 2) << "the definition must take more than two pages";
  Parse(file, {page});
  ASSERT_EQ(Columns().GetCount(), 250u);
  EXPECT_EQ(Columns().GetAt(249)->GetName(), u"Column249");
  EXPECT_EQ(Broken(), 0u);
}

TEST_P(DefinitionChain, LoopEndsAfterEachPageWasReadOnce) {
  CDatabaseBuilder file(layout);
  const uint32_t page = file.AddTable(WideTable(250));
  const uint32_t last = file.GetPageCount() - 1;
  file.Page(last).Put32(kNextPageOffset, page);
  Parse(file, {page});
  ASSERT_EQ(Columns().GetCount(), 250u);
  EXPECT_EQ(Columns().GetAt(249)->GetName(), u"Column249");
  EXPECT_EQ(Broken(), 1u);

  file.Page(page).Put32(kNextPageOffset, page);
  Parse(file, {page});
  EXPECT_LT(Columns().GetCount(), 250u);
  EXPECT_EQ(Broken(), 1u);
}

TEST_P(DefinitionChain, NextPageBeyondTheFileCutsTheDefinition) {
  CDatabaseBuilder file(layout);
  const uint32_t page = file.AddTable(WideTable(250));
  file.Page(page).Put32(kNextPageOffset, 0xFFFFFFFF);
  Parse(file, {page});
  const size_t fitting = Columns().GetCount() - 1;
  EXPECT_EQ(Columns().GetAt(fitting)->type, kTypeNone);
  EXPECT_EQ(Columns().GetAt(fitting - 1)->type, kTypeLong);
  EXPECT_EQ(Broken(), 1u);
}

TEST_P(DefinitionChain, CatalogueIsNeverReadFromTheFile) {
  CDatabaseBuilder file(layout);
  file.Page(kCataloguePage).Fill(0);
  rules = kStandardRules;
  Parse(file, {kCataloguePage});
  EXPECT_EQ(Columns().GetCount(), 17u);
  EXPECT_EQ(Broken(), 0u);
}

// Each of many tables leads into one long chain: reading it again and again would cost the square of the
// file.
TEST_P(DefinitionChain, SharedChainIsNotFollowedForEver) {
  CDatabaseBuilder file(layout);
  constexpr uint32_t kTables = 60;
  constexpr uint32_t kChain = 100;
  std::vector<uint32_t> tables;
  for (uint32_t i = 0; i < kTables; i++) tables.push_back(file.AddTable(WideTable(10)));
  const uint32_t first = file.GetPageCount();
  for (uint32_t i = 0; i < kChain; i++) {
    const uint32_t page = file.AddPage();
    if (i + 1 < kChain) file.Page(page).Put32(kNextPageOffset, page + 1);
  }
  for (const uint32_t table : tables) file.Page(table).Put32(kNextPageOffset, first);
  Parse(file, tables);
  EXPECT_EQ(Columns(kTables - 1).GetCount(), 10u);
  // 166 pages allow 332 links: three chains whole, the fourth cut in the middle, the others at once.
  EXPECT_EQ(Broken(), kTables - 3);
}

}  // namespace

}  // namespace tolvane
