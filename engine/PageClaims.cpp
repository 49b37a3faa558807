#include "engine/PageClaims.h"

#include <algorithm>

#include "format/IndexPage.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

// Maps of sound files name each page once. Many tables with one map must not cost their product.
constexpr uint64_t kMapPagesEach = 4;
constexpr uint64_t kMapPagesBase = uint64_t{1} << 16;

std::vector<uint32_t> Find(const std::unordered_map<const CAccessTable*, std::vector<uint32_t>>& pages,
                           const CAccessTable& table) {
  const auto found = pages.find(&table);
  return found != pages.end() ? found->second : std::vector<uint32_t>{};
}

}  // namespace

void ReadTableMaps(CSource& source, const CAccessTableList& tables,
                   const std::function<void(const CAccessTable&, uint32_t)>& take,
                   const std::function<void(const CAccessTable&, bool)>& finish) {
  uint64_t pagesLeft = kMapPagesEach * source.GetPageCount() + kMapPagesBase;
  for (const auto& table : tables) {
    const auto takePage = [&](uint32_t page) {
      if (pagesLeft > 0) pagesLeft--;
      take(*table, page);
    };
    const auto map = SRowPointer::FromWord(table->header.usedPagesMap);
    finish(*table, ReadUsageMap(source.GetPages(), source.GetLayout(), map, pagesLeft, takePage));
  }
}

CPageClaims::CPageClaims(CSource& source, const CAccessTableList& tables,
                         const std::vector<SHomelessPage>& homeless, const CJobContext& job) {
  std::vector<uint32_t> longValues;
  for (const SHomelessPage& page : homeless) {
    if (page.reason == SHomelessPage::EReason::LongValues || page.reason == SHomelessPage::EReason::NoHead)
      longValues.push_back(page.page);
    if (page.reason != SHomelessPage::EReason::LongValues) m_unclaimed.insert(page.page);
    if (page.reason == SHomelessPage::EReason::Free) m_free.push_back(page.page);
  }
  m_longValuePages = CLongValuePages(source.GetLayout(), longValues);
  if (m_unclaimed.empty()) return;
  AskMaps(source, tables);
  if (!m_unclaimed.empty()) AskIndexes(source, tables, job);
  for (auto& [table, pages] : m_claims) std::ranges::sort(pages);
}

std::vector<uint32_t> CPageClaims::PagesOf(const CAccessTable& table) const {
  return Find(m_claims, table);
}

std::vector<uint32_t> CPageClaims::DoubtfulPagesOf(const CAccessTable& table) const {
  return Find(m_doubtful, table);
}

std::vector<uint32_t> CPageClaims::MisplacedPagesOf(const CAccessTable& table) const {
  return Find(m_misplaced, table);
}

std::vector<uint32_t> CPageClaims::ListFreePages() const {
  std::vector<uint32_t> pages = m_free;
  std::erase_if(pages, [this](uint32_t page) { return m_unclaimed.count(page) == 0; });
  return pages;
}

void CPageClaims::AskMaps(CSource& source, const CAccessTableList& tables) {
  ReadTableMaps(
      source, tables, [this](const CAccessTable& table, uint32_t page) { Claim(page, table); },
      [](const CAccessTable&, bool) {});
}

void CPageClaims::AskIndexes(CSource& source, const CAccessTableList& tables, const CJobContext& job) {
  const SLayout& layout = source.GetLayout();
  std::vector<uint8_t> page(layout.pageSize);
  for (uint64_t number = 0; number < source.GetPageCount() && !m_unclaimed.empty(); number++) {
    if (!job.repairing.IsRunning()) return;
    // A freed leaf names the rows of a freed page.
    if (source.GetFreePages().IsFree(number)) continue;
    if (!source.ReadPage(number, page) || page[0] != kPageIndexLeaf || !IsSoundPage(page, layout)) continue;
    const CAccessTable* const table = tables.FindTable(uint64_t{OwnerOf(page)} * layout.pageSize);
    if (table != nullptr)
      ForEachIndexEntry(page, layout.index, [&](SRowPointer named) { Claim(named.page, *table); });
  }
}

void CPageClaims::Claim(uint32_t page, const CAccessTable& table) {
  if (m_unclaimed.erase(page) != 0) m_claims[&table].push_back(page);
}

}  // namespace tolvane
