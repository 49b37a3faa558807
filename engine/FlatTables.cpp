#include "engine/FlatTables.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/KnownTables.h"
#include "format/SystemObjects.h"
#include "format/SystemTables.h"
#include "model/FlatTable.h"
#include "model/MSysComplexColumnsData.h"
#include "platform/Text.h"
#include "render/ComplexValues.h"

namespace tolvane {

namespace {

class CFlatTables {
 public:
  CFlatTables(CAccessData& data, uint32_t pageSize, const CJobContext& job)
      : m_data(data), m_pageSize(pageSize), m_job(job) {
    for (const auto& table : data.GetTables())
      if (const auto flat = DescribeFlatTable(*table)) {
        m_byTable.try_emplace(table.get(), m_flats.size());
        m_flats.push_back({table.get(), *flat, nullptr});
      }
  }

  void Settle() {
    for (const auto& table : m_data.GetTables()) ForEachComplex(*table, &CFlatTables::ClaimKnown);
    ListNames();
    for (const auto& table : m_data.GetTables()) ForEachComplex(*table, &CFlatTables::ClaimByName);
    for (const SEntry& entry : m_flats) Show(entry);
    for (const auto& table : m_data.GetTables())
      if (!IsSystemTable(*table)) ForEachComplex(*table, &CFlatTables::CountLoose);
  }

 private:
  struct SEntry {
    CAccessTable* table;
    SFlatTable flat;
    const CAccessTable* owner;
  };
  using ColumnStep = void (CFlatTables::*)(CAccessTable&, size_t);

  void ForEachComplex(CAccessTable& table, ColumnStep step) {
    for (size_t i = 0; i < table.columns.GetCount(); ++i)
      if (table.columns.GetAt(i)->type == kTypeComplex && m_job.repairing.IsRunning())
        (this->*step)(table, i);
  }

  // Each flat table has one owner: the first.
  void ClaimKnown(CAccessTable& table, size_t column) {
    CAccessColumn& complex = *table.columns.GetAt(column);
    const auto flat = FindFlatTable(m_data.GetTables(), complex, m_pageSize);
    if (!flat) return;  // what is known of it still tells the kind of its values
    SEntry& entry = m_flats[m_byTable.at(flat->table)];
    if (entry.owner == nullptr)
      entry.owner = &table;
    else
      complex.SetComplexData(nullptr);
  }

  // Key and number of a flat table are named "_<column>" and "<table>_<column>".
  void ListNames() {
    for (size_t i = 0; i < m_flats.size(); ++i) {
      if (m_flats[i].owner != nullptr) continue;
      const std::u16string key(NameAt(m_flats[i], m_flats[i].flat.key));
      m_byNames.try_emplace(key + u'\n' + std::u16string(NameAt(m_flats[i], m_flats[i].flat.number)), i);
      m_byKey[key].push_back(i);
    }
  }

  // A table that lost its name has that of the key alone to go by.
  void ClaimByName(CAccessTable& table, size_t column) {
    CAccessColumn& complex = *table.columns.GetAt(column);
    if (FindFlatTable(m_data.GetTables(), complex, m_pageSize)) return;
    const std::u16string key = FlatKeyName(complex.GetName());
    size_t found = m_flats.size();
    if (const auto both = m_byNames.find(key + u'\n' + FlatRowIdName(table.name, complex.GetName()));
        both != m_byNames.end())
      found = both->second;
    else if (const auto one = m_byKey.find(key);
             one != m_byKey.end() && one->second.size() == 1 && table.nameSource == ENameSource::Generated)
      found = one->second.front();
    if (found < m_flats.size() && m_flats[found].owner == nullptr) Claim(m_flats[found], table, complex);
  }

  void Claim(SEntry& entry, CAccessTable& table, CAccessColumn& complex) const {
    entry.owner = &table;
    complex.SetComplexData(std::make_unique<CMSysComplexColumnsData>(
        std::u16string(complex.GetName()), std::u16string(), entry.table->GetPageText(m_pageSize),
        table.GetPageText(m_pageSize), ToDecimal(int64_t{complex.misc})));
  }

  static std::u16string_view NameAt(const SEntry& entry, size_t column) {
    return entry.table->columns.GetAt(column)->GetName();
  }

  void Show(const SEntry& entry) {
    CAccessTable& table = *entry.table;
    const bool isOfAccess = NameByColumns(table).starts_with(kSystemTablePrefix);
    if (entry.owner != nullptr || isOfAccess || table.header.rowCount == 0) {
      table.catalogueFlags = kFlatTableFlags;
      return;
    }
    table.catalogueFlags = 0;
    table.hasSystemMark = true;
    NameAfterColumn(entry);
    m_data.GetLedger().Add(EDamage::LooseValue, {.page = table.GetPage(m_pageSize),
                                                 .definition = table.GetDefinitionOffset(),
                                                 .amount = table.header.rowCount,
                                                 .reason = "the column that they belong to is gone"});
  }

  // "<table>_<column>" says more than the name that nobody was to see.
  void NameAfterColumn(const SEntry& entry) {
    const std::u16string name(NameAt(entry, entry.flat.number));
    for (const auto& other : m_data.GetTables())
      if (EqualsIgnoreCase(other->name, name)) return;
    entry.table->name = name;
  }

  void CountLoose(CAccessTable& table, size_t column) {
    const auto flat = FindFlatTable(m_data.GetTables(), *table.columns.GetAt(column), m_pageSize);
    if (!flat) return;
    const CComplexValues values(table, column, *flat, m_data.GetRules());
    using EFate = CComplexValues::EFate;
    constexpr std::pair<EFate, const char*> kReasons[] = {
        {EFate::WithoutRecord, "the records that they belong to are gone"},
        {EFate::Repeated, "their records have the same values already"},
        {EFate::Empty, "the values themselves are gone"}};
    for (const auto& [fate, reason] : kReasons)
      if (const uint64_t count = values.Count(fate); count > 0)
        m_data.GetLedger().Add(EDamage::LooseValue, {.page = flat->table->GetPage(m_pageSize),
                                                     .definition = table.GetDefinitionOffset(),
                                                     .amount = count,
                                                     .column = static_cast<int32_t>(column),
                                                     .reason = reason});
  }

  CAccessData& m_data;
  const uint32_t m_pageSize;
  const CJobContext& m_job;
  std::vector<SEntry> m_flats;
  std::unordered_map<const CAccessTable*, size_t> m_byTable;
  // Of flat tables without an owner.
  std::unordered_map<std::u16string, size_t> m_byNames;
  std::unordered_map<std::u16string, std::vector<size_t>> m_byKey;
};

}  // namespace

void SettleFlatTables(CAccessData& data, uint32_t pageSize, const CJobContext& job) {
  CFlatTables(data, pageSize, job).Settle();
}

}  // namespace tolvane
