// The pages found in a file, put together to runs that are whole pages apart, and the number of each run's
// first page:
//
//   | page 0 | page 1 | ... | page 7 | xx | page 8 | ... |
//   \_____________ run _____________/    \____ run ____/
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "status/JobContext.h"

namespace tolvane {

// What stands on a page whose head was found.
struct SPageHead {
  uint64_t place;  // in the file
  uint32_t owner;  // the table that it names; 0: none
  bool isDefinition;
};
using PageHeads = std::vector<SPageHead>;  // in their order in the file

struct SPageRun {
  size_t first;  // heads
  size_t last;   // included
  size_t count;  // of those that are in step
};
// Splits heads into runs that keep one distance. Another distance begins where two heads in a row have it, or
// the last head of the file does and its page ends with the file. Heads between the runs belong to none.
std::vector<SPageRun> FindRuns(const PageHeads& heads, uint32_t pageSize, uint64_t fileEnd);

// Gives each run the number of its first page. `from`: where page 0 is, or where it would be, had nothing
// been lost or put in front of the first run; `isSure` which. Fewer numbers than runs: the job, if any, was
// stopped.
std::vector<uint64_t> PlaceRuns(const PageHeads& heads, const std::vector<SPageRun>& runs, uint32_t pageSize,
                                uint64_t from, bool isSure, const CJobContext* job);

}  // namespace tolvane
