#include "format/Definition.h"

namespace tolvane {
namespace {

// clang-format off
// Four bytes behind the display number:
//   texts and most others   u16 language | 0 | u8 version of the sort order      (Jet 3: u16 code page)
//   decimals                u8 precision | u8 scale | 0 | 0
//   extended dates          09 | u8 digits of a second | 0 | 0
//   complex columns         u32 number
// clang-format on
constexpr size_t kScaleBehind = 1;
constexpr uint16_t kExtendedDateOrder = 0x0709;

void EncodeOrder(const SColumnLayout& at, const SColumnDefinition& column, std::span<uint8_t> block) {
  if (column.type == kTypeComplex) {
    PutLittle(block, at.sortOrder, column.complexId);
  } else if (column.type == kTypeDecimal) {
    block[at.sortOrder] = column.precision;
    block[at.sortOrder + kScaleBehind] = column.scale;
  } else if (column.type == kTypeExtendedDate) {
    PutLittle(block, at.sortOrder, kExtendedDateOrder);
  } else {
    PutLittle(block, at.sortOrder, column.order.language);
    PutLittle(block, at.sortVersion, column.order.version);
  }
}

void DecodeOrder(const SColumnLayout& at, std::span<const uint8_t> block, SColumnDefinition& column) {
  column.complexId = GetLittle<uint32_t>(block, at.sortOrder);
  column.precision = block[at.sortOrder];
  column.scale = block[at.sortOrder + kScaleBehind];
  column.order.language = GetLittle<uint16_t>(block, at.sortOrder);
  column.order.version = GetLittle<uint8_t>(block, at.sortVersion);
  column.codePage = GetLittle<uint16_t>(block, at.codePage);
}

}  // namespace

SColumnDefinition DecodeColumn(const SColumnLayout& at, std::span<const uint8_t> block) {
  SColumnDefinition column;
  column.type = block[at.type];
  column.number = GetLittle<uint16_t>(block, at.number);
  column.variableIndex = GetLittle<uint16_t>(block, at.variableIndex);
  column.displayNumber = GetLittle<uint16_t>(block, at.displayNumber);
  column.flags = GetLittle<uint8_t>(block, at.flags);
  column.extendedFlags = GetLittle<uint8_t>(block, at.extendedFlags);  // 0 where there are none
  column.fixedOffset = column.IsFixed() ? GetLittle<uint16_t>(block, at.fixedOffset) : uint16_t{0};
  column.length = GetLittle<uint16_t>(block, at.length);
  DecodeOrder(at, block, column);
  return column;
}

void EncodeColumn(const SColumnLayout& at, const SColumnDefinition& column, std::span<uint8_t> block) {
  block[at.type] = column.type;
  PutLittle(block, at.magic, kDefinitionMagic);
  PutLittle(block, at.number, column.number);
  PutLittle(block, at.variableIndex, column.variableIndex);
  PutLittle(block, at.displayNumber, column.displayNumber);
  EncodeOrder(at, column, block);
  PutLittle(block, at.codePage, column.codePage);
  PutLittle(block, at.flags, column.flags);
  PutLittle(block, at.extendedFlags, column.extendedFlags);
  PutLittle(block, at.fixedOffset, column.fixedOffset);
  PutLittle(block, at.length, column.length);
}

SRealIndex DecodeRealIndex(const SRealIndexLayout& at, std::span<const uint8_t> block) {
  SRealIndex index;
  for (size_t i = 0; i < kIndexSlots; i++) {
    const size_t slot = at.slots + kIndexSlotSize * i;
    const auto number = GetLittle<uint16_t>(block, slot);
    if (number == kNoColumn) break;
    index.columns.push_back({number, (block[slot + 2] & 1) != 0});
  }
  index.map = GetLittle<uint32_t>(block, at.map);
  index.root = GetLittle<uint32_t>(block, at.root);
  index.flags = static_cast<uint8_t>(block[at.flags] & ~at.alwaysSet);
  index.isOfComplexColumn = GetLittle<uint8_t>(block, at.complexMark) == kIndexOfComplexColumn;
  return index;
}

void EncodeRealIndex(const SRealIndexLayout& at, const SRealIndex& index, std::span<uint8_t> block) {
  PutLittle(block, at.magic, kRealIndexMagic);
  for (size_t i = 0; i < kIndexSlots; i++) {
    const size_t slot = at.slots + kIndexSlotSize * i;
    const bool isUsed = i < index.columns.size();
    PutLittle(block, slot, isUsed ? index.columns[i].number : kNoColumn);
    block[slot + 2] = isUsed && index.columns[i].ascending ? 1 : 0;
  }
  PutLittle(block, at.map, index.map);
  PutLittle(block, at.root, index.root);
  block[at.flags] = static_cast<uint8_t>(index.flags | at.alwaysSet);
  PutLittle(block, at.complexMark, index.isOfComplexColumn ? kIndexOfComplexColumn : uint8_t{0});
}

SLogicalIndex DecodeLogicalIndex(const SLogicalIndexLayout& at, std::span<const uint8_t> block) {
  SLogicalIndex index;
  index.number = GetLittle<uint32_t>(block, at.number);
  index.realIndex = GetLittle<uint32_t>(block, at.realIndex);
  index.side = block[at.side];
  index.partnerIndex = GetLittle<uint32_t>(block, at.partnerIndex);
  index.partnerTable = GetLittle<uint32_t>(block, at.partnerTable);
  index.cascadeUpdates = block[at.cascadeUpdates];
  index.cascadeDeletes = block[at.cascadeDeletes];
  index.kind = block[at.kind];
  return index;
}

void EncodeLogicalIndex(const SLogicalIndexLayout& at, const SLogicalIndex& index, std::span<uint8_t> block) {
  PutLittle(block, at.magic, kDefinitionMagic);
  PutLittle(block, at.number, index.number);
  PutLittle(block, at.realIndex, index.realIndex);
  block[at.side] = index.side;
  PutLittle(block, at.partnerIndex, index.partnerIndex);
  PutLittle(block, at.partnerTable, index.partnerTable);
  block[at.cascadeUpdates] = index.cascadeUpdates;
  block[at.cascadeDeletes] = index.cascadeDeletes;
  block[at.kind] = index.kind;
}

}  // namespace tolvane
