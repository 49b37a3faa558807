#include "embedded/IndexFeed.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "format/SlottedPage.h"

namespace tolvane {

namespace {

constexpr size_t kPagesABlock = 32;
constexpr size_t kBlocksWaiting = 8;  // for each thread

}  // namespace

// The first piece of a memo may lie on a page that is not written yet.
bool CIndexFeed::IsPossible(const STableDefinition& definition) {
  for (const SRealIndex& index : definition.realIndexes)
    for (const SIndexColumn& part : index.columns) {
      const SColumnDefinition* const column = definition.FindColumn(part.number);
      if (column == nullptr || column->HoldsLongValues()) return false;
    }
  return !definition.realIndexes.empty();
}

CIndexFeed::CIndexFeed(CPageFile& file, const STableDefinition& definition)
    : m_file(file),
      m_definition(definition),
      m_layout(file.GetLayout()),
      m_threads(file.GetThreads()),
      m_collectors(MakeCollectors(file, definition, 0)) {
  m_workers.push_back(std::make_unique<SWorker>(m_file, m_definition));
  for (const auto& collector : m_collectors) m_workers.front()->collectors.push_back(collector.get());
}

CIndexFeed::~CIndexFeed() {
  End();
}

bool CIndexFeed::TakePage(uint32_t number, std::span<const uint8_t> page) {
  if (number <= m_lastPage) return false;
  m_lastPage = number;
  m_block.numbers.push_back(number);
  m_block.pages.insert(m_block.pages.end(), page.begin(), page.end());
  if (m_block.numbers.size() == kPagesABlock) PassBlock();
  return true;
}

EDaoError CIndexFeed::Finish(IndexCollectors& collectors) {
  if (!m_block.numbers.empty()) PassBlock();
  End();
  for (const auto& worker : m_workers)
    if (worker->exception) std::rethrow_exception(worker->exception);
  collectors = std::move(m_collectors);
  for (const auto& worker : m_workers)
    if (worker->error != EDaoError::None) return worker->error;
  return EDaoError::None;
}

void CIndexFeed::PassBlock() {
  const Block block = std::make_shared<SBlock>(std::exchange(m_block, {}));
  if (block->numbers.size() == kPagesABlock) StartThreads();
  if (!m_workers.front()->thread.joinable()) {
    Collect(*m_workers.front(), *block);
    return;
  }
  std::unique_lock lock(m_mutex);
  m_blockDone.wait(lock, [this] {
    return std::ranges::all_of(m_workers,
                               [](const auto& worker) { return worker->blocks.size() < kBlocksWaiting; });
  });
  for (const auto& worker : m_workers) worker->blocks.push_back(block);
  m_blockCame.notify_all();
}

// The collectors are dealt out to as many threads as there may be: the one that stores rows waits for them
// where indexes are many, and where there is one it has most of the work. Where the system has no room for
// them the rows' own thread does it.
void CIndexFeed::StartThreads() {
  if (m_threads < 2 || m_workers.front()->thread.joinable() || m_workers.size() > 1) return;
  const std::vector<CIndexCollector*> all = std::move(m_workers.front()->collectors);
  const size_t count = std::min<size_t>(m_threads, all.size());
  while (m_workers.size() < count) m_workers.push_back(std::make_unique<SWorker>(m_file, m_definition));
  m_workers.front()->collectors.clear();
  for (size_t i = 0; i < all.size(); i++) m_workers[i % count]->collectors.push_back(all[i]);
  try {
    for (const auto& worker : m_workers)
      worker->thread = std::thread([this, &worker = *worker] { Work(worker); });
  } catch (const std::system_error&) {
    End();
    m_workers.resize(1);
    m_workers.front()->collectors = all;
    m_isEnding = false;
  }
}

void CIndexFeed::Work(SWorker& worker) {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_blockCame.wait(lock, [&] { return m_isEnding || !worker.blocks.empty(); });
    if (worker.blocks.empty()) return;
    const Block block = worker.blocks.front();
    lock.unlock();
    try {
      if (!worker.exception) Collect(worker, *block);
    } catch (...) {
      worker.exception = std::current_exception();
    }
    lock.lock();
    worker.blocks.pop_front();
    m_blockDone.notify_one();
  }
}

void CIndexFeed::Collect(SWorker& worker, const SBlock& block) const {
  const std::span<const uint8_t> pages = block.pages;
  for (size_t i = 0; i < block.numbers.size(); i++) {
    if (!worker.page.Load(pages.subspan(i * m_layout.pageSize, m_layout.pageSize))) continue;
    for (uint32_t row = 0; row < worker.page.GetRowCount(); row++) {
      worker.values.SetRow(worker.page.GetRow(row));
      for (CIndexCollector* const collector : worker.collectors)
        if (worker.error == EDaoError::None)
          worker.error = collector->Add(worker.values, MakeRowPointer(block.numbers[i], row));
    }
  }
}

// What is waiting is collected first.
void CIndexFeed::End() {
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
  }
  m_blockCame.notify_all();
  for (const auto& worker : m_workers)
    if (worker->thread.joinable()) worker->thread.join();
}

}  // namespace tolvane
