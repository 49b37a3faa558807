#include "engine/PageRows.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "engine/DataReader.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t kShortestRow = 3;

// What a damaged page's own words say, where they can be true.
struct SHints {
  struct SFlags {
    uint16_t flags;
    size_t end;  // of the row; 0: the slot before does not say
  };
  std::optional<uint32_t> count;                   // of slots
  size_t lowest = 0;                               // no row starts below
  std::unordered_map<size_t, SFlags> flagsOf;      // by a row's start
  std::unordered_map<size_t, size_t> startBehind;  // start of the next slot's row, by a row's start
};

bool AreMost(size_t sound, size_t all) {
  return sound * 8 >= all * 7;
}

// The slots that can be true together: of those within the page the most whose starts never rise.
std::vector<uint32_t> SlotsInOrder(Bytes page, const SLayout& layout, uint32_t count) {
  constexpr uint32_t kNone = ~uint32_t{0};
  const size_t tableEnd = layout.data.slots + size_t{2} * count;
  const auto startOf = [&](uint32_t slot) { return size_t{*ReadSlot(page, layout, slot)} & kSlotStart; };
  std::vector<uint32_t> ends;  // by length less one: the last slot of the run that ends highest
  std::vector<uint32_t> before(count, kNone);
  for (uint32_t slot = 0; slot < count; slot++) {
    const size_t start = startOf(slot);
    const bool isKnown = (*ReadSlot(page, layout, slot) & kSlotFlags & ~kSlotDeleted) == 0;
    if (!isKnown || start < tableEnd || start > page.size()) continue;
    const auto at =
        std::ranges::partition_point(ends, [&](uint32_t other) { return startOf(other) >= start; });
    if (at != ends.begin()) before[slot] = *(at - 1);
    if (at == ends.end())
      ends.push_back(slot);
    else
      *at = slot;
  }
  std::vector<uint32_t> slots;
  for (uint32_t slot = ends.empty() ? kNone : ends.back(); slot != kNone; slot = before[slot])
    slots.push_back(slot);
  std::ranges::reverse(slots);
  return slots;
}

// How many slots the page has. Where its own number cannot be true or falls short, the free bytes tell: they
// end where the row of the last slot begins.
uint32_t CountSlots(Bytes page, const SLayout& layout) {
  const uint32_t said = CDataReader::ReadUInt16(&page[layout.data.slotCount]);
  const uint32_t most = layout.data.MaximumSlots(layout.pageSize);
  const size_t free = CDataReader::ReadUInt16(&page[kFreeBytesOffset]);
  const auto areInOrder = [&](uint32_t count) {
    return AreMost(SlotsInOrder(page, layout, count).size(), count);
  };
  const uint32_t least = said > most || !areInOrder(said) ? 0 : said;
  for (uint32_t count = most; count > least; count--) {
    const size_t lowest = *ReadSlot(page, layout, count - 1) & kSlotStart;
    if (lowest == layout.data.slots + size_t{2} * count + free && areInOrder(count)) return count;
  }
  return said;
}

SHints ReadHints(Bytes page, const SLayout& layout) {
  SHints hints;
  hints.lowest = layout.data.slots;
  const uint32_t count = CountSlots(page, layout);
  if (page[0] != kPageData || count > layout.data.MaximumSlots(layout.pageSize)) return hints;
  const size_t tableEnd = layout.data.slots + size_t{2} * count;
  const size_t free = CDataReader::ReadUInt16(&page[kFreeBytesOffset]);
  hints.lowest = tableEnd;
  if (count == 0) return hints;
  hints.count = count;
  if (tableEnd + free <= page.size()) hints.lowest = tableEnd + free;
  const std::vector<uint32_t> slots = SlotsInOrder(page, layout, count);
  const bool areMostSound = AreMost(slots.size(), count);
  size_t before = page.size();
  uint32_t next = 0;
  for (const uint32_t slot : slots) {
    const uint16_t word = *ReadSlot(page, layout, slot);
    const size_t start = word & kSlotStart;
    if (slot == next) hints.startBehind.try_emplace(before, start);
    // Words that were overwritten hit a row's start now and then, but hardly its end as well.
    if (start < before && (slot == next || areMostSound))
      hints.flagsOf[start] = {.flags = static_cast<uint16_t>(word & kSlotDeleted),
                              .end = slot == next ? before : 0};
    before = start;
    next = slot + 1;
  }
  return hints;
}

class CRowFinder {
 public:
  CRowFinder(Bytes page, SHints hints, const SLayout& layout, const CRowProfile& profile, CRowFrame& frame)
      : m_page(page), m_layout(layout), m_profile(profile), m_frame(frame), m_hints(std::move(hints)) {
    NoteStarts();
    NoteBounds();
  }

  std::vector<SPageRow> Find() {
    std::vector<SPageRow> rows;
    size_t end = m_page.size();
    uint32_t passed = 0;  // stretches that a slot stands for
    while (end >= m_hints.lowest + kShortestRow && !(m_hints.count && passed >= *m_hints.count)) {
      const auto stretch = StretchBefore(end);
      if (!stretch) {
        end--;
        continue;
      }
      if (stretch->flags != kSlotDeleted) {
        rows.push_back(*stretch);
        rows.back().slot = passed;
      }
      passed++;
      end = stretch->start;
    }
    return rows;
  }

 private:
  // Where a row may start: where the bytes state one of the numbers of columns.
  void NoteStarts() {
    const uint32_t width = m_layout.row.countSize;
    for (size_t at = m_hints.lowest; at + width <= m_page.size(); at++) {
      const uint32_t count = width == 1 ? m_page[at] : CDataReader::ReadUInt16(&m_page[at]);
      const auto& counts = m_profile.GetColumnCounts();
      if (std::ranges::find(counts, count) != counts.end()) m_starts.push_back(at);
    }
  }

  std::optional<SPageRow> StretchBefore(size_t end) {
    const auto hint = m_hints.startBehind.find(end);
    const size_t hinted = hint != m_hints.startBehind.end() ? hint->second : end;
    if (hinted < end && IsRow(hinted, end)) return SPageRow{0, hinted, end, FlagsOf(hinted, end)};
    if (const auto start = FindStart(end)) return SPageRow{0, *start, end, FlagsOf(*start, end)};
    const bool isStretch = hinted < end && hinted >= m_hints.lowest &&
                           ((FlagsOf(hinted, end) & kSlotPointer) != 0 || IsBound(hinted));
    if (isStretch) return SPageRow{0, hinted, end, FlagsOf(hinted, end)};
    return std::nullopt;
  }

  // What the slots say is the end of a row that is there: the row behind it reaches so far and no further,
  // however damaged it is.
  void NoteBounds() {
    for (const auto& [bound, next] : m_hints.startBehind)
      if (next < bound && IsRow(next, bound)) m_bounds.push_back(bound);
    std::ranges::sort(m_bounds);
  }
  [[nodiscard]] bool IsBound(size_t at) const { return std::ranges::binary_search(m_bounds, at); }

  [[nodiscard]] uint16_t FlagsOf(size_t start, size_t end) const {
    const auto found = m_hints.flagsOf.find(start);
    const bool isKnown =
        found != m_hints.flagsOf.end() && (found->second.end == 0 || found->second.end == end);
    return isKnown ? found->second.flags : uint16_t{0};
  }

  // The nearest start whose row ends there; no row reaches over a bound.
  std::optional<size_t> FindStart(size_t end) {
    const auto bound = std::ranges::lower_bound(m_bounds, end);
    const size_t least = bound != m_bounds.begin() ? *(bound - 1) : 0;
    for (auto at = std::ranges::lower_bound(m_starts, end); at != m_starts.begin();) {
      const size_t start = *--at;
      if (start < least) return std::nullopt;
      if (m_triesLeft == 0) return std::nullopt;
      m_triesLeft--;
      if (!IsRow(start, end)) continue;
      if (HoldsRows(start, end) || IsContested(start, end)) return std::nullopt;
      return start;
    }
    return std::nullopt;
  }

  // Where a row was moved away, its last bytes are still there, and may be taken for the end of a row that
  // begins within the row in front: with bytes to spare, which that one has not.
  bool IsContested(size_t start, size_t end) {
    const size_t slack = SlackOf(start, end);
    if (slack == 0) return false;
    for (size_t at = start + 1; at < end; at++)
      for (auto before = std::ranges::lower_bound(m_starts, start);
           before != m_starts.begin() && m_checksLeft > 0; m_checksLeft--)
        if (IsRow(*--before, at) && SlackOf(*before, at) < slack) return true;
    return false;
  }

  // Bytes between the values of a row and its offsets, which the engine leaves now and then; a row without
  // offsets has none.
  size_t SlackOf(size_t start, size_t end) {
    m_frame.Cut(m_page.subspan(start, end - start), m_profile.GetShape());
    const auto measure = m_frame.Measure();
    return measure && measure->fixedEnd != 0 ? measure->slack : 0;
  }

  // Whether a row ends within the stretch and another one may begin there: the end of a row whose last bytes
  // were overwritten can lead over many others.
  bool HoldsRows(size_t start, size_t end) {
    if (m_hints.count) return false;
    for (auto at = std::ranges::upper_bound(m_starts, start);
         at != m_starts.end() && *at < end && m_triesLeft > 0; ++at) {
      m_triesLeft--;
      if (IsRow(start, *at)) return true;
    }
    return false;
  }

  bool IsRow(size_t start, size_t end) {
    return start >= m_hints.lowest && m_profile.Recognises(m_frame, m_page.subspan(start, end - start));
  }

  // A page full of a row's first bytes must not cost the square of its size.
  static constexpr size_t kMostTries = size_t{1} << 17, kMostChecks = size_t{1} << 15;

  Bytes m_page;
  const SLayout& m_layout;
  const CRowProfile& m_profile;
  CRowFrame& m_frame;
  SHints m_hints;
  std::vector<size_t> m_starts, m_bounds;  // ascending
  size_t m_triesLeft = kMostTries, m_checksLeft = kMostChecks;
};

}  // namespace

std::vector<SPageRow> RowsOfSlots(Bytes page, const SLayout& layout) {
  std::vector<SPageRow> rows(CDataReader::ReadUInt16(&page[layout.data.slotCount]));
  size_t end = page.size();
  for (uint32_t slot = 0; slot < rows.size(); slot++) {
    const uint16_t word = *ReadSlot(page, layout, slot);
    const size_t start = word & kSlotStart;
    rows[slot] = {slot, start, end, static_cast<uint16_t>(word & kSlotDeleted)};
    end = start;
  }
  return rows;
}

std::vector<SPageRow> FindRows(Bytes page, const SLayout& layout, const CRowProfile& profile,
                               CRowFrame& frame) {
  return CRowFinder(page, ReadHints(page, layout), layout, profile, frame).Find();
}

std::vector<SPageRow> FindRowsBetween(Bytes page, size_t from, size_t to, const SLayout& layout,
                                      const CRowProfile& profile, CRowFrame& frame) {
  SHints hints;
  hints.lowest = from;
  return CRowFinder(page.first(to), std::move(hints), layout, profile, frame).Find();
}

std::vector<SPageRow> FindRowsToCome(Bytes page, const SLayout& layout, const CRowProfile& profile,
                                     CRowFrame& frame) {
  const std::vector<SPageRow> known = RowsOfSlots(page, layout);
  size_t end = known.empty() ? page.size() : known.back().start;
  std::vector<SPageRow> rows =
      FindRowsBetween(page, layout.data.slots + 2 * known.size(), end, layout, profile, frame);
  size_t count = 0;
  for (; count < rows.size() && rows[count].end == end; count++) {
    end = rows[count].start;
    rows[count].slot = static_cast<uint32_t>(known.size() + count);
  }
  rows.resize(count);
  return rows;
}

}  // namespace tolvane
