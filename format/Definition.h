// The parts of a table definition as values, and the bytes of each. Names stand apart from what they name, as
// texts that are read with the definition.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format/Layout.h"

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
  STextOrder order;                      // texts; the others have it for no reason
  uint16_t codePage = kGeneralCodePage;  // Jet 3: of its texts
  uint8_t precision = 0, scale = 0;      // decimals
  uint32_t complexId = 0;                // complex columns: their number in MSysComplexColumns
  uint32_t ownedMap = 0;                 // long values: maps of the column's pages
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

// Blocks have the size that the layout says. What is decoded is what stands there: nothing is judged.
SColumnDefinition DecodeColumn(const SColumnLayout& at, std::span<const uint8_t> block);
SRealIndex DecodeRealIndex(const SRealIndexLayout& at, std::span<const uint8_t> block);
SLogicalIndex DecodeLogicalIndex(const SLogicalIndexLayout& at, std::span<const uint8_t> block);

// Into blocks of zeros.
void EncodeColumn(const SColumnLayout& at, const SColumnDefinition& column, std::span<uint8_t> block);
void EncodeRealIndex(const SRealIndexLayout& at, const SRealIndex& index, std::span<uint8_t> block);
void EncodeLogicalIndex(const SLogicalIndexLayout& at, const SLogicalIndex& index, std::span<uint8_t> block);

}  // namespace tolvane
