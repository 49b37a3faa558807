// Reads a parsed-information file as another program would: from its bytes alone, with the standard library
// alone. Of a table it finds what lies within the record's length and takes nothing else for granted.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tolvane::test {

struct SReadColumn {
  std::u16string name;
  uint32_t size = 0;
  uint32_t type = 0;
  uint32_t flags = 0;
  // Of a complex column: its name and four numbers.
  std::u16string complexName;
  std::vector<int32_t> complexNumbers;
};

struct SReadTable {
  std::u16string name;
  std::u16string dataFile;
  std::optional<uint32_t> rowCount;  // cut away in a small table's record
  uint32_t columnCount = 0;          // 0 when cut away
  std::vector<SReadColumn> columns;  // those that are whole within the record
};

struct SReadParsedInfo {
  bool isSound = false;  // the records end where the file does, and their lengths and counts agree
  std::u16string path;
  std::vector<SReadTable> tables;
};

SReadParsedInfo ReadParsedInfo(std::span<const uint8_t> file);

}  // namespace tolvane::test
