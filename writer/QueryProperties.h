// The properties of saved queries, as the rows of the recovered catalogue keep them.
#pragma once

#include "model/AccessData.h"
#include "query/Query.h"

namespace tolvane {

// Gives each query the properties of its object and of its columns, but for those that only their own
// database understands. Nothing where the run keeps texts for values, which properties are none of.
void ReadQueryProperties(const CAccessData& data, CTList<CQuery>& queries);

}  // namespace tolvane
