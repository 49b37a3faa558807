#include "engine/FreePageMap.h"

#include <algorithm>

#include "engine/DataReader.h"
#include "engine/PageSlot.h"

namespace tolvane {

namespace {

constexpr uint8_t kInlineForm = 0x00;
constexpr uint8_t kReferenceForm = 0x01;
constexpr size_t kInlineBits = 5;
constexpr size_t kReferences = 1;
constexpr size_t kMapPageHead = 4;
// Pages of the largest file that the formats know, 2 GiB. Pages beyond count as used.
constexpr uint64_t kMaximumPages = uint64_t{1} << 20;

}  // namespace

void CFreePageMap::Load(CPageReader& reader, const SLayout& layout) {
  m_isFree.assign(static_cast<size_t>(std::min(reader.GetPageCount(layout.pageSize), kMaximumPages)), false);
  std::vector<uint8_t> page(layout.pageSize);
  if (!reader.ReadPage(uint64_t{kGlobalMapPage} * layout.pageSize, page)) return;
  if (page[0] != kPageData || page[1] != kPageFormatted) return;
  if (CDataReader::ReadUInt32(&page[kOwnerOffset]) != kGlobalMapPage) return;
  const auto row = FindRow(page, layout, 0, kSlotStart);
  if (!row || row->size() < kInlineBits) return;

  if (row->front() == kInlineForm)
    TakeBits(CDataReader::ReadUInt32(row->data() + 1), row->subspan(kInlineBits));
  else if (row->front() == kReferenceForm)
    TakeMapPages(reader, layout, row->subspan(kReferences));
}

void CFreePageMap::TakeBits(uint64_t firstPage, std::span<const uint8_t> bits) {
  for (size_t i = 0; i < bits.size() * 8 && firstPage + i < m_isFree.size(); i++)
    if ((bits[i / 8] >> (i % 8) & 1) != 0) m_isFree[static_cast<size_t>(firstPage + i)] = true;
}

void CFreePageMap::TakeMapPages(CPageReader& reader, const SLayout& layout,
                                std::span<const uint8_t> numbers) {
  const uint64_t pagesEach = uint64_t{layout.pageSize - kMapPageHead} * 8;
  std::vector<uint8_t> page(layout.pageSize);
  for (size_t i = 0; (i + 1) * 4 <= numbers.size() && i * pagesEach < m_isFree.size(); i++) {
    const uint64_t number = CDataReader::ReadUInt32(&numbers[i * 4]);
    if (number == 0 || !reader.ReadPage(number * layout.pageSize, page) || page[0] != kPageMap) continue;
    TakeBits(i * pagesEach, std::span(page).subspan(kMapPageHead));
  }
}

}  // namespace tolvane
