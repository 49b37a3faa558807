#include "engine/DecodePool.h"

#include <algorithm>
#include <exception>
#include <system_error>

namespace tolvane {

namespace {

constexpr size_t kPagesEach = 32;
// Of a table whose pages yield more than they hold.
constexpr size_t kPagesEachWithLongValues = 4;
constexpr size_t kMostThreads = 64;
constexpr size_t kBatchesAThread = 3;

}  // namespace

CDecodePool::SWorker::SWorker(CDecodePool& pool)
    : decoder(pool.m_pages, pool.m_layout, pool.m_rules, pool.m_job) {}

CDecodePool::CDecodePool(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
                         const CJobContext& job, uint32_t threads)
    : m_pages(pages),
      m_layout(layout),
      m_rules(rules),
      m_job(job),
      m_threads(std::clamp<uint32_t>(threads, 1, kMostThreads)),
      m_slots(kBatchesAThread * m_threads) {
  m_workers.push_back(std::make_unique<SWorker>(*this));
}

CDecodePool::~CDecodePool() {
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
  }
  m_workCame.notify_all();
  for (const auto& worker : m_workers)
    if (worker->thread.joinable()) worker->thread.join();
}

// Where the system has no room for another thread, those that are there do the work.
void CDecodePool::StartThreads() {
  while (m_workers.size() < m_threads) {
    auto worker = std::make_unique<SWorker>(*this);
    try {
      worker->thread = std::thread([this, &worker = *worker] { Work(worker); });
    } catch (const std::system_error&) {
      return;
    }
    m_workers.push_back(std::move(worker));
  }
}

CDecodePool::CTablePages::CTablePages(CDecodePool& pool, const SDecodedTable& table,
                                      std::span<const uint64_t> offsets)
    : m_pool(pool) {
  m_pool.Begin(table, offsets);
}

CDecodePool::CTablePages::~CTablePages() {
  m_pool.End();
}

SDecodedBatch* CDecodePool::CTablePages::Next() {
  return m_pool.Next();
}

void CDecodePool::Begin(const SDecodedTable& table, std::span<const uint64_t> offsets) {
  const auto& columns = table.table->columns;
  const bool hasLongValues = std::any_of(columns.begin(), columns.end(), [](const CAccessColumn& column) {
    return IsLongValueType(column.type) || column.type > kTypeComplex;
  });
  {
    const std::lock_guard lock(m_mutex);
    m_table = table;
    m_offsets = offsets;
    m_tableNumber++;
    m_pagesEach = hasLongValues ? kPagesEachWithLongValues : kPagesEach;
    m_batches = (offsets.size() + m_pagesEach - 1) / m_pagesEach;
    m_begun = m_taken = 0;
    m_isHeld = false;
  }
  if (m_batches <= 1) return;
  StartThreads();
  m_workCame.notify_all();
}

// No thread has anything of the table any more.
void CDecodePool::End() {
  std::unique_lock lock(m_mutex);
  m_batches = m_begun;
  m_batchDone.wait(lock, [this] { return m_working == 0; });
  for (SSlot& slot : m_slots) slot.isDone = false;
  m_batches = m_begun = m_taken = 0;
}

SDecodedBatch* CDecodePool::Next() {
  std::unique_lock lock(m_mutex);
  if (m_isHeld) {
    m_slots[m_taken++ % m_slots.size()].isDone = false;
    m_isHeld = false;
    m_workCame.notify_one();
  }
  if (m_taken == m_batches) return nullptr;
  SSlot& slot = m_slots[m_taken % m_slots.size()];
  while (!slot.isDone) {
    if (HasWork())
      DecodeNext(*m_workers.front(), lock);
    else
      m_batchDone.wait(lock);
  }
  m_isHeld = true;
  return &slot.batch;
}

void CDecodePool::Work(SWorker& worker) {
  std::unique_lock lock(m_mutex);
  while (!m_isEnding) {
    if (HasWork())
      DecodeNext(worker, lock);
    else
      m_workCame.wait(lock);
  }
}

void CDecodePool::DecodeNext(SWorker& worker, std::unique_lock<std::mutex>& lock) {
  const size_t number = m_begun++;
  SSlot& slot = m_slots[number % m_slots.size()];
  const bool isNewTable = worker.table != m_tableNumber;
  worker.table = m_tableNumber;
  m_working++;
  lock.unlock();
  const size_t first = number * m_pagesEach;
  slot.batch.Clear();
  slot.batch.offsets = m_offsets.subspan(first, std::min(m_pagesEach, m_offsets.size() - first));
  try {
    if (isNewTable) worker.decoder.SetTable(m_table);
    for (const uint64_t offset : slot.batch.offsets) worker.decoder.Decode(offset, slot.batch);
  } catch (const std::exception&) {  // of memory that is not there: the walk reads the pages itself
    slot.batch.Clear();
    worker.table = 0;
  }
  lock.lock();
  m_working--;
  slot.isDone = true;
  m_batchDone.notify_all();
}

}  // namespace tolvane
