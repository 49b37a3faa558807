#include "engine/RowLearning.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "engine/PageRows.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Pages of a table that are looked at.
constexpr size_t kPagesLearned = 64, kUnsoundPagesLearned = 16;

size_t CountBytes(std::span<const SPageRow> rows) {
  size_t bytes = 0;
  for (const SPageRow& row : rows) bytes += row.end - row.start;
  return bytes;
}

void LearnPage(std::span<const uint8_t> page, const SLayout& layout, CRowProfile& profile, CRowFrame& frame) {
  const uint32_t count = std::min<uint32_t>(GetLittle<uint16_t>(page, layout.data.slotCount),
                                            layout.data.MaximumSlots(layout.pageSize));
  size_t end = page.size();
  for (uint32_t slot = 0; slot < count; slot++) {
    const uint16_t word = *ReadSlot(page, layout, slot);
    const size_t start = word & kSlotStart;
    const auto row = RowBetween(page, layout, slot, start, end);
    if (row && (word & (kSlotHidden | kSlotPointer)) == 0) profile.Learn(frame, *row);
    end = start;
  }
}

}  // namespace

void LearnRows(CPageReader& reader, const CAccessTable& table, const SLayout& layout, CRowProfile& profile) {
  CRowFrame frame(layout.row);
  std::vector<uint8_t> page(layout.pageSize);
  const size_t count = table.dataPages.GetCount(), step = count / kPagesLearned + 1;
  for (size_t i = 0; i < count; i += step)
    if (reader.ReadPage(table.dataPages.begin()[static_cast<ptrdiff_t>(i)], page))
      LearnPage(page, layout, profile, frame);
  profile.Conclude();
}

// Their rows may have been stored when the table had fewer columns.
void LearnRowsWithoutSlots(CPageReader& reader, std::span<const uint64_t> offsets, const SLayout& layout,
                           CRowProfile& profile) {
  if (offsets.empty() || profile.IsConfirmed()) return;
  CRowFrame frame(layout.row);
  std::vector<uint8_t> page(layout.pageSize);
  const auto find = [&](uint64_t offset) {
    return reader.ReadPage(offset, page) ? FindRows(page, layout, profile, frame) : std::vector<SPageRow>();
  };
  offsets = offsets.first(std::min(offsets.size(), kUnsoundPagesLearned));
  std::vector<std::vector<SPageRow>> usual;
  for (const uint64_t offset : offsets) usual.push_back(find(offset));
  profile.AllowAnyCount();
  for (size_t i = 0; i < offsets.size(); i++) {
    std::vector<SPageRow> rows = find(offsets[i]);
    // Rows of few columns are found by chance, but those leave most of the page over.
    if (CountBytes(rows) <= CountBytes(usual[i])) rows = std::move(usual[i]);
    for (const SPageRow& row : rows)
      profile.Learn(frame, std::span(page).subspan(row.start, row.end - row.start));
  }
  profile.Conclude();
}

}  // namespace tolvane
