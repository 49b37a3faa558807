// Definitions of which a part was overwritten: the table comes back as if nothing had happened, and the
// ledger says what was wrong.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "format/PropertyBlob.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

class MendedDefinition : public CAllFormats {
 protected:
  static constexpr uint32_t kRows = 3;
  static constexpr size_t kIndexes = 2;

  // A table "T" with two indexes, on one page or, with many columns, on two; its catalogue row bears its
  // properties.
  explicit MendedDefinition() {
    for (uint16_t i = 0; i < kIndexes; i++)
      small.indexes.push_back({.columns = {{i}}, .name = i == 0 ? u"A" : u"B"});
    small.rowCount = kRows;
    wide = small;
    for (uint64_t i = 0; i < 200; i++) wide.AddVariable(u"Column " + ToDecimal(i), kTypeText, 10);
  }

  void Make(const STableSpec& spec) {
    made = std::make_unique<CDatabaseBuilder>(layout);
    table = made->AddTable(spec);
    std::vector<std::optional<Bytes>> values(spec.columns.size());
    values[0] = Little(7, 4);
    values[1] = StoredText(u"Ann", layout);
    rows = made->AddDataPage(table, std::vector<SRowSpec>(kRows, {MakeRow(spec, layout, values)}));
    std::vector<SPropertyOwner> owners;
    for (const SColumnSpec& column : spec.columns) {
      const Bytes name = StoredText(column.name, layout);
      owners.push_back({kPropertiesOfColumn, std::string(name.begin(), name.end()), {}});
      if (column.type != kTypeText) continue;
      const Bytes property = StoredText(u"AllowZeroLength", layout);
      owners.back().properties.push_back(
          {std::string(property.begin(), property.end()), 0, kTypeBoolean, {0}});
    }
    if (arePropertiesTurned) std::ranges::reverse(owners);
    Bytes properties = EncodePropertyBlob(layout.isJet3, owners);
    Bytes head = Little(properties.size() | 0x80000000, 4);
    head.resize(12);
    properties.insert(properties.begin(), head.begin(), head.end());
    const STableSpec catalogue = CatalogueSpec(layout);
    std::vector<std::optional<Bytes>> row(catalogue.columns.size());
    row[0] = Little(table, 4);
    row[2] = StoredText(u"T", layout);
    row[3] = Little(1, 2);
    if (properties.size() < 150) row[14] = properties;
    made->AddDataPage(kObjectsPage, {{MakeRow(catalogue, layout, row)}});
  }

  // What comes back of the table, in words.
  std::string Describe() {
    data = Recover(made->Build(), kExactRules);
    const CAccessTable* const found = TableNamed(*data, u"T");
    if (found == nullptr) return "no table";
    std::string text = std::to_string(found->header.rowCount) + " rows";
    for (const CAccessColumn& column : found->columns) text += ", " + ToUtf8(column.GetName());
    for (const CAccessTableIndex& index : found->indexes) text += ", index " + ToUtf8(index.name);
    return text;
  }

  [[nodiscard]] size_t NamesAt() const {
    return layout.definition.headerSize + kIndexes * layout.definition.statisticsSize +
           small.columns.size() * layout.column.size;
  }

  STableSpec small = SmallTable(), wide;
  std::unique_ptr<CDatabaseBuilder> made;
  uint32_t table = 0, rows = 0;
  bool arePropertiesTurned = false;
  std::unique_ptr<CAccessData> data;
};
INSTANTIATE_TEST_SUITE_P(Formats, MendedDefinition, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

TEST_P(MendedDefinition, IsWhatItWas) {
  const SDefinitionLayout& at = layout.definition;
  const size_t names = NamesAt();
  const size_t nameBytes = layout.text.nameLengthSize + StoredText(u"Id", layout).size();
  const struct {
    const char* what;
    size_t offset;
    Bytes bytes;
  } kDamage[] = {
      {"head", 0, Hex("FFFF")},
      {"mark and counts", at.length, Bytes(at.headerSize - size_t{at.length}, 0xEE)},
      {"type", at.tableType, {0x11}},
      {"columns", at.columnCount, Hex("4000")},
      {"columns ever", at.columnsEver, Hex("01000000")},
      {"real indexes", at.realCount, Hex("05000000")},
      {"logical indexes", at.logicalCount, Hex("FFFFFFFF")},
      {"length", at.length, Hex("01000000")},
      {"next page", kDefinitionNext, Little(2, 4)},
      {"a column's number", names - layout.column.size + layout.column.number, Hex("0102")},
      {"a column's place", names - layout.column.size + layout.column.variableIndex, Hex("0102")},
      {"a name's length", names, Hex("F1")},
      {"all names", names, Bytes(2 * nameBytes + 2, 0x07)},
  };
  Make(small);
  const std::string sound = Describe();
  EXPECT_EQ(sound, "3 rows, Id, Name, index A, index B");
  EXPECT_TRUE(data->GetLedger().IsClean());
  for (const auto& [what, offset, bytes] : kDamage) {
    Make(small);
    made->Page(table).PutBytes(offset, bytes);
    EXPECT_EQ(Describe(), sound) << what;
    const auto& places = data->GetLedger().GetPlaces(EDamage::BrokenDefinition);
    // Nothing of the definition itself is wrong where the others suffice.
    const bool isWhole = offset == 0 || offset == at.tableType || offset == kDefinitionNext;
    ASSERT_EQ(places.size(), isWhole ? 0u : 1u) << what;
    EXPECT_TRUE(isWhole || places[0].reason != nullptr) << what;
  }
}

// The order in which properties were set is not always that of the columns.
TEST_P(MendedDefinition, TakesNamesByTheTypesThatPropertiesTell) {
  arePropertiesTurned = true;
  const size_t all = 2 * (layout.text.nameLengthSize + StoredText(u"Id", layout).size()) + 2;
  for (const size_t overwritten : {size_t{2}, all}) {
    Make(small);
    made->Page(table).PutBytes(NamesAt(), Bytes(overwritten, 0xF1));
    EXPECT_EQ(Describe(), "3 rows, Id, Name, index A, index B") << overwritten;
  }
}

// As many columns as were ever made, where one more of them was overwritten.
TEST_P(MendedDefinition, KeepsAColumnWhoseTypeIsLost) {
  Make(small);
  made->Page(table).PutBytes(layout.definition.columnCount, Hex("4000"));
  made->Page(table).Put8(NamesAt() - layout.column.size, 0x93);
  EXPECT_EQ(Describe(), "3 rows, Id, Name, index A, index B");
}

TEST_P(MendedDefinition, FindsThePageThatGoesOnWithIt) {
  Make(wide);
  const std::string sound = Describe();
  ASSERT_NE(sound.find(", Column 199, index A, index B"), std::string::npos);
  for (const uint32_t next : {0u, table, rows, 77u}) {
    Make(wide);
    made->Page(table).Put32(kDefinitionNext, next);
    EXPECT_EQ(Describe(), sound) << next;
    EXPECT_EQ(data->GetLedger().GetCount(EDamage::BrokenDefinition), 1u) << next;
  }
}

// A link that leads to another table costs neither of them.
TEST_P(MendedDefinition, IsNotTakenForTheEndOfAnother) {
  Make(small);
  const std::string sound = Describe();
  const uint32_t other = made->AddTable(small);
  made->AddDataPage(other, {{SmallRow(layout, 1, u"Bob")}});
  made->Page(other).Put32(kDefinitionNext, table);
  EXPECT_EQ(Describe(), sound);
}

// What only looks like a definition is none while no row belongs to it.
TEST_P(MendedDefinition, NeedsRowsWhereItsHeadIsLost) {
  Make(small);
  made->Page(table).Fill(0);
  const Bytes definition = MakeDefinition(small, layout);
  const uint32_t stray = made->AddPage();
  made->Page(stray).PutBytes(0, definition).Put32(0, 0);
  if (!layout.isJet3) made->Page(stray).Put32(layout.definition.magic, 0);
  EXPECT_EQ(Describe(), "no table");
  EXPECT_EQ(data->GetLedger().GetCount(EDamage::UnnamedTable), 0u);
}

}  // namespace

}  // namespace tolvane
