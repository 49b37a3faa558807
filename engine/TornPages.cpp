#include "engine/TornPages.h"

#include <algorithm>
#include <vector>

#include "engine/PageRows.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Cuts are tried so far apart; then each one near the best.
constexpr size_t kStep = 16;

// Two for each row of the profile, and one where the cut goes through none of them.
size_t Rate(std::span<const uint8_t> page, size_t cut, const SLayout& layout, const CRowProfile& profile,
            CRowFrame& frame) {
  if (!AreSlotsSound(page, layout)) return 0;
  size_t rate = 1;
  for (const SPageRow& row : RowsOfSlots(page, layout)) {
    if (row.flags != 0 || row.start >= row.end) continue;
    if (!profile.Accepts(frame, page.subspan(row.start, row.end - row.start))) continue;
    rate += row.start < cut && cut < row.end ? 1 : 2;
  }
  return rate;
}

}  // namespace

bool MendTornPage(CPageReader& reader, uint64_t offset, const SLayout& layout, const CRowProfile& profile,
                  CRowFrame& frame, std::span<uint8_t> page) {
  std::vector<uint8_t> tried(page.size());
  size_t best = Rate(page, page.size(), layout, profile, frame), first = page.size(), last = first;
  const auto tryCut = [&](size_t cut) {
    if (!reader.ReadTornPage(offset, cut, tried)) return;
    const size_t rate = Rate(tried, cut, layout, profile, frame);
    if (rate < best || (rate == best && first == page.size())) return;
    first = rate > best ? cut : std::min(first, cut);
    last = rate > best ? cut : std::max(last, cut);
    best = rate;
  };
  for (size_t cut = 0; cut < page.size(); cut += kStep) tryCut(cut);
  const size_t from = std::min(first, page.size() - 1) / kStep * kStep;
  for (size_t cut = from > kStep ? from - kStep : 0; cut < std::min(from + 2 * kStep, page.size()); cut++)
    tryCut(cut);
  // Anywhere in the row over which the cut goes its frame holds together.
  return first < page.size() && reader.ReadTornPage(offset, first + (last - first) / 2, page);
}

}  // namespace tolvane
