// What a page says of itself: its kind and owner, and whether its head agrees with what stands behind it.
//
//   0 u8 type | 1 u8 01 | 2 u16 free bytes (definitions: see DefinitionLayout.h) | 4 u32 owner | ...
//
// Drawn in full in PageLayout.h, IndexPageLayout.h and DefinitionLayout.h. A page is given whole unless it
// says otherwise here, and may hold anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "format/Layout.h"

namespace tolvane {

static_assert(kPageMarkAt == kPageTypeAt + 1 && kFreeBytesOffset == kPageMarkAt + 1 &&
              kDefinitionFree == kFreeBytesOffset);

// Two bytes tell.
inline bool IsPageOf(std::span<const uint8_t> page, EPageType type) {
  return page[kPageTypeAt] == type && page[kPageMarkAt] == kPageFormatted;
}
inline bool HasPageType(std::span<const uint8_t> page) {
  return page[kPageMarkAt] == kPageFormatted && page[kPageTypeAt] >= kPageData &&
         page[kPageTypeAt] <= kPageEmptiedData;
}
inline uint32_t OwnerOf(std::span<const uint8_t> page) {
  return GetLittle<uint32_t>(page, kOwnerOffset);
}
// Never written, or overwritten with zeros.
bool IsBlankPage(std::span<const uint8_t> page);

// Whether a page begins as all pages of definitions do, ...
bool HasDefinitionHead(std::span<const uint8_t> page, const SLayout& layout);
// ... whether the constant of a first one is there, as it always is where the format has none, ...
bool HasDefinitionMark(std::span<const uint8_t> page, const SLayout& layout);
// ... and whether it names a kind of table.
bool HasTableType(std::span<const uint8_t> page, const SLayout& layout);
inline bool IsFirstOfDefinition(std::span<const uint8_t> page, const SLayout& layout) {
  return HasDefinitionHead(page, layout) && HasDefinitionMark(page, layout) && HasTableType(page, layout);
}

// Where the last entry of an index page ends in the entry area, by the last bit of the mask; 0: no entry.
size_t EndOfEntries(std::span<const uint8_t> page, const SIndexPageLayout& at);

// Whether the bytes, any number of them, are a page of rows, of an index or the first one of a definition,
// and what its head says of free bytes, slots, marks and owner holds together. Foreign bytes hardly ever do
// that; a page that is torn further down still does.
bool IsSoundPage(std::span<const uint8_t> page, const SLayout& layout);

// Gives a page the first two bytes back that say what it is, where they are damaged and the rest is sound as
// that of one kind. Kinds that prove themselves by nothing else are left as they are.
void MendPageType(std::span<uint8_t> page, const SLayout& layout);

}  // namespace tolvane
