// One table in the parsed-information file. Lc and Li are the blob lengths of its columns and indexes,
// T = Lc + 1552 + Li. The image has 2T bytes:
//
//   0            u32  T
//   8                 table name, 256 units
//   1032              data file path, 512 units
//   3080         u32  row count
//   3088         u32  Lc
//   3096         Lc   the first Lc bytes of the image of the columns' blob
//   3096 + 2Lc   u32  Li
//   3104 + 2Lc   Li   the first Li bytes of the image of the indexes' blob
//
// What lies between is not written: zeros. Only the first T bytes of the image are the record in the file, so
// that a small table has neither row count nor columns there. The reader of the file counts on all of this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "writer/handoff/AccdbColInfo.h"
#include "writer/handoff/AccdbIndexInfo.h"

namespace tolvane {

class CAccdbTblInfo {
 public:
  static constexpr size_t kNameUnits = 256;
  static constexpr size_t kPathUnits = 512;

  uint32_t rowCount = 0;
  std::u16string dataFilePath;
  std::u16string name;
  CAccdbColInfoList columns;
  CAccdbIndexInfoList indexes;

  // What does not fit the record, in words that follow the table's name; empty when all fits.
  [[nodiscard]] std::u16string FindProblem() const;
  // T.
  [[nodiscard]] size_t GetRecordLength() const;
  // All 2T bytes.
  [[nodiscard]] std::vector<uint8_t> EncodeImage() const;
};
using CAccdbTblInfoList = std::vector<CAccdbTblInfo>;

}  // namespace tolvane
