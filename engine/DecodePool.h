// The threads that decode a table's pages ahead of the walk over them.
//
//   pages of the table, in batches      | taken | being decoded, by any thread | not begun |
//                                               ^ the walk: takes the next batch, in order
//
// The walk's own thread decodes, too, while the batch that it needs is another thread's. Batches are few and
// bounded, so that memory does not depend on the table.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "engine/PageDecoder.h"

namespace tolvane {

class CDecodePool {
 public:
  // `threads`: all that work, the walk's own among them. Fewer work where the system gives no more. What a
  // decoder needs outlives the pool.
  CDecodePool(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
              const CJobContext& job, uint32_t threads);
  ~CDecodePool();
  CDecodePool(const CDecodePool&) = delete;
  CDecodePool& operator=(const CDecodePool&) = delete;

  // The table's pages while this object lives; all arguments outlive it. One at a time.
  class CTablePages {
   public:
    CTablePages(CDecodePool& pool, const SDecodedTable& table, std::span<const uint64_t> offsets);
    ~CTablePages();
    CTablePages(const CTablePages&) = delete;
    CTablePages& operator=(const CTablePages&) = delete;

    // The next pages in their order, as many as the batch has; it stays until the next call. Null behind the
    // last one.
    SDecodedBatch* Next();

   private:
    CDecodePool& m_pool;
  };

 private:
  struct SSlot {
    SDecodedBatch batch;
    bool isDone = false;
  };
  struct SWorker {
    explicit SWorker(CDecodePool& pool);
    CPageDecoder decoder;
    uint64_t table = 0;  // number of the one that the decoder is set to
    std::thread thread;
  };

  void Begin(const SDecodedTable& table, std::span<const uint64_t> offsets);
  SDecodedBatch* Next();
  void End();
  void StartThreads();
  void Work(SWorker& worker);
  [[nodiscard]] bool HasWork() const { return m_begun < m_batches && m_begun < m_taken + m_slots.size(); }
  void DecodeNext(SWorker& worker, std::unique_lock<std::mutex>& lock);

  const CPageReader& m_pages;
  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  const CJobContext& m_job;
  const uint32_t m_threads;
  std::vector<SSlot> m_slots;                       // of batch i: i modulo their number
  std::vector<std::unique_ptr<SWorker>> m_workers;  // the walk's own first

  std::mutex m_mutex;  // guards what follows, and whose turn each slot is
  std::condition_variable m_workCame, m_batchDone;
  SDecodedTable m_table;
  std::span<const uint64_t> m_offsets;
  uint64_t m_tableNumber = 0;
  size_t m_pagesEach = 1;
  size_t m_batches = 0, m_begun = 0, m_taken = 0;
  bool m_isHeld = false;  // the batch that the walk has
  size_t m_working = 0;
  bool m_isEnding = false;
};

}  // namespace tolvane
