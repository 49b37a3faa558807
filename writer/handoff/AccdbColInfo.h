// One column of a table in the parsed-information file.
//
//   0    u32  1062, the item's length
//   4    u32  length of the name, in units
//   8         name, 256 units
//   520  u32  column size
//   524  u32  type code
//   528  u8   column flag byte
//   529  u8   1 when a complex-column descriptor follows, else 0
//   530       descriptor, or zeros
//
// The descriptor of a complex column:
//
//   0    u32  length of the column name, in units
//   4         column name, 256 units
//   516  4 x i32  kind of values, flat table, table with the column, id
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "model/MSysComplexColumnsData.h"
#include "writer/handoff/AccdbImage.h"

namespace tolvane {

class CAccdbColInfo {
 public:
  static constexpr size_t kNameUnits = 256;
  static constexpr size_t kDescriptorBytes = 532;
  static constexpr size_t kItemBytes = 1062;

  std::u16string name;
  uint16_t size = 0;
  uint8_t type = 0;
  uint8_t flags = 0;
  std::optional<CMSysComplexColumnsData> complexData;  // present: the has-complex-data flag is 1

  // What does not fit the item, in words that follow the table's name; empty when all fits.
  [[nodiscard]] std::u16string FindProblem() const;
  void Encode(CAccdbImage item) const;
};
using CAccdbColInfoList = CAccdbItemList<CAccdbColInfo>;

}  // namespace tolvane
