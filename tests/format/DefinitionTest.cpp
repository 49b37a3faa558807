// A definition of each format byte by byte: read, written, and told every lie.
#include "format/Definition.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

// A text, a GUID and a memo; a primary key on the GUID.
const std::string kJet3 =
    "02015643 00000000 CA000000 07000000 09000000 4E 0300 0200 0300 01000000 01000000 00370000 "
    "0137000000000000 050000000A 0000 0000 0000 0000 0904 E404 02 0000 32000F 0100 0100 0100 0000 0904 E404 "
    "43 0000 10000C 0200 0100 0200 0000 0904 E404 02 0000 000004 6E616D65 04 64617461 04 6D656D6F0100 01 "
    "FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 02370000 38000000 0900000000 00000000 00 "
    "FFFFFFFF 00000000 04 04 010A 5072696D6172794B65790200 03370000 04370000 FFFF";
const std::string kJet4 =
    "02010000 00000000 26010000 59060000 07000000 09000000 01000000 00000000 00000000000000004E 0300 0200 "
    "0300 01000000 01000000 00E50200 01E5020000000000 05000000 000000000A 59060000 0000 0000 0000 0904 0000 "
    "02 01 00000000 0000 64000F 59060000 0100 0100 0100 0904 0000 43 00 00000000 0000 10000C 59060000 0200 "
    "0100 0200 0904 0001 02 01 00000000 0000 00000800 6E0061006D006500 0800 6400610074006100 0800 "
    "6D0065006D006F0083070000 010001 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF0002E50200 "
    "E6020000 00000000 89 00 0000000059060000 00000000 00000000 00 FFFFFFFF 00000000 04 04 01 000000001400 "
    "5000720069006D006100720079004B00650079000200 03E50200 04E50200 FFFF";

struct SRead {
  STableDefinition definition;
  std::vector<SDefinitionFault> faults;
  bool isWhole = false;

  [[nodiscard]] std::vector<EDefinitionFault> Kinds() const {
    std::vector<EDefinitionFault> kinds;
    for (const SDefinitionFault& fault : faults) kinds.push_back(fault.kind);
    return kinds;
  }
};

class DefinitionBytes : public testing::TestWithParam<const SLayout*> {
 protected:
  [[nodiscard]] SRead Read(std::span<const uint8_t> block) const {
    SRead read;
    read.isWhole = DecodeDefinition(
        layout, block,
        [this](std::span<const uint8_t> name) {
          return layout.isJet3 ? std::u16string(name.begin(), name.end()) : UnitsOf(name);
        },
        [&](const SDefinitionFault& fault) { read.faults.push_back(fault); }, read.definition);
    return read;
  }

  const SLayout& layout = *GetParam();
  const std::vector<uint8_t> bytes = FromHex(layout.isJet3 ? kJet3 : kJet4);
};
INSTANTIATE_TEST_SUITE_P(Formats, DefinitionBytes, testing::Values(&kLayoutJet3, &kLayoutJet4),
                         [](const auto& test) { return test.param->isJet3 ? "Jet3" : "Jet4"; });

TEST_P(DefinitionBytes, AreReadAndWritten) {
  const SRead read = Read(bytes);
  EXPECT_TRUE(read.isWhole && read.faults.empty());
  const STableDefinition& table = read.definition;
  ASSERT_EQ(table.columns.size(), 3u);
  EXPECT_EQ(table.rowCount, 7u);
  EXPECT_EQ(table.columnsEver, 3);
  EXPECT_EQ(table.columns[0].name, u"name");
  EXPECT_EQ(table.columns[0].length, layout.isJet3 ? 50 : 100);
  EXPECT_EQ(table.columns[1].type, kTypeGuid);
  EXPECT_TRUE(table.columns[1].IsFixed());
  EXPECT_TRUE(table.columns[2].hasMaps);
  EXPECT_EQ(table.columns[2].order.version, layout.isJet3 ? 0 : 1);
  EXPECT_EQ(RowOfPointer(table.columns[2].freeMap), 4u);
  ASSERT_EQ(table.realIndexes.size(), 1u);
  EXPECT_EQ(table.realIndexes[0].flags, kIndexUnique | kIndexRequired);
  EXPECT_EQ(table.realIndexes[0].distinctKeys, 5u);
  ASSERT_EQ(table.realIndexes[0].columns.size(), 1u);
  EXPECT_EQ(table.logicalIndexes.at(0).name, u"PrimaryKey");
  const auto written = EncodeDefinition(
      layout, table, [&](std::u16string_view name) { return EncodeAsciiName(layout, name); });
  EXPECT_EQ(ToHex(written), ToHex(bytes));
}

// A block that is cut anywhere reads what is there, and says so.
TEST_P(DefinitionBytes, CutIsTold) {
  for (size_t size = 0; size < bytes.size(); size++) {
    const SRead read = Read(std::span(bytes).first(size));
    EXPECT_FALSE(read.isWhole);
    EXPECT_EQ(read.Kinds(), std::vector{EDefinitionFault::Cut}) << size;
    EXPECT_LE(read.definition.columns.size(), 3u);
  }
}

TEST_P(DefinitionBytes, EveryOtherLieIsTold) {
  const auto lie = [&](size_t at, uint16_t value) {
    std::vector<uint8_t> changed = bytes;
    PutLittle(std::span(changed), at, value);
    return Read(changed).Kinds();
  };
  EXPECT_EQ(lie(layout.definition.length, 5), std::vector{EDefinitionFault::Length});
  const size_t maps = bytes.size() - kLongValueMapSize - 2;
  EXPECT_EQ(lie(maps, 9), std::vector{EDefinitionFault::MapsOfNoColumn});
  std::vector<uint8_t> twice = bytes;
  twice.insert(twice.end() - 2, bytes.begin() + static_cast<ptrdiff_t>(maps), bytes.end() - 2);
  EXPECT_EQ(Read(twice).Kinds(), (std::vector{EDefinitionFault::MapsTwice, EDefinitionFault::Length}));
  if (layout.isJet3) return;
  const size_t columns = layout.definition.headerSize + layout.definition.statisticsSize;
  EXPECT_EQ(lie(layout.definition.magic, 5), std::vector{EDefinitionFault::Magic});
  EXPECT_EQ(lie(columns + layout.column.magic, 5), std::vector{EDefinitionFault::Magic});
}

}  // namespace
}  // namespace tolvane
