// One index of a table in the parsed-information file.
//
//   0          u32  1161, the item's length
//   4               name, 256 units
//   516        u8   primary-key flag
//   517        u32  n, the number of indexed columns, at most 128
//   521 + 5i   i32  number of column i
//   525 + 5i   u8   0 when column i is descending
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "writer/handoff/AccdbImage.h"

namespace tolvane {

struct CAccdbIndexedCol {
  int32_t columnNumber = 0;
  uint8_t isAscending = 0;
};

class CAccdbIndexInfo {
 public:
  static constexpr size_t kNameUnits = 256;
  static constexpr size_t kMaximumColumns = 128;
  static constexpr size_t kItemBytes = 1161;

  uint8_t isPrimary = 0;
  std::u16string name;
  std::vector<CAccdbIndexedCol> columns;

  // What does not fit the item, in words that follow the table's name; empty when all fits.
  [[nodiscard]] std::u16string FindProblem() const;
  void Encode(CAccdbImage item) const;
};
using CAccdbIndexInfoList = CAccdbItemList<CAccdbIndexInfo>;

}  // namespace tolvane
