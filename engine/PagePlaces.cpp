#include "engine/PagePlaces.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "engine/RowProfile.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

class CPagePlaces {
 public:
  CPagePlaces(CAccessData& data, CSource& source, CPageClaims& claims, const CJobContext& job)
      : m_data(data),
        m_source(source),
        m_layout(source.GetLayout()),
        m_claims(claims),
        m_job(job),
        m_frame(m_layout.row),
        m_page(m_layout.pageSize) {}

  void Settle(const CPageTwins& twins) {
    ReadMaps();
    DropCopies(twins);
    NoteSwapped();
    for (const auto& table : m_data.GetTables()) {
      if (!m_job.repairing.IsRunning()) return;
      SettleTable(*table);
    }
    FindMisplaced();
    for (auto& [table, pages] : m_gained) {
      pages.insert(pages.end(), table->dataPages.begin(), table->dataPages.end());
      std::ranges::sort(pages);
      table->dataPages.Assign(std::move(pages));
    }
  }

 private:
  struct SMap {
    bool isKnown = false;
    size_t named = 0, alone = 0;  // pages, and those that no other map names
    size_t owned = 0;             // of the table by their heads, too
    std::vector<uint32_t> lost;   // not of the table by their heads
  };

  [[nodiscard]] uint32_t NumberOf(uint64_t offset) const {
    return static_cast<uint32_t>(offset / m_layout.pageSize);
  }

  void ReadMaps() {
    m_namedBy.assign(static_cast<size_t>(m_source.GetPageCount()), nullptr);
    m_owners.assign(m_namedBy.size(), nullptr);
    for (const auto& table : m_data.GetTables())
      for (const uint64_t offset : table->dataPages) m_owners[NumberOf(offset)] = table.get();
    std::vector<std::pair<uint32_t, const CAccessTable*>> shared;
    const auto take = [&](const CAccessTable& table, uint32_t page) {
      if (page >= m_namedBy.size()) return;
      SMap& map = m_maps[&table];
      map.named++;
      map.owned += m_owners[page] == &table ? 1 : 0;
      if (m_owners[page] != &table) map.lost.push_back(page);
      if (m_namedBy[page] != nullptr)
        shared.emplace_back(page, &table);
      else
        m_namedBy[page] = &table;
    };
    ReadTableMaps(m_source, m_data.GetTables(), take,
                  [&](const CAccessTable& table, bool isRead) { m_maps[&table].isKnown = isRead; });
    SettleShared(shared);
  }

  // A page that several maps name is its owner's where that is one of them, and nobody's else. A map all of
  // whose pages are those of others was reached through a wrong pointer.
  void SettleShared(const std::vector<std::pair<uint32_t, const CAccessTable*>>& shared) {
    std::unordered_map<uint32_t, std::vector<const CAccessTable*>> names;
    for (const auto& [page, table] : shared) {
      auto& tables = names[page];
      if (tables.empty()) tables.push_back(m_namedBy[page]);
      tables.push_back(table);
    }
    for (auto& [table, map] : m_maps) map.alone = map.named;
    for (const auto& [page, tables] : names) {
      for (const CAccessTable* const table : tables) m_maps[table].alone--;
      const bool isOwners = std::ranges::find(tables, m_owners[page]) != tables.end();
      m_namedBy[page] = isOwners ? m_owners[page] : nullptr;
    }
    for (auto& [table, map] : m_maps)
      if (map.named > 0 && map.alone == 0 && map.owned == 0) map.isKnown = false;
  }

  // --- copies ---

  void DropCopies(const CPageTwins& twins) {
    std::unordered_map<CAccessTable*, std::vector<CPageTwins::STwin>> found;
    for (const CPageTwins::STwin& twin : twins.Find(m_source)) {
      CAccessTable* const owner = m_owners[twin.page];
      if (owner != nullptr && owner == m_owners[twin.first]) found[owner].push_back(twin);
    }
    for (const auto& [table, copies] : found) {
      if (!m_job.repairing.IsRunning()) return;
      DropCopies(*table, copies);
    }
  }

  // A key makes it certain. Without one, the same rows may have been put in again; the count of the rows
  // tells.
  void DropCopies(CAccessTable& table, const std::vector<CPageTwins::STwin>& twins) {
    const bool isCopied = HasKey(table) || CountRows(table) != table.promisedRows;
    std::unordered_set<uint32_t> dropped;
    for (const auto& [page, first] : twins) {
      const bool isStray = !IsNamedBy(page, table), isFirstStray = !IsNamedBy(first, table);
      const bool isKnown = m_maps[&table].isKnown && isStray != isFirstStray;
      if (!isKnown && !isCopied) {
        if (twins.size() == 1 && HasSeveralRows(page))
          File(table, page, "another page of the table is the same: one may be a copy of the other");
        continue;
      }
      const uint32_t copy = isKnown && isFirstStray ? first : page;
      dropped.insert(copy);
      const CAccessTable* const place = m_namedBy[copy];
      if (place != nullptr)
        File(*place, copy, "a copy of another page was written over it: its own rows are gone");
    }
    Remove(table, dropped);
  }

  static bool HasKey(const CAccessTable& table) {
    const auto isKey = [](const CAccessTableIndex& index) {
      return index.primary != 0 || (index.unique != 0 && index.required != 0);
    };
    return std::ranges::any_of(table.indexes, isKey) ||
           std::ranges::any_of(table.columns, &CAccessColumn::IsCounter);
  }

  bool Load(uint32_t page) { return m_source.ReadPage(page, m_page) && AreSlotsSound(m_page, m_layout); }

  uint64_t CountRows(const CAccessTable& table) {
    uint64_t rows = 0;
    for (const uint64_t offset : table.dataPages)
      if (Load(NumberOf(offset))) rows += CountLiveSlots(m_page, m_layout);
    return rows;
  }

  // Whether the rows of the page differ from each other.
  bool HasSeveralRows(uint32_t page) {
    bool differ = false;
    std::span<const uint8_t> before;
    if (Load(page))
      ForEachLiveSlot(m_page, m_layout, [&](uint32_t slot, uint16_t /*word*/) {
        const auto row = FindRow(m_page, m_layout, slot, kSlotStart);
        if (!row) return;
        differ = differ || (!before.empty() && !std::ranges::equal(*row, before));
        before = *row;
      });
    return differ;
  }

  void File(const CAccessTable& table, uint32_t page, const char* reason) {
    m_data.GetLedger().Add(EDamage::TornPage,
                           {.page = page, .definition = table.GetDefinitionOffset(), .reason = reason});
  }

  void Remove(CAccessTable& table, const std::unordered_set<uint32_t>& pages) {
    if (pages.empty()) return;
    std::vector<uint64_t> kept;
    for (const uint64_t offset : table.dataPages)
      if (pages.count(NumberOf(offset)) == 0) kept.push_back(offset);
    table.dataPages.Assign(std::move(kept));
    for (const uint32_t page : pages) m_owners[page] = nullptr;
  }

  // --- pages that the table's map does not name ---

  void NoteSwapped() {
    for (size_t page = 0; page < m_namedBy.size(); page++)
      if (m_namedBy[page] != nullptr && m_owners[page] != nullptr && m_owners[page] != m_namedBy[page])
        m_strays.emplace(m_namedBy[page], m_owners[page]);
  }

  bool IsNamedBy(uint32_t page, const CAccessTable& table) const {
    return page < m_namedBy.size() && m_namedBy[page] == &table;
  }

  void SettleTable(CAccessTable& table) {
    const SMap& map = m_maps[&table];
    std::vector<uint32_t> strays, unnamed;
    for (const uint64_t offset : table.dataPages) {
      const uint32_t page = NumberOf(offset);
      if (IsNamedBy(page, table)) continue;
      (page < m_namedBy.size() && m_namedBy[page] != nullptr ? strays : unnamed).push_back(page);
    }
    std::unordered_set<uint32_t> removed;
    for (const uint32_t page : strays)
      if (SettleStray(table, page)) removed.insert(page);
    // A map that names none of the table's pages was reached through a wrong pointer, unless the table is
    // empty.
    const bool isEmpty = map.named == 0 && table.promisedRows == 0;
    if (map.isKnown && (map.owned != 0 || isEmpty)) {
      removed.insert(unnamed.begin(), unnamed.end());
      m_doubtful.insert(m_doubtful.end(), unnamed.begin(), unnamed.end());
      if (isEmpty)
        for (const uint32_t page : unnamed)
          File(table, page, "its table has no rows, by its count and its map");
    }
    const bool isLost = CountOwned(table) < map.named;
    Remove(table, removed);
    // Freed pages that nothing tells apart hold older rows: those that are missing are on the lost pages.
    std::ranges::sort(m_doubtful);
    if (!isLost || m_source.GetFreePages().IsKnown())
      m_claims.Doubt(table, std::move(m_doubtful));
    else
      m_apart[&table] = std::move(m_doubtful);
    m_doubtful.clear();
  }

  // Where pages of other kinds stand in places of a table, its own may stand in theirs.
  void FindMisplaced() {
    bool areFreeNoted = false;
    for (const auto& table : m_data.GetTables()) {
      const std::vector<uint32_t>& lost = m_maps[table.get()].lost;
      const bool isReplaced = std::ranges::any_of(lost, [this](uint32_t page) { return IsOtherKind(page); });
      if (!isReplaced) continue;
      if (!std::exchange(areFreeNoted, true)) NoteFreePages();
      if (const auto pages = m_apart.find(table.get()); pages != m_apart.end())
        m_claims.Misplace(*table, std::move(pages->second));
    }
  }

  // A whole page, but not of rows of a table.
  bool IsOtherKind(uint32_t page) {
    if (!m_source.ReadPage(page, m_page) || IsBlankPage(m_page)) return false;
    if (IsPageOf(m_page, kPageDefinition) || IsPageOf(m_page, kPageDroppedDefinition)) return true;
    return IsSoundPage(m_page, m_layout) && m_owners[page] == nullptr;
  }

  void NoteFreePages() {
    for (const uint32_t page : m_claims.ListFreePages()) {
      if (!m_job.repairing.IsRunning() || !Load(page)) continue;
      const auto* const owner = m_data.GetTables().FindTable(uint64_t{OwnerOf(m_page)} * m_layout.pageSize);
      if (owner != nullptr) m_apart[owner].push_back(page);
    }
  }

  size_t CountOwned(const CAccessTable& table) const {
    return static_cast<size_t>(std::ranges::count_if(
        table.dataPages, [&](uint64_t offset) { return IsNamedBy(NumberOf(offset), table); }));
  }

  // A page at the place of another table's. True: it is not the owner's, or doubtful.
  bool SettleStray(CAccessTable& table, uint32_t page) {
    CAccessTable& other = *m_data.GetTables().FindTable(m_namedBy[page]->GetDefinitionOffset());
    if (!Load(page)) return false;
    const bool isOwners = HasRowsOf(table), isOthers = HasRowsOf(other);
    const bool isSwapped = !m_maps[&table].isKnown || m_strays.count({&table, &other}) != 0;
    if (!isOthers) {
      const bool isDoubtful = isOwners && !isSwapped;
      if (isDoubtful) m_doubtful.push_back(page);
      return isDoubtful;
    }
    if (isOwners && isSwapped) return false;
    m_gained[&other].push_back(uint64_t{page} * m_layout.pageSize);
    m_data.GetLedger().Add(EDamage::BrokenPage, {.page = page,
                                                 .definition = other.GetDefinitionOffset(),
                                                 .reason = "its owner was wrong: the table's map names it"});
    return true;
  }

  // Whether most rows of the loaded page look as the definition says.
  bool HasRowsOf(const CAccessTable& table) {
    const CRowProfile profile(table, m_layout, ShapeOf(table, m_data.GetRules().maximumStoredColumns));
    size_t rows = 0, agreeing = 0;
    ForEachLiveSlot(m_page, m_layout, [&](uint32_t slot, uint16_t word) {
      if ((word & kSlotPointer) != 0) return;
      const auto row = FindRow(m_page, m_layout, slot, kSlotStart);
      rows++;
      if (row && profile.Accepts(m_frame, *row)) agreeing++;
    });
    return rows > 0 && agreeing * 2 > rows;
  }

  CAccessData& m_data;
  CSource& m_source;
  const SLayout& m_layout;
  CPageClaims& m_claims;
  const CJobContext& m_job;
  CRowFrame m_frame;
  std::vector<uint8_t> m_page;
  std::vector<const CAccessTable*> m_namedBy;  // by page
  // Places of the one table's where a page of the other's stands.
  std::set<std::pair<const CAccessTable*, const CAccessTable*>> m_strays;
  std::vector<CAccessTable*> m_owners;  // by page, as the heads say
  std::unordered_map<const CAccessTable*, SMap> m_maps;
  std::unordered_map<CAccessTable*, std::vector<uint64_t>> m_gained;
  std::vector<uint32_t> m_doubtful;  // of the table that is being settled
  // Pages that say they are the table's, and that its map does not name.
  std::unordered_map<const CAccessTable*, std::vector<uint32_t>> m_apart;
};

}  // namespace

void SettlePages(CAccessData& data, CSource& source, const CPageTwins& twins, CPageClaims& claims,
                 const CJobContext& job) {
  CPagePlaces(data, source, claims, job).Settle(twins);
}

}  // namespace tolvane
