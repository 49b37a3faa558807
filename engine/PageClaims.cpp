#include "engine/PageClaims.h"

#include <algorithm>
#include <span>

#include "engine/DataReader.h"
#include "engine/PageEvidence.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

// Maps of sound files name each page once. Many tables with one map must not cost their product.
constexpr uint64_t kMapPagesEach = 4;
constexpr uint64_t kMapPagesBase = uint64_t{1} << 16;

// An entry ends with the page, highest byte first, and the slot.
constexpr size_t kEntryPointer = 4;

// Hands over the pages that the entries of a sound leaf name.
template <class F>
void ForEachEntry(Bytes page, const SLayout& layout, const F& take) {
  const SIndexPageLayout& at = layout.index;
  for (size_t byte = at.mask; byte < at.entries; byte++) {
    for (uint32_t bit = 0; page[byte] >> bit != 0; bit++) {
      if ((page[byte] >> bit & 1) == 0) continue;
      const size_t end = at.entries + size_t{8} * (byte - at.mask) + bit;
      if (end < at.entries + kEntryPointer || end > page.size()) continue;
      const uint8_t* const pointer = &page[end - kEntryPointer];
      take(static_cast<uint32_t>(pointer[0] << 16 | pointer[1] << 8 | pointer[2]));
    }
  }
}

}  // namespace

CPageClaims::CPageClaims(CSource& source, const CAccessTableList& tables,
                         const std::vector<SHomelessPage>& homeless, const CJobContext& job) {
  std::vector<uint32_t> longValues;
  for (const SHomelessPage& page : homeless) {
    if (page.reason == SHomelessPage::EReason::LongValues || page.reason == SHomelessPage::EReason::NoHead)
      longValues.push_back(page.page);
    if (page.reason != SHomelessPage::EReason::LongValues) m_unclaimed.insert(page.page);
  }
  m_longValuePages = CLongValuePages(source.GetLayout(), longValues);
  if (m_unclaimed.empty()) return;
  AskMaps(source, tables);
  if (!m_unclaimed.empty()) AskIndexes(source, tables, job);
  for (auto& [table, pages] : m_claims) std::sort(pages.begin(), pages.end());
}

std::vector<uint32_t> CPageClaims::PagesOf(const CAccessTable& table) const {
  const auto found = m_claims.find(&table);
  return found != m_claims.end() ? found->second : std::vector<uint32_t>{};
}

void CPageClaims::AskMaps(CSource& source, const CAccessTableList& tables) {
  uint64_t pagesLeft = kMapPagesEach * source.GetPageCount() + kMapPagesBase;
  for (const auto& table : tables) {
    const auto take = [&](uint32_t page) {
      if (pagesLeft > 0) pagesLeft--;
      Claim(page, *table);
    };
    ReadUsageMap(source.GetPages(), source.GetLayout(), SRowPointer::FromWord(table->header.usedPagesMap),
                 pagesLeft, take);
  }
}

void CPageClaims::AskIndexes(CSource& source, const CAccessTableList& tables, const CJobContext& job) {
  const SLayout& layout = source.GetLayout();
  std::vector<uint8_t> page(layout.pageSize);
  for (uint64_t number = 0; number < source.GetPageCount() && !m_unclaimed.empty(); number++) {
    if (!job.repairing.IsRunning()) return;
    // A freed leaf names the rows of a freed page.
    if (source.GetFreePages().IsFree(number)) continue;
    if (!source.ReadPage(number, page) || page[0] != kPageIndexLeaf || !IsSoundPage(page, layout)) continue;
    const uint64_t owner = CDataReader::ReadUInt32(&page[kOwnerOffset]);
    const CAccessTable* const table = tables.FindTable(owner * layout.pageSize);
    if (table != nullptr) ForEachEntry(page, layout, [&](uint32_t named) { Claim(named, *table); });
  }
}

void CPageClaims::Claim(uint32_t page, const CAccessTable& table) {
  if (m_unclaimed.erase(page) != 0) m_claims[&table].push_back(page);
}

}  // namespace tolvane
