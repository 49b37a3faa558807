// Tables as the file holds them, read by the checker's walkers. That these know where things are is proved by
// the checker's own tests and by the bytes that are written out in the tests here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "checker/CheckedTable.h"

namespace tolvane::test {

using Value = std::optional<std::string>;  // bytes; a boolean is "\0" or "\1"

struct SStoredTable {
  uint32_t page = 0;
  int32_t autoNumber = 0;
  std::vector<SCheckedColumn> columns;  // as stored
  std::vector<uint8_t> indexFlags;      // of the real indexes
  CPageSet pages;                       // that hold rows

  // Of each row: its pointer, what it holds itself, and its values with the long ones put together.
  std::vector<uint32_t> pointers;
  std::vector<std::vector<Value>> stored;
  std::vector<std::vector<Value>> rows;
};

// By name, as the catalogue spells it; system tables too.
SStoredTable ReadStoredTable(const std::u16string& path, std::u16string_view name);
// What the map row that `pointer` names says of the pages of the file.
std::vector<uint32_t> ReadStoredMap(const std::u16string& path, uint32_t pointer);

// Of Jet 4, plain or compressed; of Jet 3, Latin-1.
std::u16string TextOf(const Value& value, bool isJet3);

// How a long value is stored, by what its row holds.
enum class EStoredAs : uint8_t { Chain = 0, Single = 1, Inline = 2 };
EStoredAs KindOf(const Value& stored);

}  // namespace tolvane::test
