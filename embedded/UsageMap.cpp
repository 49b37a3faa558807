#include "embedded/UsageMap.h"

#include <algorithm>

#include "embedded/SlottedPage.h"

namespace tolvane {
namespace {

constexpr uint32_t kStartStep = 16;  // inline maps start at a multiple of this

CDaoResult BadMap() {
  return {EDaoError::NotADatabase, u"A map of used pages in the database is damaged."};
}

uint32_t PagesPerBitPage(const SLayout& layout) {
  return (layout.pageSize - static_cast<uint32_t>(kMapPageBits)) * 8;
}

void SetBit(std::span<uint8_t> bits, size_t bit) {
  bits[bit / 8] = static_cast<uint8_t>(bits[bit / 8] | 1u << (bit % 8));
}

void AddBits(std::span<const uint8_t> bits, uint64_t first, uint32_t pageCount, CPageSet& pages) {
  for (size_t i = 0; i < bits.size() * 8 && first + i < pageCount; i++)
    if ((bits[i / 8] >> (i % 8) & 1) != 0) pages.Add(static_cast<uint32_t>(first + i));
}

CDaoResult LoadMapPage(CPageFile& file, uint32_t page, CSlottedPage& mapPage) {
  if (page == 0 || page >= file.GetPageCount()) return BadMap();
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  if (CDaoResult result = file.Read(page, bytes); !result.IsOk()) return result;
  const bool isSound = mapPage.Load(bytes);
  const uint32_t owner = page == kGlobalMapPage ? kOwnerGlobalMaps : kOwnerMaps;
  return isSound && mapPage.GetOwner() == owner ? CDaoResult::Ok() : BadMap();
}

// The pages of bits that a row refers to already; 0 where it has none.
std::vector<uint32_t> ReferencesOf(std::span<const uint8_t> row) {
  std::vector<uint32_t> references((row.size() - kMapPages) / 4);
  if (row[0] == kMapReferences)
    for (size_t i = 0; i < references.size(); i++)
      references[i] = GetLittle<uint32_t>(row, kMapPages + 4 * i);
  return references;
}

CDaoResult WriteBitPage(CPageFile& file, uint32_t page, std::span<uint8_t> bytes) {
  bytes[kPageTypeAt] = static_cast<uint8_t>(kPageMap);
  bytes[kPageMarkAt] = kPageFormatted;
  return file.Write(page, bytes);
}

// Writes the bits into pages of their own, those that the row has first, and makes `row` refer to them.
CDaoResult StoreReferences(CPageFile& file, const CPageSet& pages, std::vector<uint8_t>& row) {
  const uint32_t perPage = PagesPerBitPage(file.GetLayout());
  std::vector<uint32_t> references = ReferencesOf(row);
  if (pages.GetLast() / perPage >= references.size())
    return {EDaoError::DatabaseTooLarge, u"A table has more pages than its maps can name."};
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  for (size_t i = 0; i < references.size(); i++) {
    const uint32_t first = static_cast<uint32_t>(i) * perPage;
    uint32_t page = pages.FindFrom(first);
    const bool isNeeded = page != CPageSet::kNone && page - first < perPage;
    if (!isNeeded && references[i] == 0) continue;
    if (references[i] == 0)
      if (CDaoResult result = file.Allocate(EPageUse::Structure, references[i]); !result.IsOk())
        return result;
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    for (; page != CPageSet::kNone && page - first < perPage; page = pages.FindFrom(page + 1))
      SetBit(std::span(bytes).subspan(kMapPageBits), page - first);
    if (CDaoResult result = WriteBitPage(file, references[i], bytes); !result.IsOk()) return result;
  }
  std::fill(row.begin(), row.end(), uint8_t{0});
  row[0] = kMapReferences;
  for (size_t i = 0; i < references.size(); i++) PutLittle(std::span(row), kMapPages + 4 * i, references[i]);
  return CDaoResult::Ok();
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
  pages.ForEach([&](uint32_t page) { SetBit(std::span(row).subspan(kMapBits), page - start); });
}

// Free are the file's free pages and all numbers behind its end, out of the `capacity` numbers from `first`
// on.
void SetFreeBits(const CPageFile& file, uint32_t first, uint32_t capacity, std::span<uint8_t> bits) {
  const uint32_t end = first + capacity;
  const CPageSet& free = file.GetFreePages();
  for (uint32_t page = free.FindFrom(first); page < end; page = free.FindFrom(page + 1))
    SetBit(bits, page - first);
  for (uint32_t page = std::max(first, file.GetPageCount()); page < end; page++) SetBit(bits, page - first);
}

// Pages of bits may themselves lengthen the file, so all are allocated before the first is filled.
CDaoResult MakeGlobalReferences(CPageFile& file, std::vector<uint8_t>& row) {
  const uint32_t perPage = PagesPerBitPage(file.GetLayout());
  std::vector<uint32_t> references = ReferencesOf(row);
  for (size_t i = 0; i < references.size() && uint64_t{i} * perPage < file.GetPageCount(); i++)
    if (references[i] == 0)
      if (CDaoResult result = file.Allocate(EPageUse::Structure, references[i]); !result.IsOk())
        return result;
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  for (size_t i = 0; i < references.size(); i++) {
    if (references[i] == 0) continue;
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    SetFreeBits(file, static_cast<uint32_t>(i) * perPage, perPage, std::span(bytes).subspan(kMapPageBits));
    if (CDaoResult result = WriteBitPage(file, references[i], bytes); !result.IsOk()) return result;
  }
  std::fill(row.begin(), row.end(), uint8_t{0});
  row[0] = kMapReferences;
  for (size_t i = 0; i < references.size(); i++) PutLittle(std::span(row), kMapPages + 4 * i, references[i]);
  return CDaoResult::Ok();
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
  } else if (CDaoResult result = StoreReferences(file, pages, row); !result.IsOk()) {
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
  if (row.size() <= kMapBits) return BadMap();
  if (row[0] == kMapInline) {
    AddBits(row.subspan(kMapBits), GetLittle<uint32_t>(row, kMapStart), file.GetPageCount(), pages);
    return CDaoResult::Ok();
  }
  const std::vector<uint32_t> references = ReferencesOf(row);
  std::vector<uint8_t> bytes(file.GetLayout().pageSize);
  for (size_t i = 0; i < references.size(); i++) {
    if (references[i] == 0) continue;
    if (references[i] >= file.GetPageCount()) return BadMap();
    if (CDaoResult result = file.Read(references[i], bytes); !result.IsOk()) return result;
    if (bytes[kPageTypeAt] != static_cast<uint8_t>(kPageMap)) return BadMap();
    AddBits(std::span(bytes).subspan(kMapPageBits), uint64_t{i} * PagesPerBitPage(file.GetLayout()),
            file.GetPageCount(), pages);
  }
  return CDaoResult::Ok();
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
  } else if (CDaoResult result = MakeGlobalReferences(file, row); !result.IsOk()) {
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
