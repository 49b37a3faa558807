// The database record, first in the parsed-information file: 4092 bytes.
//
//   0          path, 1024 units
//   2048  u32  a number; nobody sets it
//   2052       reserved, 2040 zero bytes
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tolvane {

class CAccdbDBInfo {
 public:
  static constexpr size_t kPathUnits = 1024;
  static constexpr size_t kRecordBytes = 4092;

  std::u16string path;
  int32_t number = 0;

  [[nodiscard]] std::vector<uint8_t> Encode() const;
};

}  // namespace tolvane
