#include "engine/PageShifts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "engine/PageReferences.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

// Pages lost or put in together, either way; fewer in the largest files, so that what is kept of the ways to
// each page stays within so many bytes.
constexpr size_t kMostPages = 64;
constexpr size_t kMostSteps = size_t{1} << 25;
// Pages looked at to tell whether to look at all.
constexpr size_t kPagesForSuspicion = 256;
// Sound files have pages that were freed and name what is no more there, one in so many at most.
constexpr size_t kSuspectOf = 32;

// What a page that is, or is not, what others take it for counts, and a definition three times so much where
// several do, because owners of single pages may be wrong; what it costs that pages were lost or put in, more
// the more there are. A blank page is the likelier to be put in.
constexpr int32_t kMatch = 64, kMismatch = 32, kOpen = 160, kEach = 1, kBlank = 1;
// One alone may be by chance.
constexpr uint32_t kLeastVotes = 2;
constexpr int32_t kNever = std::numeric_limits<int32_t>::min() / 2;

// What others take the page of a number for: of two opinions the ones that most have.
struct SOpinion {
  SPageIdentity is;
  uint32_t votes = 0;
  uint32_t firstPlace = 0, lastPlace = 0;  // of those who have it
};
using Opinions = std::array<SOpinion, 2>;

void AddVote(Opinions& opinions, const SPageIdentity& is, uint32_t place) {
  for (SOpinion& opinion : opinions) {
    if (opinion.votes != 0 && opinion.is != is) continue;
    if (opinion.votes == 0) opinion = {is, 0, place, place};
    opinion.votes++;
    opinion.lastPlace = place;
    return;
  }
  opinions.back().votes--;
}

const SOpinion* FindOpinion(const Opinions& opinions, const SPageIdentity& is) {
  for (const SOpinion& opinion : opinions)
    if (opinion.votes != 0 && opinion.is == is) return &opinion;
  return nullptr;
}

class CShiftFinder {
 public:
  CShiftFinder(CPageReader& file, const SLayout& layout, const CJobContext* job)
      : m_file(file),
        m_layout(layout),
        m_count(static_cast<size_t>(file.GetPageCount(layout.pageSize))),
        m_most(std::clamp(kMostSteps / (2 * m_count + 1), size_t{1}, kMostPages)),
        m_job(job),
        m_page(layout.pageSize),
        m_other(layout.pageSize) {}

  // Whether some of the pages looked at take others for what these are not.
  [[nodiscard]] bool IsSuspect() {
    std::set<uint32_t> asked;
    size_t wrong = 0;
    for (size_t place = 1; place < m_count && !IsStopped(); place += m_count / kPagesForSuspicion + 1) {
      if (!Read(place, m_page)) continue;
      bool isLost = false;
      size_t left = 2;  // a page of rows has one, and leaves are much alike
      ForEachReference(m_page, IdentityOf(m_page, m_layout), m_layout,
                       [&](uint32_t number, const SPageIdentity& is) {
                         if (left == 0 || !asked.insert(number).second) return;
                         left--;
                         if (Read(number, m_other) && IdentityOf(m_other, m_layout) == is) return;
                         wrong++;
                         isLost = isLost || is.kind == EPageNature::Definition;
                       });
      if (isLost) return true;
    }
    return wrong * kSuspectOf > asked.size();
  }

  std::vector<SPageShift> Find() {
    m_pages.resize(m_count);
    m_opinions.resize(m_count + 2 * m_most);
    const std::vector<bool> isRepeated = FindRepeated();
    for (size_t place = 1; place < m_count; place++) {
      if (IsStopped()) return {};
      if (!Read(place, m_page)) continue;
      m_pages[place] = isRepeated[place] ? SPageIdentity{EPageNature::Blank} : IdentityOf(m_page, m_layout);
      if (isRepeated[place]) continue;
      if (m_firstCatalogue == 0 && m_pages[place] == SPageIdentity{EPageNature::Rows, kObjectsPage})
        m_firstCatalogue = place;
      ForEachReference(m_page, m_pages[place], m_layout, [&](uint32_t number, const SPageIdentity& is) {
        if (number < m_opinions.size()) AddVote(m_opinions[number], is, static_cast<uint32_t>(place));
      });
    }
    return Choose(BestWay());
  }

 private:
  [[nodiscard]] bool IsStopped() const { return m_job != nullptr && !m_job->IsRunning(); }

  bool Read(uint64_t place, std::span<uint8_t> page) {
    return place < m_count && m_file.ReadPage(place * m_layout.pageSize, page);
  }

  // Pages that were written twice, one time behind the other: the second time, by their places. Whatever
  // others take them for, they are the likelier to be put in.
  std::vector<bool> FindRepeated() {
    std::vector<size_t> prints(m_count);
    std::vector<bool> isRepeated(m_count), isBlank(m_count);
    std::unordered_map<size_t, size_t> lastPlace;
    for (size_t place = 1; place < m_count; place++) {
      if ((m_job != nullptr && !m_job->IsRunning()) || !Read(place, m_page)) continue;
      isBlank[place] = IsBlankPage(m_page);
      prints[place] =
          std::hash<std::string_view>{}({reinterpret_cast<const char*>(m_page.data()), m_page.size()});
    }
    const auto at = [&](size_t place) { return prints.begin() + static_cast<std::ptrdiff_t>(place); };
    for (size_t place = 1; place < m_count; place++) {
      if (isBlank[place] || prints[place] == 0) continue;
      const auto [last, isNew] = lastPlace.try_emplace(prints[place], place);
      const size_t first = std::exchange(last->second, place), count = place - first;
      if (isNew || count > m_most || place + count > m_count || isRepeated[place]) continue;
      if (!std::equal(at(first), at(place), at(place))) continue;
      std::fill_n(isRepeated.begin() + static_cast<std::ptrdiff_t>(place), count, true);
    }
    return isRepeated;
  }

  // A shift by its place among all: m_most stands for none.
  [[nodiscard]] int64_t NumberOf(size_t place, size_t shift) const {
    return static_cast<int64_t>(place + shift) - static_cast<int64_t>(m_most);
  }

  [[nodiscard]] const SOpinion* SupportOf(size_t place, size_t shift) const {
    const int64_t number = NumberOf(place, shift);
    return number < 0 ? nullptr : FindOpinion(m_opinions[static_cast<size_t>(number)], m_pages[place]);
  }

  [[nodiscard]] int32_t ScoreOf(size_t place, size_t shift) const {
    const int64_t number = NumberOf(place, shift);
    if (number <= 0) return kNever;
    const SPageIdentity& is = m_pages[place];
    if (is.kind == EPageNature::Blank) return -kBlank;
    if (is.kind == EPageNature::Unknown) return 0;
    const Opinions& opinions = m_opinions[static_cast<size_t>(number)];
    if (const SOpinion* const opinion = FindOpinion(opinions, is))
      return is.kind == EPageNature::Definition && opinion->votes > 1 ? 3 * kMatch : kMatch;
    return opinions[0].votes + opinions[1].votes == 0 ? 0 : -kMismatch;
  }

  // How the best way to a page with a shift came there: by the page before with the same shift, over pages
  // that were put in (each lowers the shift by one), or with pages lost in front (each raises it).
  enum EStep : uint8_t { kFromPage = 0, kFromPutIn = 1, kFromLost = 2, kPutInGoesOn = 4, kLostGoesOn = 8 };
  static constexpr uint8_t kFromMask = 3;
  static constexpr size_t kNoShift = ~size_t{0};  // the page was put in

  struct SScores {
    std::vector<int32_t> taken, putIn, lost;
  };

  // By place: the shift, or that it was put in, on the way of the highest score through all pages.
  [[nodiscard]] std::vector<size_t> BestWay() const {
    const size_t shifts = 2 * m_most + 1;
    SScores before{std::vector<int32_t>(shifts, kNever), std::vector<int32_t>(shifts, kNever),
                   std::vector<int32_t>(shifts, kNever)};
    SScores after = before;
    before.taken[m_most] = 0;
    std::vector<uint8_t> steps(m_count * shifts);
    for (size_t place = 1; place < m_count; place++) {
      Step(place, before, after, std::span(steps).subspan(place * shifts, shifts));
      std::swap(before, after);
    }
    return Follow(before, steps);
  }

  void Step(size_t place, const SScores& before, SScores& after, std::span<uint8_t> steps) const {
    const size_t shifts = steps.size();
    for (size_t shift = 0; shift < shifts; shift++) {
      uint8_t& step = steps[shift];
      step = kFromPage;
      after.lost[shift] = kNever;
      if (shift > 0) {
        const int32_t opened = before.taken[shift - 1] - kOpen - kEach;
        const int32_t goesOn = after.lost[shift - 1] - kEach;
        after.lost[shift] = std::max({opened, goesOn, kNever});
        if (goesOn > opened) step |= kLostGoesOn;
      }
      after.putIn[shift] = kNever;
      if (shift + 1 < shifts) {
        const int32_t opened = before.taken[shift + 1] - kOpen - kEach;
        const int32_t goesOn = before.putIn[shift + 1] - kEach;
        after.putIn[shift] = std::max({opened, goesOn, kNever});
        if (goesOn > opened) step |= kPutInGoesOn;
      }
      int32_t best = before.taken[shift];
      if (before.putIn[shift] > best) {
        best = before.putIn[shift];
        step |= kFromPutIn;
      }
      // Pages were lost as late as can be: in front of the first page that tells.
      if (after.lost[shift] >= best && after.lost[shift] > kNever) {
        best = after.lost[shift];
        step = static_cast<uint8_t>((step & ~kFromMask) | kFromLost);
      }
      after.taken[shift] = std::max(best + ScoreOf(place, shift), kNever);
    }
  }

  [[nodiscard]] std::vector<size_t> Follow(const SScores& last, const std::vector<uint8_t>& steps) const {
    const size_t shifts = 2 * m_most + 1;
    std::vector<size_t> way(m_count, m_most);
    const auto bestTaken = std::ranges::max_element(last.taken);
    auto shift = static_cast<size_t>(bestTaken - last.taken.begin());
    // Nothing is better than the places.
    if (last.taken[m_most] == *bestTaken) shift = m_most;
    bool isTaken = true;
    for (size_t place = m_count; place-- > 1;) {
      const auto stepOf = [&](size_t at) { return steps[place * shifts + at]; };
      if (!isTaken) {
        way[place] = kNoShift;
        isTaken = (stepOf(shift) & kPutInGoesOn) == 0;
        shift++;
        continue;
      }
      way[place] = shift;
      const uint8_t step = stepOf(shift);
      if ((step & kFromMask) == kFromPutIn) isTaken = false;
      if ((step & kFromMask) != kFromLost) continue;
      while ((stepOf(shift) & kLostGoesOn) != 0) shift--;
      shift--;
    }
    return way;
  }

  struct SRun {
    size_t first = 0, last = 0, shift = 0;  // places
  };

  // Foreign pages between or behind those of the database agree with each other, too. Those that are its own
  // are taken for what they are from elsewhere, too, or they hold its catalogue.
  [[nodiscard]] std::vector<SPageShift> Choose(const std::vector<size_t>& way) const {
    std::vector<SRun> runs;
    for (size_t place = 1; place < way.size(); place++) {
      if (way[place] == kNoShift) continue;
      if (runs.empty() || runs.back().shift != way[place]) runs.push_back({place, place, way[place]});
      runs.back().last = place;
    }
    std::vector<SPageShift> changes;
    size_t shift = m_most, next = 1;
    for (const SRun& run : runs) {
      const bool isOwn = run.shift == shift || IsOwn(run, {next, run.first - 1, shift});
      if (isOwn && run.shift != shift)
        changes.push_back({.place = run.first, .shift = NumberOf(0, run.shift)});
      if (!isOwn) continue;
      shift = run.shift;
      next = run.last + 1;
    }
    return changes;
  }

  // `putIn`: the pages in front of the run that its shift leaves out; they are none of the database's.
  [[nodiscard]] bool IsOwn(const SRun& run, const SRun& putIn) const {
    if (CountVotes(putIn) >= kLeastVotes) return false;
    const bool hasCatalogue = run.first <= m_firstCatalogue && m_firstCatalogue <= run.last;
    return hasCatalogue || CountVotes(run) >= kLeastVotes;
  }

  // Of pages elsewhere for the pages of the run.
  [[nodiscard]] uint32_t CountVotes(const SRun& run) const {
    uint32_t votes = 0;
    for (size_t place = run.first; place <= run.last; place++) {
      const SOpinion* const support = SupportOf(place, run.shift);
      if (support != nullptr && (support->firstPlace < run.first || support->lastPlace > run.last))
        votes += std::min(support->votes, kLeastVotes);
    }
    return votes;
  }

  CPageReader& m_file;
  const SLayout& m_layout;
  size_t m_count;
  size_t m_most;  // pages lost or put in together
  const CJobContext* m_job;
  std::vector<uint8_t> m_page, m_other;
  std::vector<SPageIdentity> m_pages;  // by place
  std::vector<Opinions> m_opinions;    // by number
  size_t m_firstCatalogue = 0;         // place of its first page; 0: none
};

}  // namespace

std::vector<SPageShift> FindPageShifts(CPageReader& pages, const SLayout& layout, const CJobContext* job) {
  if (pages.GetPageCount(layout.pageSize) < 2) return {};
  CShiftFinder finder(pages, layout, job);
  return finder.IsSuspect() ? finder.Find() : std::vector<SPageShift>{};
}

}  // namespace tolvane
