// Of what type the results of calculated columns are: the column's own type is only a storage class.
#pragma once

#include <vector>

#include "model/AccessTable.h"
#include "store/ValueRecord.h"

namespace tolvane {

// By column: the type that holds every result in the table's data file of values, and the most digits behind
// the point; kTypeNone for other columns and for those without a result. A table without calculated columns
// is not read.
std::vector<SValueKind> FindResultTypes(const CAccessTable& table);

}  // namespace tolvane
