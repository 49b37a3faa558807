#include "engine/DecodePool.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace tolvane {

namespace {

constexpr size_t kPagesEach = 32;
// Of a table whose pages yield more than they hold.
constexpr size_t kPagesEachWithLongValues = 4;
constexpr uint32_t kMostThreads = 64;

}  // namespace

CDecodePool::SWorker::SWorker(const CDecodePool& pool)
    : decoder(pool.m_pages, pool.m_layout, pool.m_rules, pool.m_job) {}

CDecodePool::CDecodePool(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
                         const CJobContext& job, uint32_t threads)
    : m_pages(pages),
      m_layout(layout),
      m_rules(rules),
      m_job(job),
      m_team(*this, std::clamp<uint32_t>(threads, 1, kMostThreads)),
      m_batches(m_team.GetSlotCount()),
      m_workers(m_team.GetThreadCount()) {}

CDecodePool::CTablePages::CTablePages(CDecodePool& pool, const SDecodedTable& table,
                                      std::span<const uint64_t> offsets)
    : m_pool(pool) {
  m_pool.Begin(table, offsets);
}

CDecodePool::CTablePages::~CTablePages() {
  m_pool.m_team.End();
}

SDecodedBatch* CDecodePool::CTablePages::Next() {
  const std::optional<size_t> slot = m_pool.m_team.Next();
  return slot ? &m_pool.m_batches[*slot] : nullptr;
}

void CDecodePool::Begin(const SDecodedTable& table, std::span<const uint64_t> offsets) {
  const auto& columns = table.table->columns;
  const bool hasLongValues = std::ranges::any_of(columns, [](const CAccessColumn& column) {
    return IsLongValueType(column.type) || column.type > kTypeComplex;
  });
  m_table = table;
  m_tableNumber++;
  m_pagesEach = hasLongValues ? kPagesEachWithLongValues : kPagesEach;
  m_offsets = offsets;
  m_team.Start(offsets.size() <= m_pagesEach);
}

bool CDecodePool::BeginStep(size_t slot) {
  SDecodedBatch& batch = m_batches[slot];
  batch.Clear();
  batch.offsets = m_offsets.first(std::min(m_pagesEach, m_offsets.size()));
  m_offsets = m_offsets.subspan(batch.offsets.size());
  return !batch.offsets.empty();
}

void CDecodePool::DoStep(size_t slot, size_t worker) {
  SDecodedBatch& batch = m_batches[slot];
  std::unique_ptr<SWorker>& own = m_workers[worker];
  try {
    if (!own) own = std::make_unique<SWorker>(*this);
    if (own->table != m_tableNumber) own->decoder.SetTable(m_table);
    own->table = m_tableNumber;
    for (const uint64_t offset : batch.offsets) own->decoder.Decode(offset, batch);
  } catch (const std::exception&) {  // of memory that is not there: the walk reads the pages itself
    batch.Clear();
    own.reset();
  }
}

}  // namespace tolvane
