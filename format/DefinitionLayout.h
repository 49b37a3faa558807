// Where things are in a table definition.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tolvane {

// clang-format off
// Definition page:  0 02 01 | 2 Jet 4: u16 free bytes, Jet 3: "VC" | 4 u32 next page (0: last) | 8 block
// The block starts on the first page, whose head counts as its first bytes, and goes on behind the heads of the
// next ones. In it stand, R real and L logical indexes and N columns being counted in the header:
//   header | statistics[R] | columns[N] | column names[N] | real indexes[R] | logical indexes[L] | index names[L]
//   | long value maps | FFFF
// A name is its length in bytes (Jet 4: u16, Jet 3: u8) and its text, never compressed.
// clang-format on
inline constexpr size_t kDefinitionHead = 8;  // of each page
inline constexpr size_t kDefinitionFree = 2, kDefinitionNext = 4;
inline constexpr uint16_t kJet3DefinitionMark = 0x4356;  // "VC"
inline constexpr uint16_t kDefinitionEnd = 0xFFFF;
inline constexpr uint8_t kUserTable = 'N', kSystemTable = 'S';
// Jet 4 has these in the header, in every column and logical index, and in every real index.
inline constexpr uint32_t kDefinitionMagic = 0x659, kRealIndexMagic = 0x783;

struct SDefinitionLayout {
  std::array<uint8_t, 4> signature;  // a first page begins with so many of these bytes
  uint16_t signatureSize;

  // In the header.
  uint16_t length;  // u32, of the whole block, the first page's head included
  uint16_t magic;   // u32
  uint16_t rowCount;
  uint16_t autoNumber;      // u32, the last one given out
  uint16_t autoNumberStep;  // u32
  uint16_t complexNumber;   // u32, the last one given out to complex columns
  uint16_t tableType;
  uint16_t columnsEver;   // u16, highest column number + 1, deleted ones included
  uint16_t variableEver;  // u16
  uint16_t columnCount;   // u16
  uint16_t logicalCount, realCount;
  uint16_t ownedMap, freeMap;  // row pointers
  uint16_t headerSize;
  uint16_t statisticsSize, statisticsDistinct;
  bool hasFreeBytes;       // in the pages' heads; the others have the mark there
  bool isSortedByDisplay;  // columns stand by (display number, name), else by number
};

// A column's type is its first byte.
struct SColumnLayout {
  uint16_t size;
  uint16_t type;
  uint16_t magic;
  uint16_t number;         // u16, the column's name in rows, masks and indexes
  uint16_t variableIndex;  // u16, which of a row's offsets
  uint16_t displayNumber;
  uint16_t sortOrder;    // u16, of a text; of a decimal u8 precision and u8 scale; of a complex column u32 id
  uint16_t sortVersion;  // u8
  uint16_t codePage;     // u16
  uint16_t misc;         // where the standard rules look for scale and complex id
  uint16_t flags;        // see ColumnType.h
  uint16_t extendedFlags;  // u8
  uint16_t fixedOffset;    // u16, behind the row's column count
  uint16_t length;         // u16, in bytes
};

struct SRealIndexLayout {
  uint16_t size;
  uint16_t magic;
  uint16_t slots;  // kIndexSlots times u16 column number, u8 order
  uint16_t map;    // row pointer
  uint16_t root;   // page
  uint16_t flags;
  uint16_t complexMark;  // u8, kIndexOfComplexColumn or 0
  uint8_t alwaysSet;     // flags that every index of the format has
};
inline constexpr size_t kIndexSlots = 10, kIndexSlotSize = 3;
inline constexpr uint16_t kNoColumn = 0xFFFF;
inline constexpr uint8_t kIndexAscending = 0x01;
inline constexpr uint8_t kIndexOfComplexColumn = 2;  // made with the column, not by anybody
inline constexpr uint8_t kIndexUnique = 0x01, kIndexIgnoreNulls = 0x02, kIndexRequired = 0x08;

struct SLogicalIndexLayout {
  uint16_t size;
  uint16_t magic;
  uint16_t number;        // u32, its own
  uint16_t realIndex;     // u32, which real index carries it
  uint16_t side;          // u8, of a relation
  uint16_t partnerIndex;  // u32, logical index of the other table; FFFFFFFF: none
  uint16_t partnerTable;  // u32, its definition page
  uint16_t cascadeUpdates, cascadeDeletes;
  uint16_t kind;
};
inline constexpr uint8_t kIndexKindPlain = 0, kIndexKindPrimary = 1, kIndexKindForeign = 2;
inline constexpr uint8_t kPrimarySide = 1, kForeignSide = 2;  // of a relation, in its logical indexes

// Long value map: u16 column number, row pointers to the maps of its pages and of those with room.
inline constexpr size_t kLongValueMapSize = 10;

}  // namespace tolvane
