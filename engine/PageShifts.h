// Whole pages that were lost or put in: all pages behind them stand elsewhere than their numbers say, and
// every head is in step nevertheless. What pages take others for tells: owners, links and entries of indexes,
// maps of tables and rows of the catalogue name pages of a kind by their numbers.
//
//   place    1   2   3   4   5   6   7          page 3 was put in: where pages behind it have the numbers of
//   number   1   2   -   3   4   5   6          their places less one, others name them as what they are
#pragma once

#include <cstdint>
#include <vector>

#include "engine/PageReader.h"
#include "format/Layout.h"
#include "status/JobContext.h"

namespace tolvane {

// From the page at that place on, pages have their place plus `shift` as numbers. Places are the numbers that
// the pages were found by.
struct SPageShift {
  uint64_t place = 0;
  int64_t shift = 0;
};

// Empty where the pages stand in their places, or where nothing tells. Reads all pages only where some are
// not what others take them for. A job may stop it.
std::vector<SPageShift> FindPageShifts(CPageReader& pages, const SLayout& layout, const CJobContext* job);

}  // namespace tolvane
