#include "engine/TemplateMatch.h"

#include <map>
#include <set>
#include <string>
#include <vector>

#include "engine/AccessTableDataFileParser.h"
#include "engine/DefinitionDecoder.h"
#include "engine/RecordParser.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

using PagesByName = std::map<std::u16string, uint32_t>;  // definition page by name

// A name that stands twice tells nothing.
constexpr uint32_t kAmbiguous = 0;

// Pages that own pages, and those of the catalogue's own rows credited to it.
std::set<uint32_t> CreditCatalogue(CSource& source, CAccessData& data, CJobContext& job) {
  const SLayout& layout = source.GetLayout();
  const uint64_t catalogue = uint64_t{kObjectsPage} * layout.pageSize;
  std::set<uint32_t> owners;
  std::vector<uint8_t> page(layout.pageSize);
  data.GetTables().AddTable(catalogue);
  job.status.SetText(u"Comparing the names of the tables with the template's: " + source.GetPath());
  for (uint64_t number = 0; number < source.GetPageCount(); number++) {
    if (!job.repairing.IsRunning()) return owners;
    if (!source.ReadPage(number, page) || page[1] != kPageFormatted) continue;
    if (page[0] == kPageDefinition) owners.insert(static_cast<uint32_t>(number));
    if (page[0] != kPageData || source.GetFreePages().IsFree(number)) continue;
    const uint32_t owner = OwnerOf(page);
    if (owner == kObjectsPage) data.GetTables().CreditDataPage(number * layout.pageSize, catalogue);
    if (owner > kObjectsPage && owner < source.GetPageCount()) owners.insert(owner);
  }
  return owners;
}

PagesByName ReadNames(CSource& source, const SRecoveryRules& rules, CJobContext& job,
                      const std::u16string& workFolder) {
  PagesByName names;
  if (!source.IsOpen()) return names;
  CAccessData data(rules, workFolder);
  data.source = source.GetFacts();
  const uint32_t pageSize = source.GetLayout().pageSize;
  const std::set<uint32_t> owners = CreditCatalogue(source, data, job);
  CDefinitionDecoder(source.GetLayout(), rules, data.source.codePage)
      .ParseTableDefinitions(data, source, job);
  for (const auto& table : data.GetTables()) table->columns.SortByNumber();
  CPageClaims none;
  CRecordParser(rules, job).ParseRecords(data, source, none);
  for (const uint32_t owner : owners) data.GetTables().AddTable(uint64_t{owner} * pageSize);
  CAccessTableDataFileParser(rules, job).ScanTableNames(data, pageSize);
  for (const auto& table : data.GetTables()) {
    const uint32_t page = table->GetPage(pageSize);
    if (table->name.empty() || page == kObjectsPage) continue;
    const auto [entry, isNew] = names.emplace(table->name, page);
    if (!isNew) entry->second = kAmbiguous;
  }
  return names;
}

}  // namespace

CTemplateMatch::CTemplateMatch(CSource& source, CSource& definitions, const SRecoveryRules& rules,
                               CJobContext& job, const std::u16string& workFolder) {
  const PagesByName here = ReadNames(source, rules, job, workFolder);
  const PagesByName there = ReadNames(definitions, rules, job, workFolder);
  bool isSame = true;
  for (const auto& [name, page] : here) {
    const auto found = there.find(name);
    if (page == kAmbiguous || found == there.end() || found->second == kAmbiguous) continue;
    m_pages[page] = found->second;
    isSame = isSame && page == found->second;
  }
  if (isSame) {
    m_pages.clear();
    return;
  }
  for (const auto& [name, page] : there) m_names[page] = name;
}

void CTemplateMatch::NameTables(CAccessTableList& tables, uint32_t pageSize) const {
  if (!IsByName()) return;
  for (const auto& table : tables) {
    const auto found = m_names.find(table->GetPage(pageSize));
    if (found == m_names.end()) continue;
    table->name = found->second;
    table->nameSource = ENameSource::Catalogue;
  }
}

}  // namespace tolvane
