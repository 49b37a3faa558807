// A table's definition as the file states it, with the pages that its maps name.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format/Definition.h"
#include "format/PageSet.h"

namespace tolvane {

struct SCheckedColumn : SColumnDefinition {
  std::string nameKey;  // names with equal keys are the same name; keys sort as the names do
  CPageSet ownedPages;  // long values

  // A calculated text may be a long value whatever its type says.
  [[nodiscard]] bool HoldsLongValues() const { return IsLongValueType(type) || (IsCalculated() && hasMaps); }
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

struct SCheckedLogicalIndex : SLogicalIndex {
  std::string nameKey;
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
