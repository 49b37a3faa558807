#include "engine/PageNotes.h"

#include "engine/DefinitionParts.h"
#include "engine/PageTwins.h"
#include "format/MapRow.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

bool StartsTable(std::span<const uint8_t> page, const SLayout& layout, const SRecoveryRules& rules) {
  if (rules.requireDefinitionMark) return IsFirstOfDefinition(page, layout);
  return HasDefinitionHead(page, layout) && (layout.isJet3 || HasTableType(page, layout));
}

// A page of rows whose owner was wiped looks like one of maps. What most of its rows are decides.
bool HoldsNoMaps(std::span<const uint8_t> page, const SLayout& layout) {
  if (!AreSlotsSound(page, layout)) return false;
  uint32_t maps = 0, others = 0;
  ForEachLiveSlot(page, layout, [&](uint32_t slot, uint16_t /*word*/) {
    const auto row = FindRow(page, layout, slot, kSlotStart);
    const bool isMap = row && IsMapRow(*row) && row->size() >= layout.map.rowSize;
    (isMap ? maps : others)++;
  });
  return others > maps;
}

}  // namespace

SPageNote NotePage(std::span<const uint8_t> page, uint64_t number, bool isRead, const SLayout& layout,
                   const SRecoveryRules& rules) {
  SPageNote note;
  note.owner = OwnerOf(page);
  note.isRead = isRead;
  note.isData = IsPageOf(page, kPageData);
  note.startsTable = StartsTable(page, layout, rules);
  note.mayStartTable =
      !note.startsTable && rules.mendDefinitions && JudgeFirstPage(page, layout) != EFirstPage::No;
  note.hasNoHead = number != kHeaderPage && !HasPageType(page) && !IsBlankPage(page);
  note.hasNoMaps =
      note.isData && note.owner == kOwnerMaps && rules.adoptOrphanPages && HoldsNoMaps(page, layout);
  const bool isLongValue = note.isData && note.owner == kOwnerLongValues;
  note.isBrokenLongValue = isLongValue && rules.rowsMatchDefinition && !AreSlotsSound(page, layout);
  if (note.isData && !isLongValue && rules.adoptOrphanPages) note.print = CPageTwins::PrintOf(page);
  return note;
}

}  // namespace tolvane
