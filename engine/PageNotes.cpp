#include "engine/PageNotes.h"

#include "engine/PageTwins.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

SPageNote NotePage(std::span<const uint8_t> page, uint64_t number, bool isRead, const SLayout& layout,
                   const SRecoveryRules& rules) {
  SPageNote note;
  note.owner = OwnerOf(page);
  note.isRead = isRead;
  note.isData = IsPageOf(page, kPageData);
  note.hasNoHead = number != kHeaderPage && !HasPageType(page) && !IsBlankPage(page);
  const bool isLongValue = note.isData && note.owner == kOwnerLongValues;
  note.isBrokenLongValue = isLongValue && rules.rowsMatchDefinition && !AreSlotsSound(page, layout);
  if (note.isData && !isLongValue && rules.adoptOrphanPages) note.print = CPageTwins::PrintOf(page);
  return note;
}

}  // namespace tolvane
