// Indexes of stored tables: an empty one for a new table, and all of a table's built anew from its rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "embedded/PageFile.h"
#include "embedded/TableDefinition.h"

namespace tolvane {

class CIndexFeed;
class CTableStore;

// Indexes that lost a property or were left out; the notes say which, why, and show the first keys.
struct SIndexChanges {
  uint64_t indexes = 0;
  std::vector<std::u16string> notes;
};

// Allocates and writes the root of an empty index and notes it in its map, which exists already.
CDaoResult CreateIndex(CPageFile& file, uint32_t ownerPage, SRealIndex& index);

// Builds the trees bottom-up, in one pass over the rows; roots keep their pages, the other pages are used
// again. Maps and numbers of distinct keys follow; the definition itself is the caller's to store.
//
// Rows are never given up for an index. One whose rows repeat keys or hold nulls that it forbids loses that
// property, one with a value for which no key is known is left out; `changes` tells. In a system table that
// is an error instead. Indexes in front of position `first` stay as they are. A feed has seen all rows;
// without one they are read.
CDaoResult RebuildIndexes(CPageFile& file, CTableStore& table, STableDefinition& definition,
                          SIndexChanges& changes, size_t first = 0, CIndexFeed* feed = nullptr);

// Takes an index out of the definition, with its logical indexes and its pages; its place in a map page stays
// empty.
CDaoResult DropIndex(CPageFile& file, STableDefinition& definition, size_t index);

// Of keys that are a fault, this many are shown.
inline constexpr size_t kKeysShown = 3;
// The keys of these rows, for people; `count` tells of how many rows they are the first.
std::u16string DescribeKeys(CPageFile& file, CTableStore& table, const SRealIndex& index,
                            std::span<const uint32_t> pointers, uint64_t count);

}  // namespace tolvane
