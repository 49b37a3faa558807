// Names of columns whose definition lost them, from the table's properties in the catalogue: these name the
// table's columns in the order in which they stand in the definition.
#pragma once

#include <cstdint>

#include "model/AccessData.h"

namespace tolvane {

// Once the catalogue's rows are read. Only tables with mended names change, and of those only the ones whose
// properties name as many columns as they have.
void RestoreColumnNames(CAccessData& data, uint32_t pageSize);

}  // namespace tolvane
