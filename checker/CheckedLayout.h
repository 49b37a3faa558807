// Page layouts that the checker knows: the one of the embedded engine for Jet 4 (ACE files have the same),
// and that of Jet 3. A field that a format lacks is kAbsent and reads as 0.
#pragma once

#include "writer/embedded/EmbeddedLayout.h"

namespace tolvane {

inline constexpr SEmbeddedLayout kCheckedJet4 = kLayoutJet4;

inline constexpr SEmbeddedLayout kCheckedJet3{
    .pageSize = 2048,
    .version = 0,
    .data = {.freeBytes = 2, .owner = 4, .stamp = kAbsent, .slotCount = 8, .slots = 10},
    .row = {.countSize = 1, .longest = 2012, .longestInline = 32, .longestSingle = 2032},
    .map = {.rowSize = 133},
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
                   .statisticsDistinct = 4},
    .column = {.size = 18,
               .type = 0,
               .magic = kAbsent,
               .number = 1,
               .variableIndex = 3,
               .displayNumber = 5,
               .sortOrder = 9,
               .flags = 13,
               .extendedFlags = kAbsent,
               .fixedOffset = 14,
               .length = 16},
    .realIndex = {.size = 39, .magic = kAbsent, .slots = 0, .map = 30, .root = 34, .flags = 38},
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

}  // namespace tolvane
