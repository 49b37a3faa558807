// Usage maps: which pages a table, an index or a long value column uses, and which pages of the file are
// free.
#pragma once

#include <cstdint>
#include <vector>

#include "embedded/PageFile.h"
#include "format/PageSet.h"

namespace tolvane {

// `count` empty map rows on new pages of their own; the answer is a row pointer for each.
CDaoResult CreateUsageMaps(CPageFile& file, size_t count, std::vector<uint32_t>& pointers);

// Brings the map row that `pointer` names up to date. The row stays inline while its bits find room on its
// page and refers to pages of bits beyond that.
CDaoResult StoreUsageMap(CPageFile& file, uint32_t pointer, const CPageSet& pages);
CDaoResult LoadUsageMap(CPageFile& file, uint32_t pointer, CPageSet& pages);

// Page 1: the map of free pages (all numbers beyond the file's end count as free) and a second, empty one.
CDaoResult StoreGlobalMap(CPageFile& file);
// Releases the free pages that page 1 names, so that they are used again.
CDaoResult LoadGlobalMap(CPageFile& file);

}  // namespace tolvane
