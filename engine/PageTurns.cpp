#include "engine/PageTurns.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "engine/PageReferences.h"

namespace tolvane {

namespace {

// References that are held against each way to share the pages, by page and over all, ...
constexpr size_t kReferencesEach = 32;
constexpr size_t kMostReferences = size_t{1} << 20;
// ... and references and pages looked at over all ways.
constexpr size_t kMostComparisons = size_t{1} << 27;
// References that hold in turns and do not otherwise, less those the other way round. Fewer may be chance: a
// database that grew in between has pages that name what stands behind it.
constexpr int64_t kLeastGain = 4;

struct SReference {
  size_t place = 0;     // of the page that has it
  uint32_t number = 0;  // of the page that is named
  SPageIdentity is{};
};

// Places of both databases' pages, by their numbers. Places count pages from the first header on.
using Shares = std::array<std::vector<size_t>, 2>;

class CTurns {
 public:
  CTurns(CPageReader& file, const SLayout& layout, uint64_t first, size_t turn, const CJobContext* job)
      : m_turn(turn),
        m_job(job),
        m_pages(static_cast<size_t>((file.GetFileLength() - first) / layout.pageSize)),
        m_isSecond(m_pages.size()) {
    std::vector<uint8_t> page(layout.pageSize);
    const size_t each = std::clamp<size_t>(kMostReferences / (m_pages.size() + 1), 1, kReferencesEach);
    for (size_t place = 0; place < m_pages.size() && !IsStopped(); place++) {
      if (file.ReadFile(first + uint64_t{place} * layout.pageSize, page) != page.size()) continue;
      m_pages[place] = IdentityOf(page, layout);
      size_t left = m_references.size() < kMostReferences ? each : 0;
      ForEachReference(page, m_pages[place], layout, [&](uint32_t number, const SPageIdentity& is) {
        if (left == 0) return;
        left--;
        m_references.push_back({place, number, is});
      });
    }
  }

  // How many pages the first database has; no more than a turn where there are no turns.
  size_t FindLength() {
    if (m_pages.size() <= 2 * m_turn) return m_turn;
    const int64_t behind = Agreement(m_turn);
    std::pair<int64_t, size_t> best{behind, m_turn};
    const size_t steps = std::max<size_t>(kMostComparisons / (m_references.size() + m_pages.size()), 2);
    size_t from = m_turn + 1, to = m_pages.size() - m_turn;
    for (size_t step = (to - from) / steps + 1;; step = step / 2) {
      for (size_t length = from; length <= to && !IsStopped(); length += step)
        if (const int64_t agreement = Agreement(length); agreement > best.first) best = {agreement, length};
      if (step == 1 || IsStopped()) break;
      from = std::max(from, best.second - std::min(best.second, step));
      to = std::min(to, best.second + step);
    }
    return IsStopped() || best.first < behind + kLeastGain ? m_turn : best.second;
  }

  // The pages if the first database has so many.
  [[nodiscard]] const Shares& Share(size_t length) {
    for (auto& share : m_shares) share.clear();
    const std::array<size_t, 2> lengths{length, m_pages.size() - length};
    for (size_t place = 0, which = 0; place < m_pages.size(); which = 1 - which) {
      const size_t left = lengths[which] - m_shares[which].size();
      const size_t otherLeft = lengths[1 - which] - m_shares[1 - which].size();
      const size_t end = place + (otherLeft == 0 ? left : std::min(left, m_turn));
      for (; place < end; place++) {
        m_isSecond[place] = which == 1;
        m_shares[which].push_back(place);
      }
    }
    return m_shares;
  }

 private:
  [[nodiscard]] bool IsStopped() const { return m_job != nullptr && !m_job->IsRunning(); }

  // References that hold, less those that do not.
  int64_t Agreement(size_t length) {
    const Shares& shares = Share(length);
    int64_t agreement = 0;
    for (const SReference& reference : m_references) {
      const auto& share = shares[m_isSecond[reference.place] ? 1 : 0];
      const bool holds = reference.number < share.size() && m_pages[share[reference.number]] == reference.is;
      agreement += holds ? 1 : -1;
    }
    return agreement;
  }

  size_t m_turn;
  const CJobContext* m_job;
  std::vector<SPageIdentity> m_pages;  // by place
  std::vector<bool> m_isSecond;        // by place
  std::vector<SReference> m_references;
  Shares m_shares;
};

}  // namespace

std::vector<SPageStretch> FindTurns(CPageReader& file, const SLayout& layout, uint64_t first, uint64_t second,
                                    uint64_t wanted, const CJobContext* job) {
  const uint32_t pageSize = layout.pageSize;
  const auto turn = static_cast<size_t>((second - first) / pageSize);
  CTurns turns(file, layout, first, turn, job);
  const size_t length = turns.FindLength();
  if (length <= turn) return {};
  const auto& places = turns.Share(length)[wanted == first ? 0 : 1];
  std::vector<SPageStretch> stretches;
  for (size_t number = 0; number < places.size(); number++) {
    if (number == 0 || places[number] != places[number - 1] + 1)
      stretches.push_back(
          {.page = number, .place = first + uint64_t{places[number]} * pageSize, .length = 0});
    stretches.back().length += pageSize;
  }
  return stretches;
}

}  // namespace tolvane
