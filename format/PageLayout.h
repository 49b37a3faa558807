// Pages by their first bytes, the pages with a fixed place, and how rows stand on a data page.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

// Byte 0 of a page; byte 1 is 01 on every formatted page.
enum EPageType : uint8_t {
  kPageHeader = 0x00,  // page 0; elsewhere only pages that were never written
  kPageData = 0x01,    // rows of a table, usage maps or long values, told by the owner
  kPageDefinition = 0x02,
  kPageIndexNode = 0x03,
  kPageIndexLeaf = 0x04,
  kPageMap = 0x05,                // bits of a usage map
  kPageDroppedDefinition = 0x08,  // byte 0 was 02
  kPageEmptiedData = 0x09,        // byte 0 was 01, all slots are deleted
};
inline constexpr size_t kPageTypeAt = 0, kPageMarkAt = 1;
inline constexpr uint8_t kPageFormatted = 0x01;

// Every table, index and data page: u16 bytes that are free, u32 page number of the owner's definition.
inline constexpr size_t kFreeBytesOffset = 2, kOwnerOffset = 4;
inline constexpr uint32_t kOwnerMaps = 0;                 // a page of usage-map rows
inline constexpr uint32_t kOwnerGlobalMaps = 1;           // page 1
inline constexpr uint32_t kOwnerLongValues = 0x4C41564C;  // "LVAL"

// Pages with a fixed place.
inline constexpr uint32_t kHeaderPage = 0;
inline constexpr uint32_t kGlobalMapPage = 1;  // its row 0 is the map of free pages
inline constexpr uint32_t kObjectsPage = 2, kAcesPage = 3, kQueriesPage = 4, kRelationshipsPage = 5;
inline constexpr uint32_t kFirstFreePage = 6;
inline constexpr uint32_t kLastAceSystemPage = 40;                   // the tables of complex columns
inline constexpr uint32_t kGlobalFreeRow = 0, kGlobalSecondRow = 1;  // rows of page 1

// clang-format off
// Data page:
//   Jet 4  Jet 3
//     0      0   01 01
//     2      2   u16 free bytes: lowest row start - end of the slots
//     4      4   u32 owner
//     8      -   u32 stamp, on the page where a chain of a long value starts; else 0
//    12      8   u16 slots
//    14     10   u16[] slots ->
//   ... free ...                           <- rows; row 0 ends at the page's end, row i where row i - 1 starts
//
// Slot:
//   bit 15    hidden: the body of a row that is reached through a pointer; with bit 14: deleted
//   bit 14    the row is only a pointer to the place where its body is
//   bits 0-12 start of the row; may be the page's size for an empty row at the page's end
// clang-format on
struct SDataPageLayout {
  uint16_t stamp;  // kAbsent: none
  uint16_t slotCount;
  uint16_t slots;  // also the length of the head

  // No sound page holds more.
  [[nodiscard]] constexpr uint32_t MaximumSlots(uint32_t pageSize) const { return (pageSize - slots) / 2; }
};
inline constexpr uint16_t kSlotHidden = 0x8000, kSlotPointer = 0x4000;
inline constexpr uint16_t kSlotDeleted = kSlotHidden | kSlotPointer;
inline constexpr uint16_t kSlotStart = 0x1FFF;
inline constexpr uint16_t kSlotFlags = 0xE000;  // none is set in the slot of a plain row
static_assert((kSlotStart ^ kSlotFlags) == 0xFFFF && (kSlotDeleted & kSlotStart) == 0);

// A row pointer is four bytes: the slot's number, then the page's in three.
inline constexpr size_t kRowPointerSize = 4;
inline constexpr uint32_t kMaxRowsPerPage = 255;  // that are written; a pointer's byte reaches one further
inline constexpr uint32_t kMaxSlots = 256;
constexpr uint32_t MakeRowPointer(uint32_t page, uint32_t slot) {
  return page << 8 | slot;
}
constexpr uint32_t PageOfPointer(uint32_t pointer) {
  return pointer >> 8;
}
constexpr uint32_t RowOfPointer(uint32_t pointer) {
  return pointer & 0xFF;
}
static_assert(PageOfPointer(MakeRowPointer(0x123456, 0x78)) == 0x123456);

struct SRowPointer {
  uint32_t slot = 0;
  uint32_t page = 0;

  static constexpr SRowPointer FromWord(uint32_t word) { return {RowOfPointer(word), PageOfPointer(word)}; }
  [[nodiscard]] constexpr uint32_t ToWord() const { return MakeRowPointer(page, slot); }
};

// clang-format off
// Usage map row:  0 u8 0 | 1 u32 first page | 5 bits        or  0 u8 1 | 1 u32[] pages of bits (0: none)
// Page of bits:   0 05 01 00 00 | 4 bits
// Bit k, lowest first, of a row stands for page first + k; the i-th page of bits begins with page i x its bits.
// A table's map names the pages in use, the global map those that are free.
// clang-format on
struct SUsageMapLayout {
  uint16_t rowSize;       // as created; an inline row grows in steps of kMapGrowth
  bool isSharedBySystem;  // the small system tables have their maps on one page
};
inline constexpr uint8_t kMapInline = 0, kMapReferences = 1;
inline constexpr size_t kMapStart = 1, kMapBits = 5, kMapPages = 1, kMapPageBits = 4, kMapGrowth = 4;

}  // namespace tolvane
