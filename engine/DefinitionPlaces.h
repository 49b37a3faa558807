// Definitions that stand in each other's places. A definition does not say its own number, but the pages that
// it leads to say theirs, their owner: the first ones of its indexes, and the rows that its map names. Of two
// definitions both kinds have to, if not for each, for rows or indexes may be swapped as well.
//
//   page 5 (leads to pages of 9)  <->  page 9 (leads to pages of 5)
//
// Each table would get the other one's name.
#pragma once

#include "engine/Source.h"
#include "model/AccessData.h"

namespace tolvane {

// Pairs of page numbers, the lower one first; each number once. The tables' definitions are decoded.
PagePairs FindSwappedDefinitions(const CAccessTableList& tables, CSource& source);

}  // namespace tolvane
