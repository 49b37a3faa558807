// Where things are on an index page. Constants only; numbers little-endian unless drawn otherwise.
//
// clang-format off
//   Jet 4  Jet 3  size
//     0      0     2     03 01 node, 04 01 leaf
//     2      2     2     free bytes of the entry area
//     4      4     4     definition page of the table
//     8      -     4     0
//    12      8     4     previous page of the level, 0 = none
//    16     12     4     next page of the level, 0 = none
//    20     16     4     node: last child ("tail"); leaf: 0
//    24     20     2/1   length of the prefix that all entries share
//    26     21     1     level: 0 leaf, 1 node above leaves, ...
//    27     22           end mask: bit k, lowest first, is set when an entry ends at offset k of the entry area
//   480    248           entry area, up to the end of the page
//
// The first entry is complete; each later one lacks its first `prefix` bytes.
//   leaf entry:  key bytes | page (3 bytes, big-endian) | row (1 byte)
//   node entry:  last leaf entry below the child | child page (4 bytes, big-endian)
// The last child of a node has no entry: it is only in the tail.
// clang-format on
#pragma once

#include <cstddef>

#include "format/PageLayout.h"

namespace tolvane {

inline constexpr size_t kChildPointerSize = 4;  // child page at the end of a node entry

struct SIndexPageLayout {
  size_t pageSize;
  size_t previous;
  size_t next;
  size_t tail;
  size_t prefix;
  size_t prefixWidth;
  size_t level;
  size_t mask;
  size_t entries;

  [[nodiscard]] constexpr size_t Capacity() const { return pageSize - entries; }
  // A node must have room for the entry and the child's page.
  [[nodiscard]] constexpr size_t LongestKey() const {
    return Capacity() - kRowPointerSize - kChildPointerSize;
  }
};

inline constexpr SIndexPageLayout kIndexPageJet3{2048, 8, 12, 16, 20, 1, 21, 22, 248};
inline constexpr SIndexPageLayout kIndexPageJet4{4096, 12, 16, 20, 24, 2, 26, 27, 480};

constexpr bool MaskCoversEntries(const SIndexPageLayout& layout) {
  return (layout.entries - layout.mask) * 8 > layout.Capacity();
}
static_assert(MaskCoversEntries(kIndexPageJet3) && MaskCoversEntries(kIndexPageJet4),
              "an entry may end at the last byte of the page");

}  // namespace tolvane
