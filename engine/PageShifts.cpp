#include "engine/PageShifts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <span>

#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Pages lost or put in together, either way.
constexpr int64_t kMostPages = 64;
constexpr size_t kShifts = 2 * kMostPages + 1;
// Pages looked at to tell whether to look at all.
constexpr uint64_t kPagesForSuspicion = 256;
// A definition counts for as many pages as belong to it, up to two; a change of the shift costs as much as
// one page, and more the further it leads.
constexpr int32_t kMostWeight = 2;
constexpr int32_t kEach = 4 * kMostPages;
constexpr int32_t kChange = kEach;
// More definitions than a database has.
constexpr size_t kMostDefinitions = 1U << 16;

bool HasDefinition(CPageReader& file, uint64_t place) {
  std::array<uint8_t, 2> head{};
  return file.ReadFile(place, head) == head.size() && head[0] == kPageDefinition && head[1] == kPageFormatted;
}

// The definition that a page of rows or of an index belongs to; 0: none.
uint32_t OwningDefinition(std::span<const uint8_t> page, const SLayout& layout) {
  if (page[0] == kPageDefinition || !IsSoundPage(page, layout)) return 0;
  const uint32_t owner = OwnerOf(page);
  return owner == kOwnerLongValues || owner == kOwnerMaps || owner == kGlobalMapPage ? 0 : owner;
}

class CShiftFinder {
 public:
  CShiftFinder(CPageReader& file, const SLayout& layout, uint64_t start, uint64_t end, const CJobContext* job)
      : m_file(file),
        m_layout(layout),
        m_start(start),
        m_count((end - start) / layout.pageSize),
        m_job(job),
        m_page(layout.pageSize) {}

  [[nodiscard]] bool IsSuspect() {
    std::set<uint32_t> owners;
    for (uint64_t place = 1; place < m_count; place += m_count / kPagesForSuspicion + 1)
      if (Read(place))
        if (const uint32_t owner = OwningDefinition(m_page, m_layout)) owners.insert(owner);
    const auto isWrong = [this](uint32_t owner) {
      return owner >= m_count || !HasDefinition(m_file, m_start + owner * uint64_t{m_layout.pageSize});
    };
    return std::any_of(owners.begin(), owners.end(), isWrong);
  }

  std::vector<SPageShift> Find() {
    for (uint64_t place = 1; place < m_count && m_definitions.size() < kMostDefinitions; place++) {
      if (m_job != nullptr && !m_job->IsRunning()) return {};
      if (!Read(place)) continue;
      if (m_page[0] == kPageDefinition && IsSoundPage(m_page, m_layout))
        m_definitions.push_back(place);
      else if (const uint32_t owner = OwningDefinition(m_page, m_layout)) {
        m_owners[owner] = std::min(m_owners[owner] + 1, kMostWeight);
        if (owner == kObjectsPage) NoteCatalogue(place);
      }
    }
    const std::vector<size_t> shifts = BestShifts();
    return IsOfThisDatabase(shifts) ? Follow(shifts) : std::vector<SPageShift>{};
  }

 private:
  bool Read(uint64_t place) {
    return m_file.ReadFile(m_start + place * m_layout.pageSize, m_page) == m_page.size();
  }

  using Scores = std::array<int32_t, kShifts>;

  static int32_t Distance(size_t a, size_t b) { return static_cast<int32_t>(a > b ? a - b : b - a); }
  // Of the shifts up to each one the best. Where two are equally good the pages are the nearer to their
  // places.
  static std::array<uint8_t, kShifts> BestUpTo(const Scores& scores) {
    std::array<uint8_t, kShifts> bests{};
    size_t best = 0;
    for (size_t shift = 0; shift < kShifts; shift++) {
      const bool isNearer = Distance(shift, kMostPages) < Distance(best, kMostPages);
      if (scores[shift] > scores[best] || (scores[shift] == scores[best] && isNearer)) best = shift;
      bests[shift] = static_cast<uint8_t>(best);
    }
    return bests;
  }

  // By definition: the shift with which, of all ways to change it, most definitions have pages, and the
  // fewest pages were lost or put in. Numbers rise from one definition to the next.
  [[nodiscard]] std::vector<size_t> BestShifts() const {
    Scores scores{};
    for (size_t shift = 0; shift < kShifts; shift++)
      scores[shift] = shift == kMostPages ? 0 : -kChange - Distance(shift, kMostPages);
    std::vector<std::array<uint8_t, kShifts>> from(m_definitions.size());
    for (size_t i = 0; i < m_definitions.size(); i++) {
      const auto bests = BestUpTo(scores);
      const Scores before = scores;
      const size_t gap = static_cast<size_t>(m_definitions[i] - (i > 0 ? m_definitions[i - 1] : 0));
      for (size_t shift = 0; shift < kShifts; shift++) {
        const size_t best = bests[std::min(shift + gap - 1, kShifts - 1)];
        const int32_t changed = before[best] - kChange - Distance(shift, best);
        const bool isChange = changed > scores[shift];
        from[i][shift] = static_cast<uint8_t>(isChange ? best : shift);
        if (isChange) scores[shift] = changed;
        const int64_t number = NumberOf(m_definitions[i], shift);
        const auto owned = m_owners.find(static_cast<uint32_t>(std::max<int64_t>(number, 0)));
        if (owned != m_owners.end()) scores[shift] += owned->second * kEach;
      }
    }
    std::vector<size_t> shifts(m_definitions.size());
    size_t shift = BestUpTo(scores).back();
    for (size_t i = shifts.size(); i-- > 0; shift = from[i][shift]) shifts[i] = shift;
    return shifts;
  }

  // Foreign pages between or behind those of the database name owners that are no definitions, too. Where
  // pages are missing or put in, no owner that has its definition loses it, and the catalogue in front of
  // them names half of the definitions behind them, or more.
  [[nodiscard]] bool IsOfThisDatabase(const std::vector<size_t>& shifts) const {
    std::set<uint64_t> numbers;
    uint64_t first = m_count;
    size_t found = 0, named = 0;
    for (size_t i = 0; i < shifts.size(); i++) {
      const auto number = static_cast<uint64_t>(NumberOf(m_definitions[i], shifts[i]));
      numbers.insert(number);
      if (shifts[i] == kMostPages) continue;
      first = std::min(first, m_definitions[i]);
      if (m_owners.count(static_cast<uint32_t>(number)) == 0) continue;
      found++;
      const auto entry = m_catalogued.find(static_cast<uint32_t>(number));
      if (entry != m_catalogued.end() && entry->second < first) named++;
    }
    return named * 2 >= found && std::all_of(m_definitions.begin(), m_definitions.end(), [&](uint64_t place) {
             return m_owners.count(static_cast<uint32_t>(place)) == 0 || numbers.count(place) != 0;
           });
  }

  // The rows of the catalogue begin with the number of their object's page.
  void NoteCatalogue(uint64_t place) {
    if (m_page[0] != kPageData || !AreSlotsSound(m_page, m_layout)) return;
    const uint32_t count = GetLittle<uint16_t>(m_page, m_layout.data.slotCount);
    for (uint32_t slot = 0; slot < count; slot++) {
      const auto row = FindRow(m_page, m_layout, slot, kSlotStart);
      if (row && row->size() >= m_layout.row.countSize + sizeof(uint32_t))
        m_catalogued.try_emplace(GetLittle<uint32_t>(*row, m_layout.row.countSize), place);
    }
  }

  [[nodiscard]] std::vector<SPageShift> Follow(const std::vector<size_t>& shifts) const {
    std::vector<SPageShift> changes;
    size_t before = kMostPages;
    for (size_t i = 0; i < shifts.size(); i++) {
      if (shifts[i] != before)
        changes.push_back({.place = m_definitions[i], .shift = static_cast<int64_t>(shifts[i]) - kMostPages});
      before = shifts[i];
    }
    return changes;
  }

  [[nodiscard]] static int64_t NumberOf(uint64_t place, size_t shift) {
    return static_cast<int64_t>(place) + static_cast<int64_t>(shift) - kMostPages;
  }

  CPageReader& m_file;
  const SLayout& m_layout;
  uint64_t m_start;
  uint64_t m_count;
  const CJobContext* m_job;
  std::vector<uint8_t> m_page;
  std::vector<uint64_t> m_definitions;        // places, ascending
  std::map<uint32_t, uint64_t> m_catalogued;  // with the first place that names them
  std::map<uint32_t, int32_t> m_owners;       // with what their pages count for
};

}  // namespace

std::vector<SPageShift> FindPageShifts(CPageReader& file, const SLayout& layout, uint64_t start, uint64_t end,
                                       const CJobContext* job) {
  if (end <= start) return {};
  CShiftFinder finder(file, layout, start, end, job);
  return finder.IsSuspect() ? finder.Find() : std::vector<SPageShift>{};
}

}  // namespace tolvane
