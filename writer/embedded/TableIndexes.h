// Indexes of stored tables: an empty one for a new table, and one built anew from all rows.
#pragma once

#include "writer/embedded/PageFile.h"
#include "writer/embedded/TableDefinition.h"

namespace tolvane {

class CTableStore;

// Allocates and writes the root of an empty index and notes it in its map, which exists already.
CDaoResult CreateIndex(CPageFile& file, uint32_t ownerPage, SRealIndex& index);

// Builds the tree bottom-up; the root keeps its page, the other pages are used again. The map and the number
// of distinct keys follow; the definition itself is the caller's to store.
CDaoResult RebuildIndex(CPageFile& file, CTableStore& table, SRealIndex& index);

}  // namespace tolvane
