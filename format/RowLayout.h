// Where things are in a row, and what stands there for a value that may lie outside it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

// clang-format off
// Row:
//   count n | fixed values | variable values | slack | end of data, offsets of the last ... first value
//           | jump table | variable count | null mask
//
//   count n     columns that existed when the row was written: the highest column number + 1
//   offsets     from the row's start; that of value i lies i places below that of value 0
//   null mask   the last (n + 7) / 8 bytes, one bit a column number, lowest first; 1 = present. A boolean has no
//               bytes: its bit is the value.
// A table that never had a variable column has nothing between the fixed values and the mask.
//
// Counts and offsets are words in Jet 4 and bytes in Jet 3, where an offset is stored without its high part.
// Only Jet 3 rows have a jump table, of (row size - 1) / 256 bytes: the first one, next to the variable count, is
// the index of the first offset of 256 or more, the one before it that of the first offset of 512 or more, and so
// on; the end of the data has the highest index, and FF says that no offset is so high.
// clang-format on
struct SRowLayout {
  uint16_t countSize;       // bytes of the column count, of each offset and of the variable count
  bool hasJumpTable;        // where offsets are bytes
  uint16_t longest;         // bytes of the longest row that is written
  uint16_t longestInline;   // bytes of the longest long value kept in its row (text: uncompressed)
  uint16_t longestSingle;   // ... kept in one row of a long value page; longer ones are chained
  uint16_t longestChained;  // bytes of a full row of a chain
};
inline constexpr size_t kJumpStep = 256;
inline constexpr uint8_t kNoJump = 0xFF;

// clang-format off
// Long value, as its row refers to it:
//   0  u32  bits 0-29 length in bytes, bits 30-31 kind
//   4  u32  row pointer; 0 where the value is inline
//   8  u32  Jet 4, a chain: the stamp of the page where it starts; else 0
//  12       inline: the value
// Row of a chain:  0 u32 row pointer to the next one (0: last) | 4 data
// clang-format on
inline constexpr size_t kReferenceSize = 12;
inline constexpr size_t kReferencePointer = 4, kReferenceStamp = 8;
inline constexpr uint32_t kLongValueInline = 0x80000000, kLongValueSingle = 0x40000000, kLongValueChain = 0;
inline constexpr uint32_t kLongestLongValue = 0x3FFFFFFF;
inline constexpr size_t kChainPointerSize = 4;
static_assert((kLongestLongValue & (kLongValueInline | kLongValueSingle)) == 0);

}  // namespace tolvane
