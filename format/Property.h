// A property that a table, column, query or database carries for the programs that work with it. See
// PropertyBlob.h for how it is stored.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tolvane {

inline constexpr uint8_t kPropertyOfEngine =
    0x01;  // belongs to the engine's own set, not to a user interface's

struct SProperty {
  std::u16string name;
  uint8_t type = 0;            // as columns have: EColumnType
  uint8_t flags = 0;           // kPropertyOfEngine; others have no known meaning
  std::vector<uint8_t> value;  // as a row stores it; texts as UTF-16LE
};

}  // namespace tolvane
