// The layouts of the two page formats: one table of constants each, for one algorithm. Jet 4 stands for every
// later version too. All numbers are little-endian; an offset counts from the start of the structure that it
// is named after, and is kAbsent where the format lacks the field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "format/Bytes.h"
#include "format/ColumnType.h"
#include "format/DefinitionLayout.h"
#include "format/HeaderLayout.h"
#include "format/IndexPageLayout.h"
#include "format/PageLayout.h"
#include "format/RowLayout.h"

namespace tolvane {

// How index keys are made.
enum class EIndexVersion : uint8_t { Jet3, Jet4, Ace };

// The general sort order, whose keys are known, and its code page.
inline constexpr uint16_t kGeneralSortOrder = 0x0409;
inline constexpr uint16_t kGeneralCodePage = 1252;

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

struct SLayout {
  bool isJet3;
  uint32_t pageSize;
  uint8_t version;              // the lowest one of the format
  std::string_view engineName;  // on page 0, with the zero behind it
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

inline constexpr SLayout kLayoutJet3{
    .isJet3 = true,
    .pageSize = 2048,
    .version = kVersionJet3,
    .engineName = kEngineNameJet,
    .maxFileLength = 0x40000000,
    .text = {.unitSize = 1, .nameLengthSize = 1},
    .header = {.maskedSize = 126,
               .sortOrder = 0x3A,
               .sortVersion = kAbsent,
               .password = 0x42,
               .passwordSize = 20,
               .build = 0x56,
               .usualBuild = 3428,
               .date = kAbsent,
               .constant = kAbsent,
               .format = kAbsent,
               .commit = 0x600},
    .data = {.stamp = kAbsent, .slotCount = 8, .slots = 10},
    .row = {.countSize = 1,
            .hasJumpTable = true,
            .longest = 2012,
            .longestInline = 32,
            .longestSingle = 2032,
            .longestChained = 2036},
    .map = {.rowSize = 133, .isSharedBySystem = true},
    .definition = {.signature = {kPageDefinition, kPageFormatted, 'V', 'C'},
                   .signatureSize = 4,
                   .length = 8,
                   .magic = kAbsent,
                   .rowCount = 12,
                   .autoNumber = 16,
                   .autoNumberStep = kAbsent,
                   .complexNumber = kAbsent,
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
               .sortVersion = kAbsent,
               .codePage = 11,
               .misc = 5,
               .flags = 13,
               .extendedFlags = kAbsent,
               .fixedOffset = 14,
               .length = 16},
    .realIndex = {.size = 39,
                  .magic = kAbsent,
                  .slots = 0,
                  .map = 30,
                  .root = 34,
                  .flags = 38,
                  .complexMark = kAbsent,
                  .alwaysSet = 0},
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

inline constexpr SLayout kLayoutJet4{
    .isJet3 = false,
    .pageSize = 4096,
    .version = kVersionJet4,
    .engineName = kEngineNameJet,
    .maxFileLength = kMaxFileLength,
    .text = {.unitSize = 2, .nameLengthSize = 2},
    .header = {.maskedSize = 128,
               .sortOrder = 0x6E,
               .sortVersion = 0x71,
               .password = 0x42,
               .passwordSize = 40,
               .build = 0x6A,
               .usualBuild = 4518,
               .date = 0x72,
               .constant = 0x98,
               .format = 0x9C,
               .commit = 0xE00},
    .data = {.stamp = 8, .slotCount = 12, .slots = 14},
    .row = {.countSize = 2,
            .hasJumpTable = false,
            .longest = 4060,
            .longestInline = 64,
            .longestSingle = 4076,
            .longestChained = 4076},
    .map = {.rowSize = 69, .isSharedBySystem = false},
    .definition = {.signature = {kPageDefinition, kPageFormatted},
                   .signatureSize = 2,
                   .length = 8,
                   .magic = 12,
                   .rowCount = 16,
                   .autoNumber = 20,
                   .autoNumberStep = 24,
                   .complexNumber = 28,
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
               .sortVersion = 14,
               .codePage = kAbsent,
               .misc = 11,
               .flags = 15,
               .extendedFlags = 16,
               .fixedOffset = 21,
               .length = 23},
    .realIndex = {.size = 52,
                  .magic = 0,
                  .slots = 4,
                  .map = 34,
                  .root = 38,
                  .flags = 46,
                  .complexMark = 47,
                  .alwaysSet = 0x80},
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

// ACE is Jet 4 with more column types and its own tables; the version byte is raised where the content needs
// it.
inline constexpr SLayout kLayoutAce = [] {
  SLayout layout = kLayoutJet4;
  layout.version = kVersionAce12;
  layout.engineName = kEngineNameAce;
  layout.keys = EIndexVersion::Ace;
  layout.hasComplexColumns = true;
  return layout;
}();

// What the readers rely on: structures follow each other without gaps.
constexpr bool IsConsistent(const SLayout& at) {
  const SDefinitionLayout& definition = at.definition;
  return at.data.slots == at.data.slotCount + 2 && at.index.pageSize == at.pageSize &&
         at.pageSize <= kSlotStart &&
         definition.hasFreeBytes == (definition.signatureSize == kDefinitionFree) &&
         (definition.hasFreeBytes ||
          (definition.signature[2] | definition.signature[3] << 8) == kJet3DefinitionMark) &&
         at.header.commit + 2 * kCommitSlots == at.pageSize &&
         definition.columnsEver == definition.tableType + 1 &&
         definition.columnCount + 2 == definition.logicalCount &&
         definition.freeMap + 4 == definition.headerSize && at.column.length + 2 == at.column.size &&
         at.column.fixedOffset + 2 == at.column.length &&
         at.realIndex.map == at.realIndex.slots + kIndexSlots * kIndexSlotSize &&
         at.realIndex.root == at.realIndex.map + 4 && at.logicalIndex.kind < at.logicalIndex.size &&
         at.row.longestChained <= at.pageSize - at.data.slots - 2;
}
static_assert(IsConsistent(kLayoutJet3) && IsConsistent(kLayoutJet4) && IsConsistent(kLayoutAce));

// Definition pages of the tables that a database begins with.
constexpr bool IsSystemPage(const SLayout& layout, uint32_t page) {
  return page < kFirstFreePage || (layout.hasComplexColumns && page <= kLastAceSystemPage);
}

}  // namespace tolvane
