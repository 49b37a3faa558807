// A table that is about to be made: its definition, and what else the catalogue is to say of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "embedded/ComplexColumns.h"
#include "embedded/TableDefinition.h"

namespace tolvane {

struct SNewTable {
  std::u16string name;
  STableDefinition definition;  // without pages
  uint32_t objectFlags = 0;
  std::vector<uint8_t> properties;  // the blob; empty: none
  std::vector<SNewComplexColumn> complexColumns;
  std::optional<STableLink> link;
};

}  // namespace tolvane
