// Pages of rows that cannot be told from their heads, and the tables that lay claim to them: by the map of
// the table's pages, or by the entries of its indexes, which name page and slot of every row.
#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "engine/LongValuePages.h"
#include "engine/Source.h"
#include "model/AccessTable.h"
#include "status/JobContext.h"

namespace tolvane {

// A page without a home, as step 2 met it.
struct SHomelessPage {
  enum class EReason : uint8_t {
    NoOwner,     // a page of rows whose owner is no table
    NoHead,      // a page without a type
    Free,        // a table's, but the map of free pages says it is free
    LongValues,  // a page of long values whose slots cannot be true
  };
  uint32_t page = 0;
  EReason reason = EReason::NoOwner;
};

// Hands over the pages that the maps of the tables name, and then each table with whether its map can be
// read. Many tables with one map do not cost their product.
void ReadTableMaps(CSource& source, const CAccessTableList& tables,
                   const std::function<void(const CAccessTable&, uint32_t)>& take,
                   const std::function<void(const CAccessTable&, bool)>& finish);

class CPageClaims {
 public:
  CPageClaims() = default;
  // Looks for claims on these pages by tables whose definitions are decoded. Reads the index pages only where
  // the maps leave a page without a claim.
  CPageClaims(CSource& source, const CAccessTableList& tables, const std::vector<SHomelessPage>& homeless,
              const CJobContext& job);

  // Pages that the table claims, in ascending order.
  [[nodiscard]] std::vector<uint32_t> PagesOf(const CAccessTable& table) const;
  // Pages that say they are the table's, which nothing else does: they are as far as its rows are missing.
  void Doubt(const CAccessTable& table, std::vector<uint32_t> pages) {
    m_doubtful[&table] = std::move(pages);
  }
  [[nodiscard]] std::vector<uint32_t> DoubtfulPagesOf(const CAccessTable& table) const;
  // The same of a table whose own places have pages of others: only those that make its rows complete.
  void Misplace(const CAccessTable& table, std::vector<uint32_t> pages) {
    m_misplaced[&table] = std::move(pages);
  }
  [[nodiscard]] std::vector<uint32_t> MisplacedPagesOf(const CAccessTable& table) const;
  // Pages that the map of free pages names, which no table claims.
  [[nodiscard]] std::vector<uint32_t> ListFreePages() const;
  // Rows of the page were found in the table that claims it.
  void Adopt(uint32_t page) { m_adopted.insert(page); }
  [[nodiscard]] CLongValuePages& GetLongValuePages() { return m_longValuePages; }
  [[nodiscard]] bool IsAdopted(uint32_t page) const { return m_adopted.count(page) != 0; }

 private:
  void AskMaps(CSource& source, const CAccessTableList& tables);
  void AskIndexes(CSource& source, const CAccessTableList& tables, const CJobContext& job);
  void Claim(uint32_t page, const CAccessTable& table);

  std::unordered_set<uint32_t> m_unclaimed;
  std::unordered_map<const CAccessTable*, std::vector<uint32_t>> m_claims;
  std::unordered_map<const CAccessTable*, std::vector<uint32_t>> m_doubtful, m_misplaced;
  std::vector<uint32_t> m_free;
  std::unordered_set<uint32_t> m_adopted;
  CLongValuePages m_longValuePages{kLayoutJet4, {}};
};

}  // namespace tolvane
