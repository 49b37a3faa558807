#include "engine/RowCounts.h"

#include <bitset>
#include <initializer_list>
#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "engine/IndexWitness.h"
#include "format/IndexPage.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"

namespace tolvane {

namespace {

class CRowCounts {
 public:
  CRowCounts(CAccessData& data, CSource& source, const CPageClaims& claims, const CJobContext& job)
      : m_data(data),
        m_source(source),
        m_layout(source.GetLayout()),
        m_claims(claims),
        m_job(job),
        m_page(m_layout.pageSize) {}

  void Count() {
    for (const auto& table : m_data.GetTables())
      if (KindOf(*table)) m_doubtful.emplace(table->GetDefinitionOffset(), table.get());
    if (m_doubtful.empty()) return;
    const SRecoveryRules& rules = m_data.GetRules();
    if (rules.tellReasons || rules.surplusRowsAreDoubtful) ReadIndexes();
    if (rules.tellReasons) {
      NoteTables(m_rejecting, {EDamage::RejectedRow, EDamage::BrokenOverflow});
      NoteTables(m_broken, {EDamage::BrokenPage});
      for (const auto& [table, slots] : m_named)
        for (const uint64_t offset : table->dataPages) ComparePage(*table, offset, slots);
      NoteTables(m_torn, {EDamage::TornPage});
    }
    for (const auto& table : m_data.GetTables())
      if (const auto kind = KindOf(*table); kind == EDamage::MissingRows || (kind && !AreRowsIndexed(*table)))
        File(*table, *kind);
  }

 private:
  [[nodiscard]] std::optional<EDamage> KindOf(const CAccessTable& table) const {
    const uint64_t mostRows = m_source.GetPageCount() * m_layout.data.MaximumSlots(m_layout.pageSize);
    const uint32_t promised = table.promisedRows, found = table.header.rowCount;
    if (promised > mostRows || promised == found || table.isBuiltIn) return std::nullopt;
    if (promised > found) return EDamage::MissingRows;
    // Programs leave the counts of the catalogue and of the permissions as they were.
    const uint32_t page = table.GetPage(m_layout.pageSize);
    const bool isCounted =
        page != kObjectsPage && page != kAcesPage && m_data.GetRules().surplusRowsAreDoubtful;
    return isCounted ? std::optional(EDamage::SurplusRows) : std::nullopt;
  }

  void File(const CAccessTable& table, EDamage kind) {
    const uint64_t promised = table.promisedRows, found = table.header.rowCount;
    const bool isMissing = kind == EDamage::MissingRows;
    const bool tells = m_data.GetRules().tellReasons;
    m_data.GetLedger().Add(kind, {.page = table.GetPage(m_layout.pageSize),
                                  .definition = table.GetDefinitionOffset(),
                                  .amount = isMissing ? promised - found : found - promised,
                                  .reason = !tells      ? nullptr
                                            : isMissing ? WhyMissing(table)
                                                        : WhySurplus(table),
                                  .promised = promised});
  }

  using Tables = std::unordered_set<uint64_t>;  // by the offsets of their definitions
  void NoteTables(Tables& tables, std::initializer_list<EDamage> kinds) {
    for (const EDamage kind : kinds)
      for (const CDamageLedger::SPlace& place : m_data.GetLedger().GetPlaces(kind))
        tables.insert(place.definition);
  }

  // Pages of the table's own map that are not among its pages, and pages among them that it does not name.
  struct SMapFaults {
    bool isKnown = false, hasLost = false, hasUnnamed = false;
  };
  SMapFaults CompareMap(const CAccessTable& table) {
    SMapFaults faults;
    std::unordered_set<uint64_t> unnamed(table.dataPages.begin(), table.dataPages.end());
    const auto take = [&](uint32_t page) {
      const bool isThere = unnamed.erase(uint64_t{page} * m_layout.pageSize) != 0;
      faults.hasLost = faults.hasLost || (!isThere && !m_claims.IsAdopted(page));
    };
    faults.isKnown =
        ReadUsageMap(m_source.GetPages(), m_layout, SRowPointer::FromWord(table.header.usedPagesMap),
                     m_source.GetPageCount(), take);
    faults.hasUnnamed = !unnamed.empty();
    return faults;
  }

  const char* WhyMissing(const CAccessTable& table) {
    const SMapFaults map = CompareMap(table);
    const uint64_t definition = table.GetDefinitionOffset();
    if (map.isKnown && map.hasLost) return "pages that its map names are gone";
    if (m_torn.count(definition) != 0) return "a page of it is older than its indexes, or torn";
    if (m_rejecting.count(definition) != 0) return "rows of it are not whole";
    if (m_broken.count(definition) != 0) return "a page of it has lost its slots";
    return map.isKnown ? "nothing but the count tells of them" : "its map of pages is gone, and pages may be";
  }

  const char* WhySurplus(const CAccessTable& table) {
    const SMapFaults map = CompareMap(table);
    const uint64_t definition = table.GetDefinitionOffset();
    if (m_broken.count(definition) != 0)
      return "a page of it has lost its slots: deleted rows may be among them";
    if (map.isKnown && map.hasUnnamed) return "pages that its map does not name are among its own";
    if (!m_source.GetFreePages().IsKnown())
      return "the map of free pages is gone: freed ones may be among its own";
    return "the count is older than the rows, or was overwritten";
  }

  // The slots that the indexes name, by page.
  using Slots = std::map<uint32_t, std::bitset<kMaxSlots>>;

  void ReadIndexes() {
    for (uint64_t number = 0; number < m_source.GetPageCount(); number++) {
      if (!m_job.repairing.IsRunning()) return;
      if (m_source.GetFreePages().IsFree(number) || !m_source.ReadPage(number, m_page)) continue;
      if (m_page[0] != kPageIndexLeaf || !IsSoundPage(m_page, m_layout)) continue;
      const auto table = m_doubtful.find(uint64_t{OwnerOf(m_page)} * m_layout.pageSize);
      if (table == m_doubtful.end()) continue;
      Slots& slots = m_named[table->second];
      ForEachIndexEntry(m_page, m_layout.index, [&slots](SRowPointer row) { slots[row.page].set(row.slot); });
    }
  }

  // Whether the indexes name each row that was found: then the count alone is wrong. No index names a deleted
  // one.
  bool AreRowsIndexed(const CAccessTable& table) {
    const auto slots = m_named.find(&table);
    if (slots == m_named.end()) return false;
    uint64_t rows = 0;
    for (const uint64_t offset : table.dataPages) {
      const auto number = static_cast<uint32_t>(offset / m_layout.pageSize);
      const auto named = slots->second.find(number);
      if (!m_source.ReadPage(number, m_page) || !AreSlotsSound(m_page, m_layout)) return false;
      const uint32_t count = GetLittle<uint16_t>(m_page, m_layout.data.slotCount);
      for (uint32_t slot = 0; slot < count; slot++) {
        if ((ReadSlot(m_page, m_layout, slot).value_or(kSlotHidden) & kSlotHidden) != 0) continue;
        if (slot >= kMaxSlots || named == slots->second.end() || !named->second[slot]) return false;
        rows++;
      }
    }
    return rows == table.header.rowCount;
  }

  void ComparePage(const CAccessTable& table, uint64_t offset, const Slots& slots) {
    const auto number = static_cast<uint32_t>(offset / m_layout.pageSize);
    const auto named = slots.find(number);
    if (named == slots.end() || !m_source.ReadPage(number, m_page) || !AreSlotsSound(m_page, m_layout))
      return;
    if ((named->second >> GetLittle<uint16_t>(m_page, m_layout.data.slotCount)).none()) return;
    m_data.GetLedger().Add(
        EDamage::TornPage,
        {.page = number, .definition = table.GetDefinitionOffset(), .reason = kRowsNotThere});
  }

  CAccessData& m_data;
  CSource& m_source;
  const SLayout& m_layout;
  const CPageClaims& m_claims;
  const CJobContext& m_job;
  std::vector<uint8_t> m_page;
  std::unordered_map<uint64_t, const CAccessTable*> m_doubtful;
  std::unordered_map<const CAccessTable*, Slots> m_named;
  Tables m_rejecting, m_broken, m_torn;
};

const char* WhyNoDefinition(CSource& source, uint64_t number) {
  std::vector<uint8_t> page(source.GetLayout().pageSize);
  if (number >= source.GetPageCount()) return "its page lies behind the end of the file";
  if (!source.ReadPage(number, page)) return "its page cannot be read";
  if (IsBlankPage(page)) return "its page is zeroed";
  if (IsPageOf(page, kPageDroppedDefinition)) return "its page says that it was deleted";
  return page[0] == kPageDefinition ? "its page does not begin a definition"
                                    : "its page holds something else";
}

}  // namespace

void CountMissingRows(CAccessData& data, CSource& source, const CPageClaims& claims, const CJobContext& job) {
  CRowCounts(data, source, claims, job).Count();
}

void ExplainLostTables(CAccessData& data, CSource& source) {
  data.GetLedger().Explain(EDamage::LostTable, [&source](const CDamageLedger::SPlace& place) {
    return WhyNoDefinition(source, place.page);
  });
}

}  // namespace tolvane
