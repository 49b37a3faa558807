// A table's definition in memory, and its block of bytes on the definition pages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "embedded/PageFile.h"

namespace tolvane {

// How texts sort: language 0x0409 in version 0 is "General Legacy", in version 1 "General".
struct STextOrder {
  uint16_t language = kGeneralSortOrder;
  uint8_t version = 0;
  bool operator==(const STextOrder&) const = default;
};

struct SColumnDefinition {
  std::u16string name;
  uint8_t type = 0;
  uint8_t flags = 0;
  uint8_t extendedFlags = 0;
  uint16_t number = 0;         // position in the null mask
  uint16_t displayNumber = 0;  // position for users
  uint16_t variableIndex = 0;  // fixed columns: variable columns with a lower number
  uint16_t fixedOffset = 0;    // fixed columns: offset in the fixed part
  uint16_t length = 0;         // bytes; text: the most that fit; long values: 0
  // Four bytes that have a meaning of their own in some types.
  STextOrder order;                  // texts; the others have it for no reason
  uint8_t precision = 0, scale = 0;  // decimals
  uint32_t complexId = 0;            // complex columns: their number in MSysComplexColumns
  uint32_t ownedMap = 0;             // long values: maps of the column's pages
  uint32_t freeMap = 0;

  [[nodiscard]] bool IsFixed() const { return (flags & kColumnFixed) != 0; }
  [[nodiscard]] bool IsCalculated() const { return (extendedFlags & kColumnCalculated) == kColumnCalculated; }
  [[nodiscard]] bool HasTexts() const { return type == kTypeText || type == kTypeMemo; }
  // A calculated memo is a text without a length.
  [[nodiscard]] bool HoldsLongValues() const {
    return IsLongValueType(type) || (IsCalculated() && type == kTypeText && length == 0);
  }
  // Bytes in the fixed part; booleans live in the null mask alone.
  [[nodiscard]] uint16_t GetFixedSize() const {
    return IsFixed() && type != kTypeBoolean ? length : uint16_t{0};
  }
};

struct SIndexColumn {
  uint16_t number = 0;
  bool ascending = true;
};

struct SRealIndex {
  std::vector<SIndexColumn> columns;
  uint8_t flags = 0;
  bool isOfComplexColumn = false;  // made with it, not by anybody
  uint32_t map = 0;
  uint32_t root = 0;
  uint32_t distinctKeys = 0;
};

struct SLogicalIndex {
  std::u16string name;
  uint32_t number = 0;
  uint32_t realIndex = 0;
  uint8_t side = 0;  // of a relationship
  uint32_t partnerIndex = 0xFFFFFFFF;
  uint32_t partnerTable = 0;
  uint8_t cascadeUpdates = 4;
  uint8_t cascadeDeletes = 4;
  uint8_t kind = 0;
};

struct STableDefinition {
  uint8_t tableType = kUserTable;
  uint32_t rowCount = 0;
  uint32_t autoNumber = 0;     // the last one given
  uint32_t complexNumber = 0;  // likewise for all complex columns together
  uint16_t columnsEver = 0;
  uint16_t variableEver = 0;
  uint32_t ownedMap = 0;
  uint32_t freeMap = 0;
  std::vector<SColumnDefinition> columns;  // in stored order; of users' tables by display number = number
  std::vector<SRealIndex> realIndexes;
  std::vector<SLogicalIndex> logicalIndexes;  // by name

  // Numbers the columns in their present order and places them in the row; flags, types and lengths are
  // given.
  void LayOutColumns();
  [[nodiscard]] size_t GetFixedPartSize() const;
  [[nodiscard]] const SColumnDefinition* FindColumn(uint16_t number) const;
};

// One descriptor; its name stands elsewhere.
SColumnDefinition DecodeColumn(const SColumnLayout& at, std::span<const uint8_t> block);
SLogicalIndex DecodeLogicalIndex(const SLogicalIndexLayout& at, std::span<const uint8_t> block);

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition);
// False when the block is not a sound definition.
bool DecodeDefinition(const SLayout& layout, std::span<const uint8_t> block, STableDefinition& definition);

// Pages that a block of this size takes.
size_t CountDefinitionPages(const SLayout& layout, size_t blockSize);
// Writes the block to `pages`; the first one is the definition's own number. Missing pages are allocated.
CDaoResult StoreDefinition(CPageFile& file, const STableDefinition& definition, std::vector<uint32_t>& pages);
CDaoResult LoadDefinition(CPageFile& file, uint32_t firstPage, STableDefinition& definition,
                          std::vector<uint32_t>& pages);

}  // namespace tolvane
