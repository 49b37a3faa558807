// Which hidden table holds the values of which complex column where MSysComplexColumns does not tell, and
// which values belong to no record. For the rules by which these values are data.
#pragma once

#include <cstdint>

#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// After the tables are named and MSysComplexColumns is read. A column without its flat table gets the one
// whose columns are named after it. Flat tables with an owner are hidden from then on; one with rows and
// without an owner is a table like others. Values that belong to no record, or that their record has already,
// are counted.
void SettleFlatTables(CAccessData& data, uint32_t pageSize, const CJobContext& job);

}  // namespace tolvane
