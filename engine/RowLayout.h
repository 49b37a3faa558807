// Where things are in a row. The two formats differ in widths only, and in the jump table.
//
//   [columns n] [fixed area] [variable data] [slack] [offsets, last first] [jump bytes] [variable count]
//   [null mask]
//
//   n               columns that existed when the row was written: highest column number + 1
//   offsets         count + 1 of them, from the row's start; offset i lies i places below offset 0, the one
//   after
//                   the last value is the end of data
//   jump bytes      Jet 3 rows of more than 256 bytes: offsets are stored modulo 256, jump byte k (counted
//   from
//                   the variable count downwards) is the index of the first offset at (k + 1) x 256 or above,
//                   or FF
//   null mask       (n + 7) / 8 bytes at the row's end, one bit a column number; 1 = present
#pragma once

#include <cstdint>

#include "engine/JetLayout.h"

namespace tolvane {

struct SRowLayout {
  uint32_t countWidth;   // of n and of the variable count; the fixed area starts behind n
  uint32_t offsetWidth;  // of one variable offset
  bool hasJumpTable;
  uint32_t textUnitWidth;  // bytes of one character of a fixed text
  uint32_t chainStamp;     // on the page where a long value's chain starts; 0: none
};

inline constexpr SRowLayout kRowLayoutJet3{
    .countWidth = 1, .offsetWidth = 1, .hasJumpTable = true, .textUnitWidth = 1, .chainStamp = 0};
inline constexpr SRowLayout kRowLayoutJet4{
    .countWidth = 2, .offsetWidth = 2, .hasJumpTable = false, .textUnitWidth = 2, .chainStamp = 8};

inline const SRowLayout& RowLayoutOf(const SJetLayout& layout) {
  return layout.isJet3 ? kRowLayoutJet3 : kRowLayoutJet4;
}

inline constexpr uint32_t kJumpStep = 256;

}  // namespace tolvane
