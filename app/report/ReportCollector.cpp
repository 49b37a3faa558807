#include <algorithm>
#include <unordered_map>
#include <utility>

#include "app/report/Report.h"
#include "platform/Process.h"

namespace tolvane {

namespace {

// Of losses in a report, so that its size does not grow with the damage.
constexpr size_t kLossesShown = 3000, kLossesShownOfTable = 200;

// The kind of damage that an entry of the ledger tells, where it hits a table of the user's.
EVerdict VerdictOf(EDamage kind) {
  static constexpr std::pair<EDamage, EVerdict> kVerdicts[] = {
      {EDamage::UnreadablePage, EVerdict::Unreadable},
      {EDamage::LeadingBytes, EVerdict::Shifted},
      {EDamage::LostPage, EVerdict::Shifted},
      {EDamage::MovedPages, EVerdict::Shifted},
      {EDamage::OtherDatabase, EVerdict::Shifted},
      {EDamage::PartialPage, EVerdict::CutShort},
      {EDamage::BrokenDefinition, EVerdict::Definitions},
      {EDamage::LostTable, EVerdict::Definitions},
      {EDamage::UnfitTemplate, EVerdict::Definitions},
      {EDamage::UnnamedTable, EVerdict::Catalogue},
      {EDamage::RestoredName, EVerdict::Catalogue},
      {EDamage::MistakableTable, EVerdict::Catalogue},
      {EDamage::BrokenProperties, EVerdict::Catalogue},
      {EDamage::SurplusRows, EVerdict::Counts},
      {EDamage::BrokenLongValue, EVerdict::LongValues}};
  for (const auto& [damage, verdict] : kVerdicts)
    if (damage == kind) return verdict;
  return EVerdict::Rows;
}

// Rows of the catalogue are names and texts of what belongs to the user.
bool IsOfRows(EVerdict verdict) {
  return verdict == EVerdict::Rows || verdict == EVerdict::LongValues;
}

CDamageSigns FindLedgerSigns(const CAccessData& data) {
  CDamageSigns signs{};
  for (size_t i = 0; i < static_cast<size_t>(EDamage::Count_); ++i) {
    const auto kind = static_cast<EDamage>(i);
    const EVerdict verdict = VerdictOf(kind);
    uint64_t ofCatalogue = 0;
    const auto& places = data.GetLedger().GetPlaces(kind);
    if (IsOfRows(verdict))
      for (const CDamageLedger::SPlace& place : places)
        if (const CAccessTable* table = FindTable(data, place); table && IsSystemTable(*table)) ++ofCatalogue;
    signs[EVerdict::Catalogue] += ofCatalogue;
    signs[verdict] += places.size() - ofCatalogue;
  }
  return signs;
}

void CountContent(const CAccessData& data, SVerdictFacts& facts) {
  const auto rows = CountTableRows(data.GetLedger());
  facts.isRecovered = true;
  facts.isNothing = IsNothingRecovered(data);
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || IsSystemTable(*table)) continue;
    ++facts.tables;
    facts.rows += table->header.rowCount;
    facts.unnamedTables += table->nameSource == ENameSource::Generated ? 1 : 0;
    if (const auto found = rows.find(table->GetDefinitionOffset()); found != rows.end()) {
      facts.lostRows += found->second.lost;
      facts.doubtfulRows += found->second.doubtful;
    }
  }
  facts.lostTables = data.GetLedger().GetCount(EDamage::LostTable);
  for (const SLossLine& line : ListOmittedObjects(data, 0)) facts.omittedObjects += line.count;
}

// Damage to one part of a file breaks the checker's rules of others. What it says of rows, definitions and
// the catalogue is told where nothing else told of any damage to them.
CDamageSigns KeepOwnSigns(const CDamageSigns& checked, const CDamageSigns& known) {
  CDamageSigns kept{};
  kept[EVerdict::Indexes] = checked[EVerdict::Indexes];
  kept[EVerdict::Maps] = checked[EVerdict::Maps];
  bool isDamageKnown = false;
  for (size_t i = static_cast<size_t>(EVerdict::LongValues); i < static_cast<size_t>(EVerdict::Count_); ++i)
    isDamageKnown = isDamageKnown || known[static_cast<EVerdict>(i)] > 0;
  return isDamageKnown ? kept : checked;
}

// Not even what is left looks like a part of a database.
bool LooksLikeNothing(const SReportSources& sources, const SVerdictFacts& facts) {
  if (sources.isNoDatabase) return true;
  const SExamination* pages = sources.examination;
  if (!facts.isNothing || !pages || !pages->isDone || facts.signs[EVerdict::Hollow] > 0) return false;
  return pages->Of(EPageKind::Definition, EPageVerdict::Ok) == 0 &&
         pages->Of(EPageKind::Data, EPageVerdict::Orphan) == 0;
}

std::vector<SReportTable> ListTables(const SReportTask& task, const CAccessData& data) {
  const auto rows = CountTableRows(data.GetLedger());
  std::vector<SReportTable> tables;
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || (IsSystemTable(*table) && !task.withSystemTables)) continue;
    const auto found = rows.find(table->GetDefinitionOffset());
    tables.push_back({table.get(), found == rows.end() ? STableRows{} : found->second});
  }
  return tables;
}

std::vector<SReportLosses> ListLosses(const CAccessData& data) {
  std::vector<SReportLosses> lists(1);
  std::unordered_map<const CAccessTable*, size_t> byTable{{nullptr, 0}};
  for (const auto& table : data.GetTables()) {
    byTable.emplace(table.get(), lists.size());
    lists.push_back({.table = table.get()});
  }
  size_t shown = 0;
  for (const SDamageWords& words : GetDamageWords()) {
    for (const CDamageLedger::SPlace& place : data.GetLedger().GetPlaces(words.kind)) {
      SReportLosses& list = lists[byTable[FindTable(data, place)]];
      ++list.count;
      if (list.shown.size() >= kLossesShownOfTable || shown >= kLossesShown) continue;
      list.shown.push_back({words.kind, place});
      ++shown;
    }
    lists.front().count += data.GetLedger().CountDropped(words.kind);
  }
  std::erase_if(lists, [](const SReportLosses& list) { return list.count == 0; });
  return lists;
}

void ListObjects(SReport& report) {
  const CAccessData& data = *report.data;
  report.tables = ListTables(report.task, data);
  report.losses = ListLosses(data);
  // A list that cannot be read back is empty; the save says so in its summary.
  ListQueries(data, report.queries);
  uint32_t rowsRead = 0;
  if (!ReadRelations(data, nullptr, report.relations, rowsRead)) report.relations.clear();
  if (report.task.withSystemTables) return;
  std::erase_if(report.queries, [](const SListedQuery& query) { return query.isHidden; });
  std::erase_if(report.relations, [](const SRecoveredRelation& relation) { return relation.IsSystem(); });
}

}  // namespace

std::vector<uint64_t> FindPagesWithLosses(const CAccessData& data) {
  std::vector<uint64_t> pages;
  for (const EDamage kind :
       {EDamage::RejectedRow, EDamage::BrokenOverflow, EDamage::BrokenPage, EDamage::TornPage,
        EDamage::BrokenDefinition, EDamage::BrokenValue, EDamage::BrokenLongValue})
    for (const CDamageLedger::SPlace& place : data.GetLedger().GetPlaces(kind)) pages.push_back(place.page);
  std::ranges::sort(pages);
  pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
  return pages;
}

SVerdictFacts CollectFacts(const SReportTask& task, const SReportSources& sources) {
  SVerdictFacts facts;
  if (sources.isEncrypted) facts.signs[EVerdict::Encrypted] = 1;
  if (sources.data) {
    facts.signs.Add(FindLedgerSigns(*sources.data));
    CountContent(*sources.data, facts);
  }
  if (sources.examination && sources.examination->isDone) {
    facts.signs.Add(FindPageSigns(*sources.examination));
    facts.signs.Add(KeepOwnSigns(sources.examination->checkedSigns, facts.signs));
  }
  if (!sources.isEncrypted && LooksLikeNothing(sources, facts)) facts.signs[EVerdict::NoDatabase] = 1;
  facts.hasTemplate = !task.templatePath.empty();
  facts.isSaved = sources.saved != nullptr;
  return facts;
}

SReport CollectReport(const SReportTask& task, const SReportSources& sources) {
  SReport report{.task = task, .date = task.date.value_or(GetLocalDate())};
  if (sources.source) report.source = sources.source->GetFacts();
  if (sources.data) report.source = sources.data->source;
  report.facts = CollectFacts(task, sources);
  report.verdict = Judge(report.facts);
  report.examination = sources.isEncrypted ? nullptr : sources.examination;
  report.data = sources.data;
  if (report.data) ListObjects(report);
  report.saved = sources.saved;
  report.outputPath = sources.outputPath;
  report.outputFormat = sources.outputFormat;
  return report;
}

}  // namespace tolvane
