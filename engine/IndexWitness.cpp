#include "engine/IndexWitness.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <unordered_map>

#include "format/IndexCursor.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Each page of an index is read twice at most, unless many indexes share their pages.
constexpr uint64_t kIndexPagesEach = 4;
constexpr uint64_t kIndexPagesBase = 1024;
// The indexes of smaller tables are read before a thread would have begun.
constexpr size_t kPagesWorthAThread = 256;
// Memory of a comparison; larger tables are told by their sums to differ, and nothing more is known.
constexpr size_t kMostEntries = size_t{1} << 22;
constexpr size_t kMostContradictions = size_t{1} << 20;
constexpr size_t kMostValues = size_t{1} << 19;
// Keys of texts are believed as long as most rows agree with them.
constexpr size_t kMostContradictedShare = 4;

}  // namespace

// What one index says.
struct CIndexWitness::STestimony {
  struct SEntry {
    uint32_t row;   // its pointer's word
    bool isThere;   // on the table's pages, whatever it holds
    uint64_t hash;  // of its key
  };
  bool isWhole = false, isCertain = false;
  std::vector<SEntry> entries;  // by row
  // Keys of values whose weights are not known, by the values.
  std::unordered_map<uint64_t, uint64_t> keys;
  size_t agreeing = 0, contradicted = 0;

  SEntry* Find(uint32_t row) {
    const auto entry = std::ranges::lower_bound(entries, row, {}, &SEntry::row);
    return entry != entries.end() && entry->row == row ? &*entry : nullptr;
  }
  // False: a row with the same value has another key.
  bool HasKey(uint64_t value, uint64_t key) {
    if (keys.size() < kMostValues) return keys.try_emplace(value, key).first->second == key;
    const auto known = keys.find(value);
    return known == keys.end() || known->second == key;
  }
  [[nodiscard]] bool IsBelieved(uint32_t rows) const {
    if (!isWhole) return false;
    if (agreeing == 0) return isCertain && entries.size() >= rows;
    return isCertain || contradicted <= kMostContradictedShare * agreeing;
  }
};

struct CIndexWitness::SContradiction {
  uint32_t page;
  uint32_t slot;
  size_t index;    // among the testimonies
  bool isCertain;  // another row has the same value, and another key
};

CIndexWitness::CIndexWitness(CSource& source, const CJobContext& job)
    : m_layout(source.GetLayout()),
      m_job(job),
      m_pagesLeft(kIndexPagesEach * source.GetPageCount() + kIndexPagesBase),
      m_page(m_layout.pageSize) {
  m_pages.ShareFile(source.GetPages());
}

void CIndexWitness::Begin(const CAccessTable& table, const CRowEntries& entries) {
  m_statement = {};  // ends one that nobody heard
  const auto add = [this, &table, indexes = entries.GetIndexes()] { return Add(table, indexes); };
  const bool isBeside = m_job.GetThreads() > 1 && table.dataPages.GetCount() >= kPagesWorthAThread;
  try {
    if (isBeside) m_statement = std::async(std::launch::async, add);
  } catch (const std::system_error&) {
    // The system has no room for another thread.
  }
  if (!m_statement.valid()) m_statement = std::async(std::launch::deferred, add);
}

void CIndexWitness::Hear(CAccessData& data, const CAccessTable& table, const CRowProfile& profile,
                         CRowEntries& entries, uint64_t sum) {
  const SStatement statement = m_statement.get();
  if (statement.isAnyWhole && statement.sum != sum) Compare(data, table, profile, entries);
}

CIndexWitness::SStatement CIndexWitness::Add(const CAccessTable& table,
                                             const std::vector<CRowEntries::SIndex>& indexes) {
  SStatement statement;
  for (const CRowEntries::SIndex& index : indexes) {
    const bool isWhole = Walk(table, index, [&](std::span<const uint8_t> key, SRowPointer row) {
      statement.sum += HashOfEntry(index.position, key, row);
    });
    statement.isAnyWhole = statement.isAnyWhole || isWhole;
  }
  return statement;
}

template <class F>
bool CIndexWitness::Walk(const CAccessTable& table, const CRowEntries::SIndex& index, const F& take) {
  const uint32_t owner = table.GetPage(m_layout.pageSize);
  const auto read = [&](uint32_t page, std::span<uint8_t> bytes) {
    if (m_pagesLeft == 0 || !m_job.repairing.IsRunning()) return false;
    m_pagesLeft--;
    return m_pages.ReadPage(uint64_t{page} * m_layout.pageSize, bytes) && OwnerOf(bytes) == owner;
  };
  const auto pages =
      static_cast<uint32_t>(std::min<uint64_t>(m_pages.GetPageCount(m_layout.pageSize), UINT32_MAX));
  CIndexCursor cursor(m_layout, pages, table.indexes.GetAt(index.position)->rootPage, read);
  EIndexWalk result = cursor.Seek({});
  for (; result == EIndexWalk::Ok && !cursor.IsAtEnd(); result = cursor.Next())
    take(cursor.GetKey(), SRowPointer::FromWord(cursor.GetRowPointer()));
  return result == EIndexWalk::Ok;
}

CIndexWitness::STestimony CIndexWitness::Collect(const CAccessTable& table,
                                                 const CRowEntries::SIndex& index) {
  STestimony testimony;
  testimony.isCertain = index.isCertain;
  bool isAll = true;
  testimony.isWhole = Walk(table, index, [&](std::span<const uint8_t> key, SRowPointer row) {
    isAll = testimony.entries.size() < kMostEntries;
    if (isAll) testimony.entries.push_back({row.ToWord(), false, HashOfEntry(index.position, key, {})});
  });
  testimony.isWhole = testimony.isWhole && isAll;
  std::ranges::sort(testimony.entries, {}, &STestimony::SEntry::row);
  return testimony;
}

void CIndexWitness::Compare(CAccessData& data, const CAccessTable& table, const CRowProfile& profile,
                            CRowEntries& entries) {
  std::vector<STestimony> testimonies;
  for (const CRowEntries::SIndex& index : entries.GetIndexes()) testimonies.push_back(Collect(table, index));
  std::vector<SContradiction> found;
  for (const uint64_t offset : table.dataPages) {
    if (!m_job.repairing.IsRunning()) return;
    ComparePage(offset, profile, entries, testimonies, found);
  }
  std::erase_if(found, [&](const SContradiction& row) {
    const STestimony& testimony = testimonies[row.index];
    return row.isCertain ? !testimony.isWhole : !testimony.IsBelieved(table.header.rowCount);
  });
  for (size_t i = 0, end = 0; i < found.size(); i = end) {
    bool isOneRow = true;
    for (end = i; end < found.size() && found[end].page == found[i].page; end++)
      isOneRow = isOneRow && found[end].slot == found[i].slot;
    data.GetLedger().Add(EDamage::TornPage,
                         {.page = found[i].page,
                          .definition = table.GetDefinitionOffset(),
                          .row = isOneRow ? static_cast<int32_t>(found[i].slot) : -1,
                          .reason = isOneRow ? "an index of the table contradicts the row"
                                             : "indexes of the table contradict rows of it"});
  }
  // Where the count tells of missing rows, or of too many, it is looked into with the counts.
  if (table.header.rowCount == table.promisedRows) FileMissing(data, table, testimonies, found);
}

void CIndexWitness::FileMissing(CAccessData& data, const CAccessTable& table,
                                const std::vector<STestimony>& testimonies,
                                const std::vector<SContradiction>& filed) {
  std::set<uint32_t> pages;
  for (const STestimony& testimony : testimonies)
    if (testimony.IsBelieved(table.header.rowCount))
      for (const STestimony::SEntry& entry : testimony.entries)
        if (!entry.isThere) pages.insert(SRowPointer::FromWord(entry.row).page);
  for (const SContradiction& row : filed) pages.erase(row.page);
  for (const uint32_t page : pages)
    data.GetLedger().Add(EDamage::TornPage,
                         {.page = page, .definition = table.GetDefinitionOffset(), .reason = kRowsNotThere});
}

void CIndexWitness::ComparePage(uint64_t offset, const CRowProfile& profile, CRowEntries& entries,
                                std::vector<STestimony>& testimonies, std::vector<SContradiction>& found) {
  const auto number = static_cast<uint32_t>(offset / m_layout.pageSize);
  if (!m_pages.ReadPage(offset, m_page) || !AreSlotsSound(m_page, m_layout)) return;
  CRowFrame frame(m_layout.row);
  ForEachLiveSlot(m_page, m_layout, [&](uint32_t slot, uint16_t word) {
    const auto row = FindRow(m_page, m_layout, slot, kSlotStart);
    const SRowPointer place{slot, number};
    for (STestimony& testimony : testimonies)
      if (STestimony::SEntry* const entry = testimony.Find(place.ToWord())) entry->isThere = true;
    if ((word & kSlotPointer) != 0 || !row || !profile.Accepts(frame, *row)) return;
    for (size_t i = 0; i < testimonies.size(); i++) {
      STestimony& testimony = testimonies[i];
      const CRowEntries::SIndex& index = entries.GetIndexes()[i];
      const auto hash = entries.HashOf(index, frame);
      const STestimony::SEntry* const entry = testimony.Find(place.ToWord());
      bool isRight = true;
      if (hash) {
        isRight = entry != nullptr && entry->hash == *hash;
        (isRight ? testimony.agreeing : testimony.contradicted)++;
      } else if (entry != nullptr) {
        isRight = testimony.HasKey(entries.HashOfValues(index, frame), entry->hash);
      }
      if (!isRight && found.size() < kMostContradictions) found.push_back({number, slot, i, !hash});
    }
  });
}

}  // namespace tolvane
