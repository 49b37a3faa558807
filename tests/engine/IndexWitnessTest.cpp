// What the indexes of a table say of rows whose pages are as sound as can be.
#include "tests/engine/EngineTest.h"

namespace tolvane {

namespace {

// Ten rows, each with its entry in an index of one column.
class IndexWitness : public CAllFormats {
 protected:
  static constexpr uint32_t kRows = 10;

  explicit IndexWitness(uint16_t column = 0, std::u16string_view name = u"Name") {
    spec.rowCount = kRows;
    spec.indexes = {{.columns = {{column}}, .isPrimary = column == 0, .name = u"Key"}};
    table = file.AddTable(spec);
    std::vector<SRowSpec> specs;
    for (uint32_t i = 0; i < kRows; i++) specs.push_back({SmallRow(layout, 100 + i, name)});
    rows = file.AddDataPage(table, specs);
    for (uint8_t i = 0; i < kRows; i++)
      entries.push_back(
          {0x7F, 0x80, 0, 0, static_cast<uint8_t>(100 + i), 0, 0, static_cast<uint8_t>(rows), i});
    file.AddCatalogueRow(table, u"People", 1);
  }

  std::unique_ptr<CAccessData> Repair() {
    const uint32_t leaf = file.AddIndexLeaf(table, entries);
    size_t index = layout.definition.headerSize + layout.definition.statisticsSize;
    for (const SColumnSpec& column : spec.columns)
      index += layout.column.size + layout.text.nameLengthSize + StoredText(column.name, layout).size();
    file.Page(table).Put32(index + layout.realIndex.root, leaf);
    return Recover(file.Build(), kExactRules);
  }
  // Where the first column of a row stands on the page.
  size_t ValueOf(uint32_t row) {
    return file.Page(rows).Get16(layout.data.slots + 2 * row) + size_t{layout.row.countSize};
  }

  STableSpec spec = SmallTable();
  CDatabaseBuilder file{layout};
  uint32_t table = 0, rows = 0;
  std::vector<Bytes> entries;
};
INSTANTIATE_TEST_SUITE_P(Formats, IndexWitness, testing::Values(&kLayoutJet3, &kLayoutJet4), FormatName);

TEST_P(IndexWitness, RowsThatItContradictsAreTold) {
  EXPECT_TRUE(Repair()->GetLedger().IsClean());
  file.Page(rows).Put8(ValueOf(4), 77);
  const auto one = Repair();
  ASSERT_EQ(one->GetLedger().GetCount(EDamage::TornPage), 1u);
  EXPECT_EQ(one->GetLedger().GetPlaces(EDamage::TornPage)[0].page, rows);
  EXPECT_EQ(one->GetLedger().GetPlaces(EDamage::TornPage)[0].row, 4);
  EXPECT_EQ(TableNamed(*one, u"People")->header.rowCount, kRows) << "which of the two is wrong nobody knows";
  file.Page(rows).Put8(ValueOf(7), 78);
  const auto two = Repair();
  ASSERT_EQ(two->GetLedger().GetCount(EDamage::TornPage), 1u);
  EXPECT_EQ(two->GetLedger().GetPlaces(EDamage::TornPage)[0].row, -1);
}

// Of letters whose weights may be others in the engine that wrote the file.
class TextWitness : public IndexWitness {
 protected:
  TextWitness() : IndexWitness(1, u"\u00C4rger") {
    const size_t columns = layout.definition.headerSize + layout.definition.statisticsSize;
    file.Page(table).Put16(columns + layout.column.size + layout.column.sortOrder, kGeneralSortOrder);
    for (Bytes& entry : entries) std::fill_n(entry.begin() + 1, 4, uint8_t{0x44});
  }
};
INSTANTIATE_TEST_SUITE_P(Formats, TextWitness, testing::Values(&kLayoutJet4), FormatName);

TEST_P(TextWitness, EqualValuesWithKeysThatDifferAreTold) {
  EXPECT_TRUE(Repair()->GetLedger().IsClean());
  entries.back()[4] = 0x45;
  const auto data = Repair();
  ASSERT_EQ(data->GetLedger().GetCount(EDamage::TornPage), 1u);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::TornPage)[0].row, int32_t{kRows} - 1);
}

// A count that is right by chance, or was as old as the page.
TEST_P(IndexWitness, RowsThatItAloneKnowsAreTold) {
  const auto freed = static_cast<uint32_t>(ValueOf(kRows - 2) - ValueOf(kRows - 1) + sizeof(uint16_t));
  file.Page(rows).Put16(layout.data.slotCount, kRows - 1);
  file.Page(rows).Put16(kFreeBytesOffset, file.Page(rows).Get16(kFreeBytesOffset) + freed);
  file.Page(table).Put32(layout.definition.rowCount, kRows - 1);
  const auto data = Repair();
  ASSERT_EQ(data->GetLedger().GetCount(EDamage::TornPage), 1u);
  EXPECT_EQ(data->GetLedger().GetPlaces(EDamage::TornPage)[0].page, rows);
}

TEST_P(IndexWitness, AnIndexThatIsNotTheTablesContradictsNothing) {
  for (Bytes& entry : entries) entry[4] = static_cast<uint8_t>(entry[4] - 50);
  entries.pop_back();
  EXPECT_TRUE(Repair()->GetLedger().IsClean());
}

}  // namespace

}  // namespace tolvane
