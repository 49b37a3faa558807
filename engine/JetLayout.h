// Where things are on the pages of the two formats: one table of constants for each, read by one algorithm.
// Jet 4 stands for every later version too. All numbers are little-endian; offsets count from the start of
// the structure that they are named after.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tolvane {

// The first byte of a page; the second is 01 on every formatted page.
enum EPageType : uint8_t {
  kPageHeader = 0x00,  // page 0; elsewhere only pages that were never written
  kPageData = 0x01,
  kPageDefinition = 0x02,
  kPageIndexNode = 0x03,
  kPageIndexLeaf = 0x04,
  kPageMap = 0x05,
  kPageDroppedDefinition = 0x08,
  kPageEmptiedData = 0x09,
};
inline constexpr uint8_t kPageFormatted = 0x01;

// Every table, index and data page: the page number of the owner's definition.
inline constexpr uint32_t kOwnerOffset = 4;
inline constexpr uint32_t kFreeBytesOffset = 2;
inline constexpr uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL" in the place of the owner
inline constexpr uint32_t kUsageMapOwner = 0;
inline constexpr uint32_t kGlobalMapPage = 1;  // holds the map of free pages; its own owner
inline constexpr uint32_t kCataloguePage = 2;  // definition of the system catalogue

// Page 0, the same in both formats. Bytes from kHeaderMaskStart on are masked.
inline constexpr size_t kVersionByte = 0x14;
inline constexpr size_t kHeaderMaskStart = 0x18;
inline constexpr size_t kHeaderCodePage = 0x3C;           // u16
inline constexpr size_t kHeaderDatabaseKey = 0x3E;        // u32, not 0: the other pages are encoded
inline constexpr size_t kHeaderEncryptionLength = 0x299;  // u16 and then the description, ACE only

//   data page                 Jet 3   Jet 4
//   01 01                       0       0
//   u16 free bytes              2       2
//   u32 owner                   4       4
//   u16 slot count              8      12
//   u16 slots, growing up      10      14    rows grow down from the end of the page
struct SDataPageLayout {
  uint32_t slotCount;
  uint32_t slots;  // also the length of the head

  // No sound page holds more.
  [[nodiscard]] constexpr uint32_t MaximumSlots(uint32_t pageSize) const { return (pageSize - slots) / 2; }
};
inline constexpr uint16_t kSlotHidden = 0x8000;   // body of a moved row or, with kSlotPointer, a deleted row
inline constexpr uint16_t kSlotPointer = 0x4000;  // the row only tells where its body is
inline constexpr uint16_t kSlotStart = 0x1FFF;

//   definition page: 02 01, u16, u32 next page at 4 (0: last), and on the first page the header, then
//   R statistics blocks, N column descriptors, N names, R real-index entries, L logical-index entries, L
//   names
inline constexpr uint32_t kNextPageOffset = 4;
inline constexpr uint32_t kDefinitionPageHead = 8;  // not repeated in the assembled definition
inline constexpr uint32_t kDefinitionMark = 0x659;
inline constexpr uint8_t kSystemTable = 'S';
inline constexpr uint8_t kUserTable = 'N';

struct SDefinitionLayout {
  // A first page starts with these bytes; Jet 4 also tests the table type.
  std::array<uint8_t, 4> signature;
  uint32_t signatureLength;
  bool isTypeTested;

  // Header offsets; 0 where the format has no such word.
  uint32_t length;
  uint32_t secondWord;
  uint32_t rowCount;
  uint32_t autoNumber;
  uint32_t tableType;
  uint32_t highestColumn;
  uint32_t variableColumns;
  uint32_t columnCount;
  uint32_t indexCount;
  uint32_t realIndexCount;
  uint32_t usedPagesMap;
  uint32_t freePagesMap;
  uint32_t headerLength;
  uint32_t statisticsLength;  // of the block before the columns, one a real index
  uint32_t nameLengthWidth;   // 1: bytes of a code page, 2: bytes of UTF-16
};

struct SColumnLayout {
  uint32_t size;
  uint32_t number;
  uint32_t variableIndex;
  uint32_t misc;
  uint32_t codePage;  // of Jet 3 texts; 0: none
  uint32_t flags;
  uint32_t extendedFlags;  // 0: none
  uint32_t fixedOffset;
  uint32_t length;
  bool isTextLengthHalved;  // UTF-16: a text's length counts characters once it is read
};

struct SIndexLayout {
  uint32_t realSize;
  uint32_t columns;  // of the real entry: ten times u16 column number, u8 order
  uint32_t usedPagesMap;
  uint32_t rootPage;
  uint32_t flags;  // as the format has it; the rules may say otherwise
  uint32_t logicalSize;
  uint32_t logicalNumber;  // of the logical entry: its own number, then that of its real index
  uint32_t kind;           // 1: primary key, 2: foreign key
};
inline constexpr uint32_t kIndexColumnSize = 3;
inline constexpr size_t kIndexColumnsStored = 10;
inline constexpr uint16_t kNoIndexColumn = 0xFFFF;
inline constexpr uint8_t kIndexAscending = 0x01;
inline constexpr uint8_t kIndexUnique = 0x01;
inline constexpr uint8_t kIndexIgnoreNulls = 0x02;
inline constexpr uint8_t kIndexRequired = 0x08;
inline constexpr uint8_t kIndexKindPrimary = 0x01;
inline constexpr uint8_t kIndexKindForeign = 0x02;

//   index page: u16 free bytes at 2, u32 owner at 4, entry mask (one bit for the end of each entry), entries
struct SIndexPageLayout {
  uint32_t mask;
  uint32_t entries;
};

struct SJetLayout {
  bool isJet3;
  uint32_t pageSize;
  SDataPageLayout data;
  SDefinitionLayout definition;
  SColumnLayout column;
  SIndexLayout index;
  SIndexPageLayout indexPage;
};

inline constexpr SJetLayout kJet3Layout{
    .isJet3 = true,
    .pageSize = 2048,
    .data = {.slotCount = 8, .slots = 10},
    .definition = {.signature = {0x02, 0x01, 'V', 'C'},
                   .signatureLength = 4,
                   .isTypeTested = false,
                   .length = 8,
                   .secondWord = 0,
                   .rowCount = 12,
                   .autoNumber = 16,
                   .tableType = 20,
                   .highestColumn = 21,
                   .variableColumns = 23,
                   .columnCount = 25,
                   .indexCount = 27,
                   .realIndexCount = 31,
                   .usedPagesMap = 35,
                   .freePagesMap = 39,
                   .headerLength = 43,
                   .statisticsLength = 8,
                   .nameLengthWidth = 1},
    .column = {.size = 18,
               .number = 1,
               .variableIndex = 3,
               .misc = 5,
               .codePage = 11,
               .flags = 13,
               .extendedFlags = 0,
               .fixedOffset = 14,
               .length = 16,
               .isTextLengthHalved = false},
    .index = {.realSize = 39,
              .columns = 0,
              .usedPagesMap = 30,
              .rootPage = 34,
              .flags = 38,
              .logicalSize = 20,
              .logicalNumber = 0,
              .kind = 19},
    .indexPage = {.mask = 22, .entries = 0xF8},
};

inline constexpr SJetLayout kJet4Layout{
    .isJet3 = false,
    .pageSize = 4096,
    .data = {.slotCount = 12, .slots = 14},
    .definition = {.signature = {0x02, 0x01},
                   .signatureLength = 2,
                   .isTypeTested = true,
                   .length = 8,
                   .secondWord = 12,
                   .rowCount = 16,
                   .autoNumber = 20,
                   .tableType = 40,
                   .highestColumn = 41,
                   .variableColumns = 43,
                   .columnCount = 45,
                   .indexCount = 47,
                   .realIndexCount = 51,
                   .usedPagesMap = 55,
                   .freePagesMap = 59,
                   .headerLength = 63,
                   .statisticsLength = 12,
                   .nameLengthWidth = 2},
    .column = {.size = 25,
               .number = 5,
               .variableIndex = 7,
               .misc = 11,
               .codePage = 0,
               .flags = 15,
               .extendedFlags = 16,
               .fixedOffset = 21,
               .length = 23,
               .isTextLengthHalved = true},
    .index = {.realSize = 52,
              .columns = 4,
              .usedPagesMap = 34,
              .rootPage = 38,
              .flags = 46,
              .logicalSize = 28,
              .logicalNumber = 4,
              .kind = 23},
    .indexPage = {.mask = 27, .entries = 0x1E0},
};

}  // namespace tolvane
