#include <sstream>
#include <vector>

#include "engine/DefinitionDecoder.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

// A table of a text and a GUID column with a primary key, as the two engines wrote it.
const std::string kJet3Definition =
    "02015643 00000000 a9000000 07000000 09000000 4e 0200 0100 0200 01000000 01000000 00370000 "
    "0137000000000000 000000000a 0000 0000 0000 0100 0904 e404 02 0000 32000f 0100 0100 0100 0100 0904 e404 "
    "43 0000 100004 6e616d65 04 646174610100 01 ffff29 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 "
    "ffff00 02370000 38000000 0900000000 00000000 00 ffffffff 00000000 04 04 010a 5072696d6172794b6579 ffff";
const std::string kJet4Definition =
    "0201ff0e 00000000 f9000000 59060000 07000000 09000000 01000000 00000000 00000000000000004e 0200 0100 "
    "0200 01000000 01000000 00e50200 01e5020000000000 00000000 000000000a 59060000 0000 0000 0100 0904 00 00 "
    "02 01 00000000 0000 64000f 59060000 0100 0100 0200 0904 00 00 43 00 00000000 0000 10000800 "
    "6e0061006d006500 0800 640061007400610083070000 010001 ffff29 ffff00 ffff00 ffff00 ffff00 ffff00 ffff00 "
    "ffff00 ffff0002e50200 e6020000 00000000 89 00 0000000059060000 00000000 00000000 00 ffffffff 00000000 "
    "04 04 01 000000001400 5000720069006d006100720079004b0065007900 ffff";

struct SDecoded {
  CAccessTable table{0, GetWorkFolder()};
  bool isSound = false;

  // The names of the columns, with a blank behind each.
  std::string Names() const {
    std::string names;
    for (const CAccessColumn& column : table.columns) names += ToUtf8(column.GetName()) + " ";
    return names;
  }
};

SRecoveryRules WithReadableNames() {
  SRecoveryRules rules = kStandardRules;
  rules.rawJet3Names = false;
  return rules;
}

// `length` cuts the buffer; by default it is one page, as a short definition has.
std::unique_ptr<SDecoded> Decode(Bytes bytes, const SLayout& layout, size_t length = 0,
                                 const SRecoveryRules& rules = WithReadableNames()) {
  bytes.resize(length != 0 ? length : std::max<size_t>(bytes.size(), layout.pageSize));
  auto decoded = std::make_unique<SDecoded>();
  decoded->isSound = CDefinitionDecoder(layout, rules, 1252).Decode(bytes, decoded->table);
  return decoded;
}

// All that is read of a definition, numbers in hex.
std::string Describe(const SDecoded& decoded) {
  std::ostringstream out;
  const SAccessTableHeader& header = decoded.table.header;
  out << std::hex << (decoded.isSound ? "sound, " : "broken, ") << header.definitionLength << " bytes, word "
      << header.secondWord << ", " << header.rowCount << " rows of " << decoded.table.promisedRows
      << ", next " << header.nextAutoNumber << ", type " << int{header.tableType} << ", "
      << header.highestColumnNumber << " ever, " << header.variableColumnCount << " variable, maps "
      << header.usedPagesMap << " " << header.freePagesMap;
  for (const CAccessColumn& column : decoded.table.columns)
    out << "\n"
        << column.number << " " << ToUtf8(column.GetName()) << ": type " << int{column.type} << " at "
        << column.variableIndex << "/" << column.fixedOffset << ", length " << column.length << ", flags "
        << int{column.flags} << " " << int{column.extendedFlags} << ", misc " << column.misc << ", code page "
        << column.codePage;
  for (const CAccessTableIndex& index : decoded.table.indexes) {
    out << "\n" << ToUtf8(index.name) << ":";
    for (size_t i = 0; i < index.columnCount; i++)
      out << " " << index.columns[i].columnNumber << (index.columns[i].isAscending ? "+" : "-");
    out << ", root " << index.rootPage << ", primary " << int{index.primary} << ", unique "
        << int{index.unique} << ", no nulls " << int{index.ignoreNulls} << ", required "
        << int{index.required};
  }
  return out.str();
}

// Where the names start.
size_t NamesOf(const STableSpec& table, const SLayout& layout) {
  return layout.definition.headerSize + table.indexes.size() * layout.definition.statisticsSize +
         table.columns.size() * layout.column.size;
}

// The length of a Jet 4 text counts characters once it is read. The standard rules look for the flags of a
// Jet 4 index at another place; those of the Jet 3 index hold 9, which is not exactly 8.
TEST(Definition, FieldsAreReadFromTheirPlaces) {
  EXPECT_EQ(Describe(*Decode(Hex(kJet4Definition), kLayoutJet4)),
            "sound, f9 bytes, word 659, 7 rows of 7, next 9, type 4e, 2 ever, 1 variable, maps 2e500 2e501\n"
            "0 name: type a at 0/0, length 32, flags 2 1, misc 409, code page 0\n"
            "1 data: type f at 1/0, length 10, flags 43 0, misc 409, code page 0\n"
            "Primary Key: 1+, root 2e6, primary 1, unique 0, no nulls 0, required 0");
  EXPECT_EQ(Describe(*Decode(Hex(kJet3Definition), kLayoutJet3)),
            "sound, a9 bytes, word 0, 7 rows of 7, next 9, type 4e, 2 ever, 1 variable, maps 3700 3701\n"
            "0 name: type a at 0/0, length 32, flags 2 0, misc 10000, code page 4e4\n"
            "1 data: type f at 1/0, length 10, flags 43 0, misc 10001, code page 0\n"
            "Primary Key: 1+, root 38, primary 1, unique 1, no nulls 0, required 0");
}

// The raw bytes of a name fill half as many units; what the name before left behind them stays.
TEST(Definition, RawJet3NamesKeepTheTailOfTheOneBefore) {
  STableSpec table;
  for (const char16_t* name : {u"abcdef", u"xy", u"z", u"", u"no"}) table.AddFixed(name, kTypeLong, 4);
  const auto decoded = Decode(MakeDefinition(table, kLayoutJet3), kLayoutJet3, 0, kStandardRules);
  EXPECT_EQ(decoded->Names(), ToUtf8(u"\u6261\u6463\u6665 \u7978\u6463 \u797A RecoveredField####0 \u6F6Ee "));
  std::vector<int> ownBytes;
  for (const CAccessColumn& column : decoded->table.columns) ownBytes.push_back(column.storedNameBytes);
  EXPECT_EQ(ownBytes, (std::vector<int>{6, 2, 1, 0, 2}));
}

TEST(Definition, Jet4NamesThatCannotBeReadAreGenerated) {
  STableSpec table;
  table.AddFixed(u"", kTypeLong, 4).AddFixed(u"", kTypeLong, 4).AddFixed(u"C", kTypeLong, 4);
  CPageBytes bytes(kLayoutJet4.pageSize);
  bytes.PutBytes(0, MakeDefinition(table, kLayoutJet4));
  bytes.Put16(NamesOf(table, kLayoutJet4), 255).Put16(NamesOf(table, kLayoutJet4) + 2, 0xFFFF);
  const auto decoded = Decode(bytes.GetBytes(), kLayoutJet4);
  EXPECT_EQ(decoded->Names(), "RecoveredField####0 RecoveredField####1 C ");
  EXPECT_FALSE(decoded->isSound);

  // A name of 254 bytes is the longest; one that ends with the buffer is not read.
  STableSpec longest;
  longest.AddFixed(std::u16string(127, u'n'), kTypeLong, 4);
  const size_t end = NamesOf(longest, kLayoutJet4) + 2 + 254;
  const Bytes definition = MakeDefinition(longest, kLayoutJet4);
  EXPECT_EQ(Decode(definition, kLayoutJet4, end + 1)->Names(), std::string(127, 'n') + " ");
  EXPECT_EQ(Decode(definition, kLayoutJet4, end)->Names(), "RecoveredField####0 ");
}

TEST(Definition, Jet4ColumnNumbersKeepTheirLowByte) {
  STableSpec table = SmallTable();
  table.columns[1].number = 0x0105;
  EXPECT_EQ(Decode(MakeDefinition(table, kLayoutJet4), kLayoutJet4)->table.columns.GetAt(1)->number, 5);
  EXPECT_EQ(Decode(MakeDefinition(table, kLayoutJet3), kLayoutJet3)->table.columns.GetAt(1)->number, 0x0105);
}

class DefinitionOfBoth : public CAllFormats {};
INSTANTIATE_TEST_SUITE_P(Formats, DefinitionOfBoth, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

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
  EXPECT_EQ(cut->Names(), "RecoveredField####0 RecoveredField####1 ");
  EXPECT_EQ(cut->table.columns.GetAt(1)->type, kTypeNone);
  EXPECT_EQ(cut->table.indexes.GetCount(), 0u);
  EXPECT_FALSE(cut->isSound);
}

TEST_P(DefinitionOfBoth, HostileCountsCostNoMoreThanTheBuffer) {
  CPageBytes bytes(layout.pageSize);
  bytes.PutBytes(0, MakeDefinition(SmallTable(), layout)).Put16(layout.definition.columnCount, 0xFFFF);
  const auto manyColumns = Decode(bytes.GetBytes(), layout);
  EXPECT_LE(manyColumns->table.columns.GetCount(), layout.pageSize / layout.column.size);
  bytes.Put32(layout.definition.realCount, 0xFFFFFFFF);
  const auto manyIndexes = Decode(bytes.GetBytes(), layout);
  EXPECT_EQ(manyIndexes->table.columns.GetCount(), 1u) << "the descriptors lie beyond the buffer";
  EXPECT_EQ(manyIndexes->table.indexes.GetCount(), 0u);
  EXPECT_FALSE(manyIndexes->isSound);
}

// A column number may be the number of columns. Only order 1 is ascending, and flags count only alone.
TEST_P(DefinitionOfBoth, IndexColumnsEndAtTheFirstThatCannotBe) {
  STableSpec table;
  for (const char16_t* name : {u"A", u"B", u"C"}) table.AddFixed(name, kTypeLong, 4);
  table.indexes.push_back({.columns = {{2, 0}, {0}, {2}, {1}}});  // a column twice
  table.indexes.push_back({.columns = {{3}, {4}, {1}}});          // one beyond the number of columns
  table.indexes.push_back({.columns = {{1, 2}}, .isPrimary = true});
  table.indexes.resize(5);
  CPageBytes bytes(layout.pageSize);
  bytes.PutBytes(0, MakeDefinition(table, layout));
  const size_t flagsOfFirst = NamesOf(table, layout) + (layout.isJet3 ? 3 * 2 + 38 : 3 * 4 + 42);
  const std::vector<uint8_t> flags{0x01, 0x02, 0x08, 0x03, 0x0A};
  for (size_t i = 0; i < flags.size(); i++) bytes.Put8(flagsOfFirst + i * layout.realIndex.size, flags[i]);
  const std::string description = Describe(*Decode(bytes.GetBytes(), layout));
  EXPECT_EQ(description.substr(description.find("\nIndex_0")),
            "\nIndex_0: 2- 0+, root 0, primary 0, unique 1, no nulls 0, required 0\nIndex_1: 3+, root 0, "
            "primary 0, unique 0, no nulls 1, required 0\nPrimary Key: 1-, root 0, primary 1, unique 0, no "
            "nulls 0, required 1\nIndex_3:, root 0, primary 0, unique 1, no nulls 0, required 0\nIndex_4:, "
            "root 0, primary 0, unique 0, no nulls 0, required 0");
}

STableSpec WideTable(size_t columns) {
  STableSpec table;
  for (size_t i = 0; i < columns; i++) table.AddFixed(u"Column" + ToDecimal(uint64_t{i}), kTypeLong, 4);
  return table;
}

class DefinitionChain : public CAllFormats {
 protected:
  // Decodes the tables at these pages of the file and answers how many are broken.
  uint64_t Parse(const std::vector<uint32_t>& pages) {
    COpenedFile source(file.Build(), layout);
    data = std::make_unique<CAccessData>(rules, GetWorkFolder());
    for (const uint32_t page : pages) data->GetTables().AddTable(file.OffsetOf(page));
    CDefinitionDecoder(layout, rules, 1252).ParseTableDefinitions(*data, source, ShownJob());
    return data->GetLedger().GetCount(EDamage::BrokenDefinition);
  }
  const CAccessColumnList& Columns(size_t table = 0) const { return data->GetTables().GetAt(table)->columns; }

  SRecoveryRules rules = WithReadableNames();
  CDatabaseBuilder file{layout};
  std::unique_ptr<CAccessData> data;
};
INSTANTIATE_TEST_SUITE_P(Formats, DefinitionChain, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

TEST_P(DefinitionChain, LongDefinitionsAreReadUntilALinkLies) {
  const uint32_t page = file.AddTable(WideTable(250));
  const uint32_t last = file.GetPageCount() - 1;
  ASSERT_GT(last, page + 1) << "the definition must take more than two pages";
  EXPECT_EQ(Parse({page}), 0u);
  ASSERT_EQ(Columns().GetCount(), 250u);
  EXPECT_EQ(Columns().GetAt(249)->GetName(), u"Column249");

  file.Page(last).Put32(kDefinitionNext, page);
  EXPECT_EQ(Parse({page}), 1u) << "a loop";
  ASSERT_EQ(Columns().GetCount(), 250u);
  EXPECT_EQ(Columns().GetAt(249)->GetName(), u"Column249");

  for (const uint32_t lie : {page, 0xFFFFFFFFu}) {
    file.Page(page).Put32(kDefinitionNext, lie);
    EXPECT_EQ(Parse({page}), 1u) << lie;
    ASSERT_LT(Columns().GetCount(), 250u);
    EXPECT_EQ(Columns().GetAt(Columns().GetCount() - 1)->type, kTypeNone);
    EXPECT_EQ(Columns().GetAt(Columns().GetCount() - 2)->type, kTypeLong);
  }
}

// Each of many tables leads into one long chain: reading it again and again would cost the square of the
// file.
TEST_P(DefinitionChain, SharedChainIsNotFollowedForEver) {
  constexpr uint32_t kTables = 60;
  constexpr uint32_t kChain = 100;
  std::vector<uint32_t> tables;
  for (uint32_t i = 0; i < kTables; i++) tables.push_back(file.AddTable(WideTable(10)));
  const uint32_t first = file.GetPageCount();
  for (uint32_t i = 0; i < kChain; i++) {
    const uint32_t page = file.AddPage();
    if (i + 1 < kChain) file.Page(page).Put32(kDefinitionNext, page + 1);
  }
  for (const uint32_t table : tables) file.Page(table).Put32(kDefinitionNext, first);
  // 166 pages allow 332 links: three chains whole, the fourth cut in the middle, the others at once.
  EXPECT_EQ(Parse(tables), kTables - 3);
  EXPECT_EQ(Columns(kTables - 1).GetCount(), 10u);
}

}  // namespace

}  // namespace tolvane
