#include "embedded/UsageMap.h"

#include <algorithm>

#include "format/MapRow.h"
#include "format/SlottedPage.h"

namespace tolvane {
namespace {

constexpr uint32_t kStartStep = 16;  // inline maps start at a multiple of this

CDaoResult BadMap() {
  return {EDaoError::NotADatabase, u"A map of used pages in the database is damaged."};
}

CDaoResult LoadMapPage(CPageFile& file, uint32_t page, CSlottedPage& mapPage) {
  if (page == 0 || page >= file.GetPageCount()) return BadMap();
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  if (CDaoResult result = file.Read(page, bytes); !result.IsOk()) return result;
  const bool isSound = mapPage.Load(bytes);
  const uint32_t owner = page == kGlobalMapPage ? kOwnerGlobalMaps : kOwnerMaps;
  return isSound && mapPage.GetOwner() == owner ? CDaoResult::Ok() : BadMap();
}

// Writes the bits into pages of their own, those that the row has first, and makes `row` refer to them.
// Pages of bits may themselves lengthen the file, so all are allocated before the first is filled.
template <class IsNeeded, class SetBits>
CDaoResult StoreReferences(CPageFile& file, std::vector<uint8_t>& row, IsNeeded isNeeded, SetBits setBits) {
  const uint32_t perPage = PagesPerMapPage(file.GetLayout());
  std::vector<uint32_t> references = MapPagesOf(row);
  for (uint32_t i = 0; i < references.size(); i++)
    if (references[i] == 0 && isNeeded(i * perPage))
      if (CDaoResult result = file.Allocate(EPageUse::Structure, references[i]); !result.IsOk())
        return result;
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  for (uint32_t i = 0; i < references.size(); i++) {
    if (references[i] == 0) continue;
    setBits(i * perPage, StartMapPage(bytes));
    if (CDaoResult result = file.Write(references[i], bytes); !result.IsOk()) return result;
  }
  PutMapPages(references, row);
  return CDaoResult::Ok();
}

CDaoResult StoreTableReferences(CPageFile& file, const CPageSet& pages, std::vector<uint8_t>& row) {
  const uint32_t perPage = PagesPerMapPage(file.GetLayout());
  if (pages.GetLast() / perPage >= MapPagesOf(row).size())
    return {EDaoError::DatabaseTooLarge, u"A table has more pages than its maps can name."};
  const auto isHere = [&](uint32_t page, uint32_t first) {
    return page != CPageSet::kNone && page - first < perPage;
  };
  return StoreReferences(
      file, row, [&](uint32_t first) { return isHere(pages.FindFrom(first), first); },
      [&](uint32_t first, std::span<uint8_t> bits) {
        for (uint32_t page = pages.FindFrom(first); isHere(page, first); page = pages.FindFrom(page + 1))
          SetMapBit(bits, page - first);
      });
}

// The bytes that an inline row needs, and the page that its bits start at.
size_t InlineSize(const CPageSet& pages, size_t rowSize, uint32_t& start) {
  start = 0;
  if (pages.IsEmpty()) return rowSize;
  const uint32_t last = pages.GetLast();
  if (last >= 8 * (rowSize - kMapBits)) start = pages.GetFirst() / kStartStep * kStartStep;
  const size_t steps = (size_t{last - start} + 1 + 8 * kMapGrowth - 1) / (8 * kMapGrowth);
  return std::max(rowSize, kMapBits + kMapGrowth * steps);
}

void MakeInline(const CPageSet& pages, uint32_t start, size_t rowSize, std::vector<uint8_t>& row) {
  row.assign(rowSize, 0);
  PutLittle(std::span(row), kMapStart, start);
  pages.ForEach([&](uint32_t page) { SetMapBit(std::span(row).subspan(kMapBits), page - start); });
}

// Free are the file's free pages and all numbers behind its end, out of the `capacity` numbers from `first`
// on.
void SetFreeBits(const CPageFile& file, uint32_t first, uint32_t capacity, std::span<uint8_t> bits) {
  const uint32_t end = first + capacity;
  const CPageSet& free = file.GetFreePages();
  for (uint32_t page = free.FindFrom(first); page < end; page = free.FindFrom(page + 1))
    SetMapBit(bits, page - first);
  for (uint32_t page = std::max(first, file.GetPageCount()); page < end; page++)
    SetMapBit(bits, page - first);
}

CDaoResult StoreGlobalReferences(CPageFile& file, std::vector<uint8_t>& row) {
  const uint32_t perPage = PagesPerMapPage(file.GetLayout());
  return StoreReferences(
      file, row, [&](uint32_t first) { return first < file.GetPageCount(); },
      [&](uint32_t first, std::span<uint8_t> bits) { SetFreeBits(file, first, perPage, bits); });
}

}  // namespace

CDaoResult CreateUsageMaps(CPageFile& file, size_t count, std::vector<uint32_t>& pointers) {
  const size_t rowSize = file.GetLayout().map.rowSize;
  CSlottedPage mapPage(file.GetLayout());
  pointers.clear();
  while (pointers.size() < count) {
    uint32_t page = 0;
    if (CDaoResult result = file.Allocate(EPageUse::Structure, page); !result.IsOk()) return result;
    mapPage.Start(kOwnerMaps);
    for (; pointers.size() < count && mapPage.HasRoomFor(rowSize); mapPage.AddRow(rowSize))
      pointers.push_back(MakeRowPointer(page, mapPage.GetRowCount()));
    if (CDaoResult result = file.Write(page, mapPage.Finish()); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

CDaoResult StoreUsageMap(CPageFile& file, uint32_t pointer, const CPageSet& pages) {
  CSlottedPage mapPage(file.GetLayout());
  if (CDaoResult result = LoadMapPage(file, PageOfPointer(pointer), mapPage); !result.IsOk()) return result;
  const std::span<const uint8_t> old = mapPage.GetRow(RowOfPointer(pointer));
  if (old.size() <= kMapBits) return BadMap();
  std::vector<uint8_t> row(old.begin(), old.end());
  uint32_t start = 0;
  const size_t size = InlineSize(pages, row.size(), start);
  if (row[0] == kMapInline && size - row.size() <= mapPage.GetFreeBytes()) {
    MakeInline(pages, start, size, row);
  } else if (CDaoResult result = StoreTableReferences(file, pages, row); !result.IsOk()) {
    return result;
  }
  if (!mapPage.ReplaceRow(RowOfPointer(pointer), row)) return BadMap();
  return file.Write(PageOfPointer(pointer), mapPage.Finish());
}

CDaoResult LoadUsageMap(CPageFile& file, uint32_t pointer, CPageSet& pages) {
  pages.Clear();
  CSlottedPage mapPage(file.GetLayout());
  if (CDaoResult result = LoadMapPage(file, PageOfPointer(pointer), mapPage); !result.IsOk()) return result;
  const std::span<const uint8_t> row = mapPage.GetRow(RowOfPointer(pointer));
  if (!IsMapRow(row)) return BadMap();
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  CDaoResult result;
  const auto open = [&](uint32_t page, uint64_t) {
    if (result.IsOk()) result = page < file.GetPageCount() ? file.Read(page, bytes) : BadMap();
    if (result.IsOk() && bytes[kPageTypeAt] != kPageMap) result = BadMap();
    return result.IsOk() ? std::span<const uint8_t>(bytes) : std::span<const uint8_t>();
  };
  ReadMapRow(file.GetLayout(), row, open, [&](uint64_t page) {
    if (page < file.GetPageCount()) pages.Add(static_cast<uint32_t>(page));
    return true;
  });
  return result;
}

CDaoResult StoreGlobalMap(CPageFile& file) {
  const SLayout& layout = file.GetLayout();
  std::vector<uint8_t> bytes(layout.pageSize);
  if (CDaoResult result = file.Read(kGlobalMapPage, bytes); !result.IsOk()) return result;
  CSlottedPage mapPage(layout);
  if (!mapPage.Load(bytes) || mapPage.GetRowCount() != 2) {
    mapPage.Start(kOwnerGlobalMaps);
    mapPage.AddRow(layout.map.rowSize);
    mapPage.AddRow(layout.map.rowSize);
  }
  const std::span<const uint8_t> old = mapPage.GetRow(kGlobalFreeRow);
  std::vector<uint8_t> row(old.begin(), old.end());
  const size_t steps = (file.GetPageCount() + 8 * kMapGrowth - 1) / (8 * kMapGrowth);
  const size_t size = std::max(row.size(), kMapBits + kMapGrowth * steps);
  if (row[0] == kMapInline && size - row.size() <= mapPage.GetFreeBytes()) {
    row.assign(size, 0);
    SetFreeBits(file, 0, static_cast<uint32_t>(8 * (size - kMapBits)), std::span(row).subspan(kMapBits));
  } else if (CDaoResult result = StoreGlobalReferences(file, row); !result.IsOk()) {
    return result;
  }
  if (!mapPage.ReplaceRow(kGlobalFreeRow, row)) return BadMap();
  return file.Write(kGlobalMapPage, mapPage.Finish());
}

CDaoResult LoadGlobalMap(CPageFile& file) {
  CPageSet pages;
  const uint32_t pointer = MakeRowPointer(kGlobalMapPage, kGlobalFreeRow);
  if (CDaoResult result = LoadUsageMap(file, pointer, pages); !result.IsOk()) return result;
  pages.ForEach([&](uint32_t page) {
    if (page >= kFirstFreePage) file.Release(page);
  });
  return CDaoResult::Ok();
}

}  // namespace tolvane
