#include "embedded/SortedEntries.h"

#include <algorithm>

namespace tolvane {

namespace {

constexpr size_t kEntriesABlock = 4096;
constexpr uint32_t kMostThreads = 2;  // one that merges, one that builds

}  // namespace

CSortedEntries::CSortedEntries(CIndexSorter& sorter, uint32_t threads)
    : m_sorter(sorter),
      m_team(*this, std::clamp<uint32_t>(threads, 1, kMostThreads)),
      m_blocks(m_team.GetSlotCount()) {
  m_team.Start(sorter.GetEntryCount() <= 4 * kEntriesABlock);
}

CSortedEntries::~CSortedEntries() {
  m_team.End();
}

bool CSortedEntries::Next(SIndexEntry& entry) {
  if (m_block == nullptr || m_next == m_block->entries.size()) {
    const std::optional<size_t> slot = m_team.Next();
    m_block = slot ? &m_blocks[*slot] : nullptr;
    if (m_block == nullptr) return false;
    m_next = m_start = 0;
  }
  const SBlock::SPlace& place = m_block->entries[m_next++];
  entry = {.key = std::span(m_block->keys).subspan(m_start, place.end - m_start),
           .page = place.page,
           .row = place.row,
           .repeatsKey = place.repeatsKey};
  m_start = place.end;
  return true;
}

bool CSortedEntries::BeginStep(size_t slot) {
  SBlock& block = m_blocks[slot];
  block.keys.clear();
  block.entries.clear();
  for (SIndexEntry entry; block.entries.size() < kEntriesABlock && m_sorter.Next(entry);) {
    block.keys.insert(block.keys.end(), entry.key.begin(), entry.key.end());
    block.entries.push_back({block.keys.size(), entry.page, entry.row, entry.repeatsKey});
  }
  return !block.entries.empty();
}

}  // namespace tolvane
