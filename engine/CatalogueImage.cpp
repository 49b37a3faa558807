#include "engine/CatalogueImage.h"

#include <algorithm>
#include <span>

#include "format/SystemTables.h"

namespace tolvane {

namespace {

// Columns without a place in the fixed area have offsets all the same, which mean nothing.
struct SLeftover {
  uint16_t column, fixedOffset;
};
constexpr SLeftover kLeftovers[] = {
    {kObjectsForeignName, 68}, {kObjectsLvModule, 65535}, {kObjectsLvExtra, 1028}};

}  // namespace

std::vector<uint8_t> MakeCatalogueImage(const SLayout& layout, const SRecoveryRules& rules) {
  constexpr STextOrder kNoOrder{.language = 0, .version = 0};
  STableDefinition catalogue = MakeSystemTable(layout, kNoOrder, kObjectsTable);
  for (SColumnDefinition& column : catalogue.columns) {
    column.codePage = 0;
    for (const SLeftover& leftover : kLeftovers)
      if (column.number == leftover.column) column.fixedOffset = leftover.fixedOffset;
  }
  SLayout asRead = layout;
  if (!layout.isJet3) asRead.realIndex.flags = static_cast<uint16_t>(rules.indexFlagsOffsetJet4);
  asRead.realIndex.alwaysSet = 0;
  // A decoder that takes the raw bytes of a Jet 3 name for UTF-16 needs them so, with the zero that ends the
  // name.
  const bool isRaw = layout.isJet3 && rules.rawJet3Names;
  std::vector<uint8_t> bytes = EncodeDefinition(asRead, catalogue, [&](std::u16string_view name) {
    std::vector<uint8_t> stored = EncodeAsciiName(isRaw ? kLayoutJet4 : layout, name);
    if (isRaw) stored.resize(stored.size() + 2);
    return stored;
  });
  bytes.resize(layout.pageSize);
  return bytes;
}

std::vector<uint8_t> MakeSystemImage(const SLayout& layout, uint32_t page) {
  // What is ACE's alone stands on pages of its own.
  const std::span<const SSystemTable> tables = GetSystemTables(layout.isJet3 ? layout : kLayoutAce);
  const auto table = std::ranges::find(tables, page, &SSystemTable::page);
  if (table == tables.end()) return {};
  std::vector<uint8_t> bytes =
      EncodeDefinition(layout,
                       MakeSystemTable(layout, STextOrder{.language = 0, .version = 0},
                                       static_cast<size_t>(table - tables.begin())),
                       [&](std::u16string_view name) { return EncodeAsciiName(layout, name); });
  bytes.resize(layout.pageSize);
  return bytes;
}

}  // namespace tolvane
