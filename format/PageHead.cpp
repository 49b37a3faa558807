#include "format/PageHead.h"

#include <algorithm>
#include <bit>

namespace tolvane {
namespace {

// The slots' number, the last one and the free bytes.
bool IsSoundRowPage(std::span<const uint8_t> page, const SLayout& layout) {
  const uint32_t count = GetLittle<uint16_t>(page, layout.data.slotCount);
  if (count > layout.data.MaximumSlots(layout.pageSize)) return false;
  const size_t tableEnd = layout.data.slots + size_t{2} * count;
  const uint32_t last = count == 0 ? layout.pageSize : GetLittle<uint16_t>(page, tableEnd - 2);
  return (last & kSlotStart) == tableEnd + GetLittle<uint16_t>(page, kFreeBytesOffset);
}

// The index of an empty table has one leaf without entries.
bool IsSoundIndexPage(std::span<const uint8_t> page, const SIndexPageLayout& at) {
  const size_t end = EndOfEntries(page, at);
  return OwnerOf(page) != 0 && end + GetLittle<uint16_t>(page, kFreeBytesOffset) == at.Capacity();
}

}  // namespace

bool IsBlankPage(std::span<const uint8_t> page) {
  return std::ranges::all_of(page, [](uint8_t byte) { return byte == 0; });
}

bool HasDefinitionHead(std::span<const uint8_t> page, const SLayout& layout) {
  const auto signature = std::span(layout.definition.signature).first(layout.definition.signatureSize);
  return std::equal(signature.begin(), signature.end(), page.begin());
}

bool HasDefinitionMark(std::span<const uint8_t> page, const SLayout& layout) {
  const uint16_t at = layout.definition.magic;
  return at == kAbsent || GetLittle<uint32_t>(page, at) == kDefinitionMagic;
}

bool HasTableType(std::span<const uint8_t> page, const SLayout& layout) {
  const uint8_t type = page[layout.definition.tableType];
  return type == kSystemTable || type == kUserTable;
}

size_t EndOfEntries(std::span<const uint8_t> page, const SIndexPageLayout& at) {
  size_t byte = at.entries;
  while (byte > at.mask && page[byte - 1] == 0) byte--;
  if (byte == at.mask) return 0;
  return 8 * (byte - 1 - at.mask) + static_cast<size_t>(std::bit_width(page[byte - 1])) - 1;
}

bool IsSoundPage(std::span<const uint8_t> page, const SLayout& layout) {
  if (page.size() < layout.pageSize || page[kPageMarkAt] != kPageFormatted) return false;
  switch (page[kPageTypeAt]) {
    case kPageData:
    case kPageEmptiedData:
      return IsSoundRowPage(page, layout);
    case kPageDefinition:
      return HasDefinitionHead(page, layout) && HasDefinitionMark(page, layout);
    case kPageIndexNode:
    case kPageIndexLeaf:
      return IsSoundIndexPage(page, layout.index);
    default:
      return false;
  }
}

void MendPageType(std::span<uint8_t> page, const SLayout& layout) {
  const uint8_t type = page[kPageTypeAt], mark = page[kPageMarkAt];
  const bool provesItself = type == kPageData || type == kPageIndexNode || type == kPageIndexLeaf;
  if (HasPageType(page) && (!provesItself || IsSoundPage(page, layout))) return;
  const bool isLeaf = page[layout.index.level] == 0 && GetLittle<uint32_t>(page, layout.index.tail) == 0;
  page[kPageMarkAt] = kPageFormatted;
  for (const EPageType kind : {kPageData, kPageDefinition, isLeaf ? kPageIndexLeaf : kPageIndexNode}) {
    page[kPageTypeAt] = kind;
    if (IsSoundPage(page, layout)) return;
  }
  page[kPageTypeAt] = type;
  page[kPageMarkAt] = mark;
}

}  // namespace tolvane
