#include "engine/FreePageMap.h"

#include <algorithm>

#include "engine/DataReader.h"
#include "engine/PageSlot.h"

namespace tolvane {

namespace {

// Pages of the largest file that the formats know, 2 GiB. Pages beyond count as used.
constexpr uint64_t kMaximumPages = uint64_t{1} << 20;

class CMapWalk {
 public:
  CMapWalk(CPageReader& reader, const SLayout& layout, uint64_t mostPages,
           const std::function<void(uint32_t)>& take)
      : m_reader(reader), m_layout(layout), m_pagesLeft(mostPages), m_take(take) {}

  bool Read(std::span<const uint8_t> row) {
    if (row.size() < kMapBits) return false;
    if (row.front() == kMapInline)
      return TakeBits(CDataReader::ReadUInt32(row.data() + 1), row.subspan(kMapBits));
    return row.front() == kMapReferences && TakeMapPages(row.subspan(kMapPages));
  }

 private:
  bool TakeBits(uint64_t firstPage, std::span<const uint8_t> bits) {
    for (size_t i = 0; i < bits.size() * 8 && firstPage + i < kMaximumPages; i++) {
      if ((bits[i / 8] >> (i % 8) & 1) == 0) continue;
      if (m_pagesLeft == 0) return false;
      m_pagesLeft--;
      m_take(static_cast<uint32_t>(firstPage + i));
    }
    return true;
  }

  bool TakeMapPages(std::span<const uint8_t> numbers) {
    const uint64_t pagesEach = uint64_t{m_layout.pageSize - kMapPageBits} * 8;
    std::vector<uint8_t> page(m_layout.pageSize);
    for (size_t i = 0; (i + 1) * 4 <= numbers.size() && i * pagesEach < kMaximumPages; i++) {
      const uint64_t number = CDataReader::ReadUInt32(&numbers[i * 4]);
      if (number == 0 || !m_reader.ReadPage(number * m_layout.pageSize, page) || page[0] != kPageMap)
        continue;
      if (!TakeBits(i * pagesEach, std::span(page).subspan(kMapPageBits))) return false;
    }
    return true;
  }

  CPageReader& m_reader;
  const SLayout& m_layout;
  uint64_t m_pagesLeft;
  const std::function<void(uint32_t)>& m_take;
};

}  // namespace

bool ReadUsageMap(CPageReader& reader, const SLayout& layout, SRowPointer map, uint64_t mostPages,
                  const std::function<void(uint32_t)>& take) {
  std::vector<uint8_t> page(layout.pageSize);
  if (!reader.ReadPage(uint64_t{map.page} * layout.pageSize, page)) return false;
  if (page[0] != kPageData || page[1] != kPageFormatted) return false;
  const uint32_t owner = CDataReader::ReadUInt32(&page[kOwnerOffset]);
  if (owner != (map.page == kGlobalMapPage ? kGlobalMapPage : kOwnerMaps)) return false;
  const auto row = FindRow(page, layout, map.slot, kSlotStart);
  return row && CMapWalk(reader, layout, mostPages, take).Read(*row);
}

void CFreePageMap::Load(CPageReader& reader, const SLayout& layout) {
  m_isFree.assign(static_cast<size_t>(std::min(reader.GetPageCount(layout.pageSize), kMaximumPages)), false);
  ReadUsageMap(reader, layout, {.slot = 0, .page = kGlobalMapPage}, kMaximumPages, [this](uint32_t page) {
    if (page < m_isFree.size()) m_isFree[page] = true;
  });
}

}  // namespace tolvane
