// The rows of the catalogue, of a run that keeps values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/AccessTable.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"

namespace tolvane {

struct SCatalogueRow {
  std::optional<uint32_t> id;
  std::optional<int16_t> type;
  std::u16string name, database, connect, foreignName;
  std::vector<uint8_t> shortInfo;
  std::optional<SObjectPlace> longInfo, properties;
};

// The next row of the table, whose row has begun; cells that are null or of another type stay empty. `record`
// is room.
SCatalogueRow ReadCatalogueRow(const CAccessTable& catalogue, CTableRowReader& rows,
                               std::vector<uint8_t>& record);

}  // namespace tolvane
