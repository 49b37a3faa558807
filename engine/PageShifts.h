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

// From the page at that place of the file on, counted in pages from the database's start, pages have their
// place plus `shift` as numbers.
struct SPageShift {
  uint64_t place = 0;
  int64_t shift = 0;
};

// Of the pages between `start` and `end`, in bytes of the file; empty where they stand in their places, or
// where nothing tells. Reads all pages only where some are not what others take them for. A job may stop it.
std::vector<SPageShift> FindPageShifts(CPageReader& file, const SLayout& layout, uint64_t start, uint64_t end,
                                       const CJobContext* job);

}  // namespace tolvane
