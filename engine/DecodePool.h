// Decodes a table's pages ahead of the walk over them, in batches and on all processors
// (platform/OrderedTeam.h); the walk is the taker. Batches are few and bounded, so that memory does not
// depend on the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "engine/PageDecoder.h"
#include "platform/OrderedTeam.h"

namespace tolvane {

class CDecodePool : private COrderedSteps {
 public:
  // `threads`: all that work, the walk's own among them. What a decoder needs outlives the pool.
  CDecodePool(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
              const CJobContext& job, uint32_t threads);

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
  struct SWorker {
    explicit SWorker(const CDecodePool& pool);
    CPageDecoder decoder;
    uint64_t table = 0;  // number of the one that the decoder is set to
  };

  void Begin(const SDecodedTable& table, std::span<const uint64_t> offsets);
  bool BeginStep(size_t slot) override;
  void DoStep(size_t slot, size_t worker) override;

  const CPageReader& m_pages;
  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  const CJobContext& m_job;
  COrderedTeam m_team;
  std::vector<SDecodedBatch> m_batches;             // by slot
  std::vector<std::unique_ptr<SWorker>> m_workers;  // made by each thread at its first batch

  // Of the table at hand; its threads only read it.
  SDecodedTable m_table;
  uint64_t m_tableNumber = 0;
  size_t m_pagesEach = 1;
  std::span<const uint64_t> m_offsets;  // of pages that no step has yet
};

}  // namespace tolvane
