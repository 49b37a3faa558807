// Where things are on the pages that the embedded engine writes: constants only, all numbers little-endian.
// What differs between the page formats is a member of SEmbeddedLayout; code takes one and knows no format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "embedded/IndexKey.h"
#include "embedded/IndexPageLayout.h"
#include "embedded/LittleEndian.h"
#include "format/ColumnType.h"

namespace tolvane {

// First byte of a page; the second is always 1.
enum class EPageType : uint8_t { Header = 0, Data = 1, Definition = 2, MapBits = 5 };
inline constexpr uint8_t kPageMark = 1;
inline constexpr size_t kPageTypeAt = 0, kPageMarkAt = 1;

// A row pointer is the row's number on its page (low byte) and the page (upper three bytes).
constexpr uint32_t MakeRowPointer(uint32_t page, uint32_t row) {
  return page << 8 | row;
}
constexpr uint32_t PageOfPointer(uint32_t pointer) {
  return pointer >> 8;
}
constexpr uint32_t RowOfPointer(uint32_t pointer) {
  return pointer & 0xFF;
}
inline constexpr uint32_t kMaxRowsPerPage = 255;

// Fixed pages.
inline constexpr uint32_t kHeaderPage = 0;
inline constexpr uint32_t kGlobalMapPage = 1;
inline constexpr uint32_t kObjectsPage = 2, kAcesPage = 3, kQueriesPage = 4, kRelationshipsPage = 5;
inline constexpr uint32_t kFirstFreePage = 6;
inline constexpr uint32_t kGlobalFreeRow = 0, kGlobalSecondRow = 1;  // rows of page 1

// Header page, see HeaderPage.h.
struct SHeaderLayout {
  uint16_t maskedSize, codePage, sortOrder, password, passwordSize, build, date, constant, format, commit;
  uint16_t usualBuild;  // of the engine that made such files
};

// Data page (also usage-map rows and long values):
//   Jet 4  Jet 3
//     0      0   01 01
//     2      2   u16 free bytes
//     4      4   u32 owner
//     8      -   u32 stamp of a chained long value
//    12      8   u16 slots
//    14     10   u16[] slots ->
//   ... free ...                                            <- rows, row 0 ends at the page's end
struct SDataPageLayout {
  uint16_t freeBytes, owner, stamp, slotCount, slots;
};
inline constexpr uint16_t kSlotFlags = 0xE000;            // a slot above these bits holds no plain row
inline constexpr uint32_t kOwnerMaps = 0;                 // owner of a page of usage-map rows
inline constexpr uint32_t kOwnerGlobalMaps = 1;           // owner of page 1
inline constexpr uint32_t kOwnerLongValues = 0x4C41564C;  // "LVAL"

// Row:  count | fixed values | variable values | end of data, offsets of the last ... first | jump table
// | variable count | mask
//
// Counts and offsets are words in Jet 4 and bytes in Jet 3, where an offset is stored without its high part.
// Only Jet 3 rows have a jump table, of (row size - 1) / 256 bytes: the first one, next to the count, is the
// index of the first offset of 256 or more, the one before it that of the first offset of 512 or more, and so
// on; the end of the data has the highest index, and FF says that no offset is so high.
struct SRowLayout {
  uint16_t countSize;       // bytes of the column count, of each offset and of the variable count
  uint16_t longest;         // bytes of the longest row that is written
  uint16_t longestInline;   // bytes of the longest long value kept in its row (text: uncompressed)
  uint16_t longestSingle;   // ... kept in one row of a long value page; longer ones are chained
  uint16_t longestChained;  // bytes of a full row of a chain
};
inline constexpr size_t kJumpStep = 256;
inline constexpr uint8_t kNoJump = 0xFF;
inline constexpr size_t kReferenceSize = 12;  // u32 length and kind, u32 row pointer, u32 stamp
inline constexpr size_t kReferencePointer = 4, kReferenceStamp = 8;
inline constexpr uint32_t kLongValueInline = 0x80000000, kLongValueSingle = 0x40000000, kLongValueChain = 0;
inline constexpr uint32_t kLongestLongValue = 0x3FFFFFFF;
inline constexpr size_t kChainPointerSize = 4;  // each chained row begins with a pointer to the next one

// Usage map row:  0 u8 0 | 1 u32 first page | 5 bits         or  0 u8 1 | 1 u32[] pages of bits (0: none)
// Page of bits:   0 05 01 00 00 | 4 bits
struct SUsageMapLayout {
  uint16_t rowSize;       // as created; an inline row grows in steps of kMapGrowth
  bool isSharedBySystem;  // the small system tables have their maps on one page
};
inline constexpr uint8_t kMapInline = 0, kMapReferences = 1;
inline constexpr size_t kMapStart = 1, kMapBits = 5, kMapPages = 1, kMapPageBits = 4, kMapGrowth = 4;

// Definition page:  0 02 01 | 2 Jet 4: u16 free bytes, Jet 3: "VC" | 4 u32 next page | block
// The block starts on the first page (its head included) and goes on behind the heads of the next ones:
//   header | statistics[] | columns[] | names[] | real indexes[] | logical indexes[] | names[] | long value
//   maps[] | FFFF
inline constexpr size_t kDefinitionHead = 8, kDefinitionFree = 2, kDefinitionNext = 4;
inline constexpr uint16_t kDefinitionMark = 0x4356;  // "VC"
inline constexpr uint16_t kDefinitionEnd = 0xFFFF;
inline constexpr uint8_t kUserTable = 0x4E, kSystemTable = 0x53;
inline constexpr size_t kLongValueMapSize = 10;                // u16 column, u32 owned map, u32 free map
inline constexpr size_t kIndexSlots = 10, kIndexSlotSize = 3;  // u16 column, u8 ascending
inline constexpr uint16_t kNoColumn = 0xFFFF;
struct SDefinitionLayout {
  uint16_t length, magic, rowCount, autoNumber, autoNumberStep, tableType, columnsEver, variableEver,
      columnCount, logicalCount, realCount, ownedMap, freeMap, headerSize;
  uint16_t statisticsSize, statisticsDistinct;
  bool hasFreeBytes;       // in the pages' heads; the others have the mark there
  bool isSortedByDisplay;  // columns stand by (display number, name), else by number
};
struct SColumnLayout {
  uint16_t size, type, magic, number, variableIndex, displayNumber, sortOrder, codePage, flags, extendedFlags,
      fixedOffset, length;
};
struct SRealIndexLayout {
  uint16_t size, magic, slots, map, root, flags;
  uint8_t alwaysSet;  // flags that every index of the format has
};
struct SLogicalIndexLayout {
  uint16_t size, magic, number, realIndex, side, partnerIndex, partnerTable, cascadeUpdates, cascadeDeletes,
      kind;
};
inline constexpr uint32_t kDefinitionMagic = 0x659, kRealIndexMagic = 0x783;

// Flags and kinds of indexes.
inline constexpr uint8_t kIndexUnique = 0x01, kIndexIgnoreNulls = 0x02, kIndexRequired = 0x08;
inline constexpr uint8_t kKindPrimary = 1, kKindRelation = 2;  // of a logical index
inline constexpr uint8_t kPrimarySide = 1, kForeignSide = 2;   // of a relation, in its logical indexes

inline constexpr uint16_t kSortOrder = 0x0409;
inline constexpr uint16_t kCodePage = 1252;

// Limits of the format.
inline constexpr size_t kMaxNameLength = 64, kMaxFields = 255, kMaxIndexes = 32, kMaxIndexFields = 10,
                        kMaxTextLength = 255;
inline constexpr uint64_t kMaxFileLength = 0x80000000;  // of any format

// How texts and names are stored.
struct STextLayout {
  uint8_t unitSize;        // bytes of a UTF-16 unit; 1: the texts are bytes of the code page
  uint8_t nameLengthSize;  // bytes of the length before a name in a definition
  [[nodiscard]] constexpr bool IsCodePage() const { return unitSize == 1; }
};

struct SEmbeddedLayout {
  uint32_t pageSize;
  std::string_view engineName;  // on page 0
  uint8_t version;
  uint64_t maxFileLength;
  STextLayout text;
  SHeaderLayout header;
  SDataPageLayout data;
  SRowLayout row;
  SUsageMapLayout map;
  SDefinitionLayout definition;
  SColumnLayout column;
  SRealIndexLayout realIndex;
  SLogicalIndexLayout logicalIndex;
  SIndexPageLayout index;
  EIndexVersion keys;
  bool hasComplexColumns = false;
};

inline constexpr SEmbeddedLayout kLayoutJet4{
    .pageSize = 4096,
    .engineName = "Standard Jet DB",
    .version = 1,
    .maxFileLength = kMaxFileLength,
    .text = {.unitSize = 2, .nameLengthSize = 2},
    .header = {.maskedSize = 128,
               .codePage = 0x3C,
               .sortOrder = 0x6E,
               .password = 0x42,
               .passwordSize = 40,
               .build = 0x6A,
               .date = 0x72,
               .constant = 0x98,
               .format = 0x9C,
               .commit = 0xE00,
               .usualBuild = 4518},
    .data = {.freeBytes = 2, .owner = 4, .stamp = 8, .slotCount = 12, .slots = 14},
    .row =
        {.countSize = 2, .longest = 4060, .longestInline = 64, .longestSingle = 4076, .longestChained = 4076},
    .map = {.rowSize = 69, .isSharedBySystem = false},
    .definition = {.length = 8,
                   .magic = 12,
                   .rowCount = 16,
                   .autoNumber = 20,
                   .autoNumberStep = 24,
                   .tableType = 40,
                   .columnsEver = 41,
                   .variableEver = 43,
                   .columnCount = 45,
                   .logicalCount = 47,
                   .realCount = 51,
                   .ownedMap = 55,
                   .freeMap = 59,
                   .headerSize = 63,
                   .statisticsSize = 12,
                   .statisticsDistinct = 4,
                   .hasFreeBytes = true,
                   .isSortedByDisplay = true},
    .column = {.size = 25,
               .type = 0,
               .magic = 1,
               .number = 5,
               .variableIndex = 7,
               .displayNumber = 9,
               .sortOrder = 11,
               .codePage = kAbsent,
               .flags = 15,
               .extendedFlags = 16,
               .fixedOffset = 21,
               .length = 23},
    .realIndex = {.size = 52, .magic = 0, .slots = 4, .map = 34, .root = 38, .flags = 46, .alwaysSet = 0x80},
    .logicalIndex = {.size = 28,
                     .magic = 0,
                     .number = 4,
                     .realIndex = 8,
                     .side = 12,
                     .partnerIndex = 13,
                     .partnerTable = 17,
                     .cascadeUpdates = 21,
                     .cascadeDeletes = 22,
                     .kind = 23},
    .index = kIndexPageJet4,
    .keys = EIndexVersion::Jet4,
};

inline constexpr SEmbeddedLayout kLayoutJet3{
    .pageSize = 2048,
    .engineName = "Standard Jet DB",
    .version = 0,
    .maxFileLength = 0x40000000,
    .text = {.unitSize = 1, .nameLengthSize = 1},
    .header = {.maskedSize = 126,
               .codePage = 0x3C,
               .sortOrder = 0x3A,
               .password = 0x42,
               .passwordSize = 20,
               .build = 0x56,
               .date = kAbsent,
               .constant = kAbsent,
               .format = kAbsent,
               .commit = 0x600,
               .usualBuild = 3428},
    .data = {.freeBytes = 2, .owner = 4, .stamp = kAbsent, .slotCount = 8, .slots = 10},
    .row =
        {.countSize = 1, .longest = 2012, .longestInline = 32, .longestSingle = 2032, .longestChained = 2036},
    .map = {.rowSize = 133, .isSharedBySystem = true},
    .definition = {.length = 8,
                   .magic = kAbsent,
                   .rowCount = 12,
                   .autoNumber = 16,
                   .autoNumberStep = kAbsent,
                   .tableType = 20,
                   .columnsEver = 21,
                   .variableEver = 23,
                   .columnCount = 25,
                   .logicalCount = 27,
                   .realCount = 31,
                   .ownedMap = 35,
                   .freeMap = 39,
                   .headerSize = 43,
                   .statisticsSize = 8,
                   .statisticsDistinct = 4,
                   .hasFreeBytes = false,
                   .isSortedByDisplay = false},
    .column = {.size = 18,
               .type = 0,
               .magic = kAbsent,
               .number = 1,
               .variableIndex = 3,
               .displayNumber = 5,
               .sortOrder = 9,
               .codePage = 11,
               .flags = 13,
               .extendedFlags = kAbsent,
               .fixedOffset = 14,
               .length = 16},
    .realIndex =
        {.size = 39, .magic = kAbsent, .slots = 0, .map = 30, .root = 34, .flags = 38, .alwaysSet = 0},
    .logicalIndex = {.size = 20,
                     .magic = kAbsent,
                     .number = 0,
                     .realIndex = 4,
                     .side = 8,
                     .partnerIndex = 9,
                     .partnerTable = 13,
                     .cascadeUpdates = 17,
                     .cascadeDeletes = 18,
                     .kind = 19},
    .index = kIndexPageJet3,
    .keys = EIndexVersion::Jet3,
};

// ACE is Jet 4 with more column types and its own tables; the version byte is raised where the content needs
// it.
inline constexpr SEmbeddedLayout kLayoutAce = [] {
  SEmbeddedLayout layout = kLayoutJet4;
  layout.version = 2;
  layout.engineName = "Standard ACE DB";
  layout.keys = EIndexVersion::Ace;
  layout.hasComplexColumns = true;
  return layout;
}();

}  // namespace tolvane
