#include "engine/PageRuns.h"

#include <algorithm>
#include <map>
#include <utility>

namespace tolvane {
namespace {

// Definitions and owners that are compared with each other to place a run, ...
constexpr size_t kPlacesCompared = 2048;
// ... and places of runs that are compared, over all of them.
constexpr uint64_t kMostCompared = uint64_t{1} << 26;
// Pages that may be missing in one place, by the pages that are there: what follows costs as much as they do.
constexpr uint64_t kMissingEach = 4;
// Numbers of a run that are held against all that follows it.
constexpr size_t kMostCandidates = 16;
// Pages that may have been put in behind the first ones of a run.
constexpr uint64_t kMostPutIn = 16;

class CRunFinder {
 public:
  CRunFinder(const PageHeads& heads, uint32_t pageSize, uint64_t fileEnd)
      : m_heads(heads), m_pageSize(pageSize), m_fileEnd(fileEnd) {}

  // Heads between the runs belong to none.
  std::vector<SPageRun> Find() {
    std::vector<SPageRun> runs;
    size_t challenger = m_heads.size();
    for (size_t i = 0; i < m_heads.size(); i++) {
      if (!runs.empty() && IsInStep(runs.back().last, i)) {
        runs.back().last = i;
        runs.back().count++;
        challenger = m_heads.size();
      } else if (challenger < i && IsInStep(challenger, i)) {
        runs.push_back({challenger, i, 2});
        challenger = m_heads.size();
      } else {
        challenger = i;
        if (i + 1 == m_heads.size() && m_heads[i].place + m_pageSize == m_fileEnd) runs.push_back({i, i, 1});
      }
    }
    if (runs.empty() && !m_heads.empty()) runs.push_back({0, 0, 1});
    return WithoutChance(runs);
  }

  [[nodiscard]] bool AreInStep(const SPageRun& a, const SPageRun& b) const {
    return IsInStep(a.first, b.first);
  }

 private:
  // A few heads between two longer runs in step with each other are chance: like pages have like bytes in the
  // same places.
  static constexpr size_t kMostByChance = 8;
  [[nodiscard]] std::vector<SPageRun> WithoutChance(const std::vector<SPageRun>& runs) const {
    std::vector<SPageRun> kept;
    for (const SPageRun& run : runs) {
      const size_t count = kept.size();
      const bool isBack = count >= 2 && kept[count - 1].count < kMostByChance &&
                          kept[count - 1].count < std::max(kept[count - 2].count, run.count) &&
                          AreInStep(kept[count - 2], run);
      if (isBack) {
        kept.pop_back();
        kept.back().last = run.last;
        kept.back().count += run.count;
      } else {
        kept.push_back(run);
      }
    }
    return kept;
  }

  [[nodiscard]] bool IsInStep(size_t a, size_t b) const {
    return (m_heads[b].place - m_heads[a].place) % m_pageSize == 0;
  }

  const PageHeads& m_heads;
  uint32_t m_pageSize;
  uint64_t m_fileEnd;
};

// Gives each run the number of its first page.
class CRunPlacer {
 public:
  // `from`: where page 0 is, or where it would be, had nothing been lost or put in front of the first run.
  CRunPlacer(const PageHeads& heads, const std::vector<SPageRun>& runs, uint32_t pageSize, uint64_t from,
             bool isSure, const CJobContext* job)
      : m_heads(heads),
        m_runs(runs),
        m_pageSize(pageSize),
        m_from(from),
        m_isSure(isSure),
        m_job(job),
        m_mostMissing(heads.empty() ? 0 : kMissingEach * (heads.back().place / pageSize + 1)) {
    for (const SPageRun& run : runs)
      for (size_t i = run.first; i <= run.last; i++)
        if (m_heads[i].owner != 0) m_owned[m_heads[i].owner]++;
  }

  std::vector<uint64_t> Place() {
    std::vector<uint64_t> numbers;
    for (size_t i = 0; i < m_runs.size() && !IsStopped(); i++) {
      const uint64_t place = m_heads[m_runs[i].first].place;
      // Bytes put in or lost are taken for as few as possible.
      const uint64_t guess =
          i == 0
              ? (place - m_from) / m_pageSize  // whole pages, if page 0 is there
              : numbers[i - 1] + (place - m_heads[m_runs[i - 1].first].place + m_pageSize / 2) / m_pageSize;
      const uint64_t least = i == 0 ? 0 : numbers[i - 1] + PagesOf(m_runs[i - 1]);
      const bool isKnown = i == 0 && m_isSure;
      numbers.push_back(isKnown ? guess : BestNumber(m_runs[i], std::max(guess, least), least));
      NoteDefinitions(m_runs[i], numbers.back());
    }
    return numbers;
  }

 private:
  [[nodiscard]] bool IsStopped() const { return m_job != nullptr && !m_job->IsRunning(); }
  [[nodiscard]] uint64_t PagesOf(const SPageRun& run) const {
    return (m_heads[run.last].place - m_heads[run.first].place) / m_pageSize + 1;
  }
  [[nodiscard]] uint64_t IndexOf(const SPageRun& run, size_t head) const {
    return (m_heads[head].place - m_heads[run.first].place) / m_pageSize;
  }

  void NoteDefinitions(const SPageRun& run, uint64_t number) {
    for (size_t i = run.first; i <= run.last; i++)
      if (m_heads[i].isDefinition) m_owned.erase(static_cast<uint32_t>(number + IndexOf(run, i)));
  }

  // Owners whose definitions are found, and pages that these have.
  using Votes = std::pair<uint64_t, uint64_t>;
  // The number by which most owners have their definition in the run. Few tables have many pages: those alone
  // would take any definition for theirs.
  uint64_t BestNumber(const SPageRun& run, uint64_t guess, uint64_t least) {
    std::map<uint64_t, Votes> votes;
    size_t definitions = 0;
    for (size_t i = run.first; i <= run.last && definitions < kPlacesCompared; i++) {
      if (!m_heads[i].isDefinition) continue;
      definitions++;
      size_t compared = 0;
      for (const auto& [owner, pages] : m_owned) {
        if (++compared > kPlacesCompared || m_comparisonsLeft == 0) break;
        m_comparisonsLeft--;
        const uint64_t index = IndexOf(run, i);
        if (owner >= least + index && owner - index <= guess + m_mostMissing) {
          votes[owner - index].first++;
          votes[owner - index].second += pages;
        }
      }
    }
    // One page alone may name any owner.
    const Votes known = votes.count(guess) != 0 ? std::max(votes[guess], Votes{1, 1}) : Votes{1, 1};
    std::erase_if(votes, [&](const auto& one) { return one.second <= known || one.second.second < 2; });
    return ByAllBehind(run, votes, guess);
  }

  // Among many tables chance finds some owners a definition at any number, in a short run above all. What was
  // lost in front of the run moves all that follows: it is held against that, too, and against pages put in.
  uint64_t ByAllBehind(const SPageRun& run, const std::map<uint64_t, Votes>& votes, uint64_t guess) {
    std::vector<std::pair<Votes, uint64_t>> order;
    order.reserve(votes.size());
    for (const auto& [number, count] : votes) order.emplace_back(count, number);
    // The nearer one of two as good ones.
    std::ranges::sort(order, [](const auto& a, const auto& b) {
      return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    if (order.empty()) return guess;
    if (order.size() > kMostCandidates) order.resize(kMostCandidates);
    int64_t most = AgreementBehind(run, guess);
    for (uint64_t putIn = 1; putIn <= std::min(kMostPutIn, guess); putIn++)
      most = std::max(most, AgreementBehind(run, guess - putIn));
    uint64_t best = guess;
    for (const auto& [count, number] : order)
      if (const int64_t agreement = AgreementBehind(run, number); agreement > most) {
        best = number;
        most = agreement;
      }
    return best;
  }

  // Owners that have their definitions from the run on, if nothing else was lost or put in behind it, less
  // those in whose places other pages stand.
  int64_t AgreementBehind(const SPageRun& run, uint64_t number) {
    int64_t agreement = 0;
    const size_t end = std::min(m_heads.size(), run.first + kPlacesCompared);
    for (size_t i = run.first; i < end && m_comparisonsLeft > 0; i++, m_comparisonsLeft--) {
      const uint64_t at =
          number + (m_heads[i].place - m_heads[run.first].place + m_pageSize / 2) / m_pageSize;
      if (m_owned.count(static_cast<uint32_t>(at)) != 0) agreement += m_heads[i].isDefinition ? 1 : -1;
    }
    return agreement;
  }

  const PageHeads& m_heads;
  const std::vector<SPageRun>& m_runs;
  uint32_t m_pageSize;
  uint64_t m_from;
  bool m_isSure;
  const CJobContext* m_job;
  uint64_t m_mostMissing;
  uint64_t m_comparisonsLeft = kMostCompared;
  std::map<uint32_t, uint64_t> m_owned;  // pages by owner, of owners that were not found yet
};

}  // namespace

std::vector<SPageRun> FindRuns(const PageHeads& heads, uint32_t pageSize, uint64_t fileEnd) {
  return CRunFinder(heads, pageSize, fileEnd).Find();
}

std::vector<uint64_t> PlaceRuns(const PageHeads& heads, const std::vector<SPageRun>& runs, uint32_t pageSize,
                                uint64_t from, bool isSure, const CJobContext* job) {
  return CRunPlacer(heads, runs, pageSize, from, isSure, job).Place();
}

}  // namespace tolvane
