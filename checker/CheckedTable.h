// A table's definition as the file states it, with the pages that its maps name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "writer/embedded/EmbeddedLayout.h"
#include "writer/embedded/PageSet.h"

namespace tolvane {

struct SCheckedColumn {
  std::u16string name;
  std::string nameKey;  // names with equal keys are the same name; keys sort as the names do
  uint8_t type = 0;
  uint8_t flags = 0;
  uint8_t extendedFlags = 0;
  uint16_t number = 0;
  uint16_t variableIndex = 0;
  uint16_t displayNumber = 0;
  uint16_t fixedOffset = 0;
  uint16_t length = 0;
  uint16_t sortOrder = 0;
  uint8_t sortVersion = 0;
  uint16_t codePage = 0;       // Jet 3
  uint32_t complexNumber = 0;  // of a complex column
  bool hasMaps = false;
  uint32_t ownedMap = 0, freeMap = 0;
  CPageSet ownedPages;  // long values

  [[nodiscard]] bool IsFixed() const { return (flags & kColumnFixed) != 0; }
  [[nodiscard]] bool IsCalculated() const { return (extendedFlags & kColumnCalculated) == kColumnCalculated; }
  // A calculated text may be a long value whatever its type says.
  [[nodiscard]] bool HoldsLongValues() const { return IsLongValueType(type) || (IsCalculated() && hasMaps); }
  // Bytes in the fixed part; booleans live in the null mask alone.
  [[nodiscard]] size_t GetFixedSize() const { return IsFixed() && type != kTypeBoolean ? length : size_t{0}; }
};

struct SCheckedIndexPart {
  const SCheckedColumn* column = nullptr;
  bool ascending = true;
};

struct SCheckedRealIndex {
  std::vector<SCheckedIndexPart> parts;
  uint32_t map = 0, root = 0;
  uint8_t flags = 0;
  bool isProven = false;  // once it was checked: it breaks no rule

  [[nodiscard]] bool Has(uint8_t flag) const { return (flags & flag) != 0; }
};

struct SCheckedLogicalIndex {
  std::u16string name;
  std::string nameKey;
  uint32_t number = 0, realIndex = 0;
  uint8_t side = 0;
  uint32_t partnerIndex = 0, partnerTable = 0;
  uint8_t cascadeUpdates = 0, cascadeDeletes = 0, kind = 0;
};

struct SCheckedTable {
  uint32_t page = 0;
  uint8_t tableType = 0;
  uint32_t rowCount = 0;
  int32_t autoNumber = 0;
  uint16_t columnsEver = 0, variableEver = 0;
  uint32_t ownedMap = 0, freeMap = 0;
  std::vector<SCheckedColumn> columns;  // in stored order
  std::vector<uint16_t> positions;      // by column number: position in `columns` + 1; 0 = deleted
  std::vector<SCheckedRealIndex> realIndexes;
  std::vector<SCheckedLogicalIndex> logicalIndexes;
  CPageSet ownedPages, freePages;

  SCheckedTable() = default;
  SCheckedTable(const SCheckedTable&) = delete;  // index parts point into `columns`
  SCheckedTable& operator=(const SCheckedTable&) = delete;

  [[nodiscard]] const SCheckedColumn* FindColumn(uint16_t number) const {
    return number < positions.size() && positions[number] != 0 ? &columns[positions[number] - size_t{1}]
                                                               : nullptr;
  }
};

}  // namespace tolvane
