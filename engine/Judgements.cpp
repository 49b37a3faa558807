#include "engine/Judgements.h"

#include <algorithm>
#include <map>

#include "format/Value.h"
#include "model/FlatTable.h"
#include "platform/CodePage.h"

namespace tolvane {

namespace {

template <class T>
std::optional<T> FirstOfMost(const std::map<T, size_t>& votes) {
  const auto most = std::ranges::max_element(votes, {}, &std::pair<const T, size_t>::second);
  if (most == votes.end()) return std::nullopt;
  return most->first;
}

}  // namespace

std::optional<uint16_t> VoteCodePage(const CAccessTableList& tables) {
  std::map<uint16_t, size_t> votes;
  for (const auto& table : tables)
    for (const CAccessColumn& column : table->columns)
      if (column.codePage != 0 && IsCodePageKnown(column.codePage)) votes[column.codePage]++;
  return FirstOfMost(votes);
}

std::optional<uint32_t> VoteSortOrder(const CAccessTableList& tables) {
  constexpr uint32_t kLanguage = 0xFFFF, kVersion = 0xFF000000;
  std::map<uint32_t, size_t> votes;
  for (const auto& table : tables) {
    if (table->header.tableType != kUserTable) continue;
    for (const CAccessColumn& column : table->columns) {
      const bool isText = IsTextType(column.type) && !IsCalculated(column.extendedFlags);
      if (isText && (column.misc & kLanguage) != 0) votes[column.misc & (kLanguage | kVersion)]++;
    }
  }
  return FirstOfMost(votes);
}

namespace {

std::pair<EDamage, const char*> DamageOf(SHomelessPage::EReason reason) {
  switch (reason) {
    case SHomelessPage::EReason::NoOwner:
      return {EDamage::OrphanDataPage, "its owner is no table definition"};
    case SHomelessPage::EReason::NoHead:
      return {EDamage::UnknownPage, nullptr};
    default:
      return {EDamage::BrokenPage, "slots of long values cannot be true"};
  }
}

}  // namespace

void CountHomelessPages(CAccessData& data, const std::vector<SHomelessPage>& homeless,
                        const CPageClaims& claims) {
  for (const auto& [page, reason] : homeless) {
    if (reason == SHomelessPage::EReason::Free || claims.IsAdopted(page)) continue;
    const auto [kind, why] = DamageOf(reason);
    data.GetLedger().Add(kind, {.page = page, .reason = why});
  }
}

void CountUnfitPages(CAccessData& data, const std::vector<SHomelessPage>& homeless) {
  for (const auto& table : data.GetTables())
    if (!IsSystemTable(*table) && table->header.rowCount > 0) return;
  for (const SHomelessPage& page : homeless)
    if (page.reason == SHomelessPage::EReason::NoOwner)
      data.GetLedger().Add(EDamage::UnfitTemplate, {.page = page.page});
}

// A user's table may stand where a system table usually does, and goes by its name while the catalogue is
// lost.
std::optional<EDamage> DoubtOfName(const CAccessTable& table) {
  if (table.nameSource == ENameSource::Generated) return EDamage::UnnamedTable;
  const bool isUsers = table.header.tableType == kUserTable && table.header.rowCount > 0;
  if (table.nameSource == ENameSource::Place && isUsers) return EDamage::MistakableTable;
  return std::nullopt;
}

void CountDoubtfulNames(CAccessData& data, CSource& definitions) {
  const uint32_t pageSize = definitions.GetLayout().pageSize;
  const CFreePageMap& freePages = definitions.GetFreePages();
  for (const auto& table : data.GetTables()) {
    // Nobody sees the names of flat tables; those without an owner are counted as such.
    if (data.GetRules().complexValuesAreData && DescribeFlatTable(*table)) continue;
    const std::optional<EDamage> doubt = DoubtOfName(*table);
    if (doubt && !freePages.IsFree(table->GetPage(pageSize)))
      data.GetLedger().Add(*doubt,
                           {.page = table->GetPage(pageSize), .definition = table->GetDefinitionOffset()});
  }
}

}  // namespace tolvane
