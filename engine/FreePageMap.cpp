#include "engine/FreePageMap.h"

#include <algorithm>

#include "format/MapRow.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Pages of the largest file that the formats know, 2 GiB. Pages beyond count as used.
constexpr uint64_t kMaximumPages = uint64_t{1} << 20;

}  // namespace

bool ReadUsageMap(CPageReader& reader, const SLayout& layout, SRowPointer map, uint64_t mostPages,
                  const std::function<void(uint32_t)>& take) {
  std::vector<uint8_t> page(layout.pageSize);
  if (!reader.ReadPage(uint64_t{map.page} * layout.pageSize, page)) return false;
  if (!IsPageOf(page, kPageData) ||
      OwnerOf(page) != (map.page == kGlobalMapPage ? kGlobalMapPage : kOwnerMaps))
    return false;
  const auto row = FindRow(page, layout, map.slot, kSlotStart);
  if (!row || !IsMapRow(*row)) return false;
  std::vector<uint8_t> bits(layout.pageSize);
  const auto open = [&](uint32_t number, uint64_t first) {
    const bool isThere = first < kMaximumPages && reader.ReadPage(uint64_t{number} * layout.pageSize, bits) &&
                         bits[0] == kPageMap;
    return isThere ? std::span<const uint8_t>(bits) : std::span<const uint8_t>();
  };
  const auto visit = [&](uint64_t number) {
    if (number >= kMaximumPages) return true;
    if (mostPages == 0) return false;
    mostPages--;
    take(static_cast<uint32_t>(number));
    return true;
  };
  return ReadMapRow(layout, *row, open, visit).has_value();
}

void CFreePageMap::Load(CPageReader& reader, const SLayout& layout) {
  m_isFree.assign(static_cast<size_t>(std::min(reader.GetPageCount(layout.pageSize), kMaximumPages)), false);
  m_isKnown =
      ReadUsageMap(reader, layout, {.slot = 0, .page = kGlobalMapPage}, kMaximumPages, [this](uint32_t page) {
        if (page < m_isFree.size()) m_isFree[page] = true;
      });
}

void CFreePageMap::Doubt() {
  for (uint32_t page = kHeaderPage; page <= kRelationshipsPage; page++)
    if (!IsFree(page)) return;
  m_isKnown = false;
  m_isFree.clear();
}

}  // namespace tolvane
