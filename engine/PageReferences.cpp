#include "engine/PageReferences.h"

#include "format/IndexPage.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"
#include "format/SystemObjects.h"

namespace tolvane {

namespace {

// Type of an object, behind its number and its parent's, in a row of the catalogue.
constexpr size_t kCatalogueType = 8;

}  // namespace

SPageIdentity IdentityOf(std::span<const uint8_t> page, const SLayout& layout) {
  if (IsBlankPage(page)) return {EPageNature::Blank};
  // The rows of a dropped table still name its definition.
  if (IsPageOf(page, kPageDefinition) || IsPageOf(page, kPageDroppedDefinition))
    return {EPageNature::Definition};
  if (!IsSoundPage(page, layout)) return {};
  const uint32_t owner = OwnerOf(page);
  if (page[0] == kPageIndexNode || page[0] == kPageIndexLeaf) return {EPageNature::Index, owner};
  if (owner == kOwnerMaps) return {EPageNature::Maps};
  return owner == kOwnerLongValues || owner == kOwnerGlobalMaps ? SPageIdentity{}
                                                                : SPageIdentity{EPageNature::Rows, owner};
}

void ForEachReference(std::span<const uint8_t> page, const SPageIdentity& is, const SLayout& layout,
                      const std::function<void(uint32_t, const SPageIdentity&)>& take) {
  const auto takeWord = [&](size_t at, SPageIdentity other) {
    if (const uint32_t number = GetLittle<uint32_t>(page, at); number != 0) take(number, other);
  };
  if (is.kind == EPageNature::Definition) {
    const auto map = SRowPointer::FromWord(GetLittle<uint32_t>(page, layout.definition.ownedMap));
    if (IsFirstOfDefinition(page, layout) && map.page > kGlobalMapPage)
      take(map.page, SPageIdentity{EPageNature::Maps});
  }
  if (is.kind == EPageNature::Rows || is.kind == EPageNature::Index)
    take(is.owner, SPageIdentity{EPageNature::Definition});
  if (is.kind == EPageNature::Index) {
    takeWord(layout.index.previous, is);
    takeWord(layout.index.next, is);
    takeWord(layout.index.tail, is);
    uint32_t before = 0;
    if (page[0] == kPageIndexLeaf)
      ForEachIndexEntry(page, layout.index, [&](SRowPointer row) {
        if (row.page != before) take(row.page, SPageIdentity{EPageNature::Rows, is.owner});
        before = row.page;
      });
  }
  if (is == SPageIdentity{EPageNature::Rows, kObjectsPage} && AreSlotsSound(page, layout))
    ForEachLiveSlot(page, layout, [&](uint32_t slot, uint16_t word) {
      const auto row = FindRow(page, layout, slot, kSlotStart);
      const size_t type = layout.row.countSize + kCatalogueType;
      if ((word & kSlotPointer) == 0 && row && row->size() >= type + sizeof(uint16_t) &&
          GetLittle<uint16_t>(*row, type) == kObjectTable)
        take(GetLittle<uint32_t>(*row, layout.row.countSize), SPageIdentity{EPageNature::Definition});
    });
}

}  // namespace tolvane
