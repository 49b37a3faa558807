// Hands a table's pages of rows, as they are completed, to the collectors of its indexes, so that keys are
// made and sorted while further rows are stored:
//
//   rows -> pages -> file
//               '--> blocks of pages, a bounded number -> threads, each with collectors of its own
//
// Small tables and single threads make their keys where the rows are stored.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "embedded/IndexCollector.h"
#include "embedded/PageFile.h"
#include "embedded/TableDefinition.h"

namespace tolvane {

class CIndexFeed {
 public:
  // Whether the keys of all indexes follow from the rows alone.
  static bool IsPossible(const STableDefinition& definition);

  // For all indexes of a table without rows; it and its columns stay as they are until Finish.
  CIndexFeed(CPageFile& file, const STableDefinition& definition);
  // Waits for the threads.
  ~CIndexFeed();

  // A page that will not change any more; in ascending order. False: it is not in order, and the feed is of
  // no use.
  bool TakePage(uint32_t number, std::span<const uint8_t> page);
  // After the last page: the collectors, by index, with all entries. An error is the disk's. Throws what a
  // thread threw.
  EDaoError Finish(IndexCollectors& collectors);

 private:
  struct SBlock {
    std::vector<uint32_t> numbers;
    std::vector<uint8_t> pages;
  };
  using Block = std::shared_ptr<const SBlock>;
  struct SWorker {
    SWorker(CPageFile& file, const STableDefinition& definition)
        : page(file.GetLayout()), values(file, definition) {}
    std::vector<CIndexCollector*> collectors;
    CSlottedPage page;
    CIndexedValues values;
    std::deque<Block> blocks;  // guarded by the feed's mutex
    EDaoError error = EDaoError::None;
    std::exception_ptr exception;
    std::thread thread;
  };

  void PassBlock();
  void StartThreads();
  void Work(SWorker& worker);
  void Collect(SWorker& worker, const SBlock& block) const;
  void End();

  CPageFile& m_file;
  const STableDefinition& m_definition;
  const SLayout& m_layout;
  const uint32_t m_threads;
  IndexCollectors m_collectors;
  std::vector<std::unique_ptr<SWorker>> m_workers;
  SBlock m_block;  // that is being filled
  uint32_t m_lastPage = 0;

  std::mutex m_mutex;
  std::condition_variable m_blockCame, m_blockDone;
  bool m_isEnding = false;
};

}  // namespace tolvane
