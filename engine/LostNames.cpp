#include "engine/LostNames.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/CatalogueObjects.h"
#include "engine/KnownTables.h"
#include "engine/LostProperties.h"
#include "format/SystemObjects.h"
#include "format/SystemTables.h"
#include "model/FlatTable.h"
#include "platform/Text.h"
#include "render/RecordText.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kNavigationList = u"MSysNavPaneObjectIDs";

// Why the tables' names are believed.
constexpr const char *kNamedByRelationship = "its row of the catalogue is lost; a relationship names it",
                     *kNamedByFlatTable = "its row of the catalogue is lost; the values of a column name it",
                     *kNamedByNavigation =
                         "its row of the catalogue is lost; the navigation pane's list names it",
                     *kNamedByProperties =
                         "its row of the catalogue is lost; its properties know this name, which may be old";

// Hands over the rows, the cells in the order of the names. Nothing where a column is not there.
void ForEachRow(const CAccessTable& table, const SRecoveryRules& rules,
                std::initializer_list<std::u16string_view> names,
                const std::function<void(const std::vector<std::u16string>&)>& take) {
  std::vector<size_t> places;
  for (const std::u16string_view name : names)
    for (size_t i = 0; i < table.columns.GetCount(); i++)
      if (table.columns.GetAt(i)->GetName() == name) places.push_back(i);
  CTableTextReader reader(table, rules);
  if (places.size() != names.size() || !reader.Open()) return;
  std::vector<std::u16string> chosen(places.size());
  for (std::vector<std::u16string> cells; reader.ReadRow(cells);) {
    for (size_t i = 0; i < places.size(); i++) chosen[i] = cells[places[i]];
    take(chosen);
  }
}

// What several places tell of one object: its name, or nothing where they differ.
class CClues {
 public:
  void Add(const std::u16string& id, std::u16string_view name) {
    const auto [clue, isFirst] = m_names.try_emplace(id, name);
    if (!isFirst && clue->second != name) clue->second.clear();
  }
  [[nodiscard]] std::u16string_view Find(const std::u16string& id) const {
    const auto clue = m_names.find(id);
    return clue != m_names.end() ? std::u16string_view(clue->second) : std::u16string_view();
  }

 private:
  std::map<std::u16string, std::u16string> m_names;  // by the catalogue's id
};

class CLostNames {
 public:
  CLostNames(CAccessData& data, CSource& source, const CJobContext& job)
      : m_data(data), m_source(source), m_job(job), m_pageSize(source.GetLayout().pageSize) {
    for (const auto& table : data.GetTables()) {
      Take(table->name);
      const std::u16string_view known = table->name.empty() ? NameByColumns(*table) : table->name;
      if (known == kNavigationList) m_navigation = table.get();
      const bool isDropped = source.GetFreePages().IsFree(table->GetPage(m_pageSize));
      if (known.empty() && !isDropped && !DescribeFlatTable(*table)) m_nameless.push_back(table.get());
    }
    auto& queries = data.GetQueryObjects();
    for (const CQuerySysObject* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
      Take(query->GetName());
      m_listed.insert(query->GetId());
    }
  }

  void Restore() {
    if (m_navigation != nullptr) {
      const bool isAnyLost = NameQueries(CluesOfNavigation(kObjectQuery)) || !m_nameless.empty();
      if (isAnyLost) NoteOtherObjects();
    }
    if (m_nameless.empty()) return;
    const std::vector<SFoundProperties> properties =
        RestoreLostProperties(m_data, m_source, m_nameless, m_job);
    NameTables(CluesOfRelationships(), kNamedByRelationship);
    NameTables(CluesOfFlatTables(), kNamedByFlatTable);
    if (m_navigation != nullptr) NameTables(CluesOfNavigation(kObjectTable), kNamedByNavigation);
    CClues clues;
    for (const SFoundProperties& found : properties)
      clues.Add(found.table->GetPageText(m_pageSize), found.name);
    NameTables(clues, kNamedByProperties);
  }

 private:
  // Names differ by more than the case of their letters.
  bool Take(std::u16string_view name) {
    std::u16string folded(name);
    for (char16_t& unit : folded)
      if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - u'a' + u'A');
    return !folded.empty() && m_taken.insert(std::move(folded)).second;
  }
  [[nodiscard]] const CAccessTable* TableOnPage(uint32_t page) const {
    return m_data.GetTables().FindTable(uint64_t{page} * m_pageSize);
  }

  // The index of a foreign table bears the relationship's name, and leads to the other table.
  CClues CluesOfRelationships() {
    CClues clues;
    const CAccessTable* const relationships = TableOnPage(kRelationshipsPage);
    if (relationships == nullptr) return clues;
    std::map<std::u16string, std::pair<const CAccessTable*, uint32_t>> ends;  // by the relationship's name
    for (const auto& table : m_data.GetTables())
      for (const SForeignKey& key : table->foreignKeys)
        if (!ends.try_emplace(key.relationship, table.get(), key.primaryTable).second)
          ends[key.relationship].first = nullptr;
    ForEachRow(*relationships, m_data.GetRules(), {u"szRelationship", u"szObject", u"szReferencedObject"},
               [&](const std::vector<std::u16string>& row) {
                 const auto end = ends.find(row[0]);
                 if (end == ends.end() || end->second.first == nullptr) return;
                 clues.Add(end->second.first->GetPageText(m_pageSize), row[1]);
                 clues.Add(ToDecimal(end->second.second), row[2]);
               });
    return clues;
  }

  // A flat table's key is named after the column, which leads to the table if no other has one so called.
  CClues CluesOfFlatTables() {
    CClues clues;
    std::map<std::u16string, const CAccessTable*> owners;  // by the key's name; null: several
    for (const auto& table : m_data.GetTables())
      for (const CAccessColumn& column : table->columns)
        if (column.type == kTypeComplex &&
            !owners.try_emplace(FlatKeyName(column.GetName()), table.get()).second)
          owners[FlatKeyName(column.GetName())] = nullptr;
    for (const auto& table : m_data.GetTables()) {
      const auto flat = DescribeFlatTable(*table);
      if (!flat) continue;
      const std::u16string key(table->columns.GetAt(flat->key)->GetName());
      std::u16string_view number = table->columns.GetAt(flat->number)->GetName();
      const auto owner = owners.find(key);
      if (owner == owners.end() || owner->second == nullptr || !number.ends_with(key)) continue;
      number.remove_suffix(key.size());
      clues.Add(owner->second->GetPageText(m_pageSize), number);
    }
    return clues;
  }

  CClues CluesOfNavigation(int16_t type) {
    CClues clues;
    ForEachRow(*m_navigation, m_data.GetRules(), {u"Id", u"Name", u"Type"},
               [&](const std::vector<std::u16string>& row) {
                 if (LeadingInteger(row[2]) == type) clues.Add(row[0], row[1]);
               });
    return clues;
  }

  void NameTables(const CClues& clues, const char* reason) {
    std::erase_if(m_nameless, [&](CAccessTable* table) {
      const std::u16string_view name = clues.Find(table->GetPageText(m_pageSize));
      if (!Take(name)) return false;
      table->name = name;
      table->keepFlag = 1;
      table->nameSource = ENameSource::Elsewhere;
      m_data.GetLedger().Add(
          EDamage::RestoredName,
          {.page = table->GetPage(m_pageSize), .definition = table->GetDefinitionOffset(), .reason = reason});
      return true;
    });
  }

  // Of objects that are gone the list may still have rows: only those whose own rows are there are queries.
  // False: none was lost.
  bool NameQueries(const CClues& clues) {
    const CAccessTable* const queries = TableOnPage(kQueriesPage);
    bool isAnyLost = false;
    if (queries == nullptr) return false;
    ForEachRow(*queries, m_data.GetRules(), {u"ObjectId"}, [&](const std::vector<std::u16string>& row) {
      if (!m_listed.insert(row[0]).second) return;
      isAnyLost = true;
      const std::u16string_view name = clues.Find(row[0]);
      if (!Take(name)) return;
      auto object = std::make_unique<CQuerySysObject>(std::u16string(name), row[0], std::u16string());
      object->MarkRestored();
      m_data.GetQueryObjects().Append(std::move(object));
    });
    return isAnyLost;
  }

  // Where rows of the catalogue are lost, those of forms and others may be among them.
  void NoteOtherObjects() {
    ForEachRow(*m_navigation, m_data.GetRules(), {u"Name", u"Type"},
               [&](const std::vector<std::u16string>& row) {
                 // The pane counts the types as numbers without a sign.
                 const auto type = static_cast<int16_t>(LeadingInteger(row[1]));
                 if (const auto kind = OtherObjectOf(type)) m_data.NoteOtherObject(*kind, row[0]);
               });
  }

  CAccessData& m_data;
  CSource& m_source;
  const CJobContext& m_job;
  const uint32_t m_pageSize;
  const CAccessTable* m_navigation = nullptr;
  std::vector<CAccessTable*> m_nameless;
  std::set<std::u16string> m_taken;   // names
  std::set<std::u16string> m_listed;  // ids of queries
};

}  // namespace

void RestoreLostNames(CAccessData& data, CSource& source, const CJobContext& job) {
  CLostNames(data, source, job).Restore();
}

}  // namespace tolvane
