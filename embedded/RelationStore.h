// Relationships in the database: what has to hold for one, the indexes that enforce it, its rows.
#pragma once

#include <cstdint>
#include <vector>

#include "dao/dao.h"
#include "embedded/TableStore.h"

namespace tolvane {

// The relation's fields by column number, in the relation's order.
struct SRelationColumns {
  std::vector<uint16_t> primary, foreign;
};

// Fails when a field is not there, or their number is none that the format takes.
CDaoResult FindRelationColumns(const SLayout& layout, const CDaoRelationInfo& relation,
                               const STableDefinition& primary, const STableDefinition& foreign,
                               SRelationColumns& columns);

// Gives both tables the logical indexes that make engines enforce the relation, and stores their definitions.
// Refused, with both tables as before, when the primary table has no index on exactly these columns that is
// unique or can be, when types differ, when a table has no room for another index, or when rows of the
// foreign table refer to nothing: a key that is null in part refers to nothing and is allowed to. Ok carries
// a text when an index became unique.
//
// The tables may be one and the same object. Nothing may be open in them.
CDaoResult EnforceRelation(CPageFile& file, const CDaoRelationInfo& relation, const SRelationColumns& columns,
                           CTableStore& primary, CTableStore& foreign);

// The rows of MSysRelationships, one a pair of fields.
CDaoResult StoreRelationRows(CTableStore& relations, const CDaoRelationInfo& relation);

}  // namespace tolvane
