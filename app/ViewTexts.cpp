#include "app/ViewTexts.h"

#include "app/Findings.h"
#include "engine/SourceCheck.h"
#include "platform/Text.h"
#include "query/Query.h"
#include "writer/QuerySaver.h"

namespace tolvane {

namespace {

constexpr size_t kPlacesShown = 3;

class CLines {
 public:
  void Add(std::u16string_view line) {
    if (!m_text.empty()) m_text += u"\r\n";
    m_text += line;
  }
  void AddFindings(std::u16string_view heading, const std::vector<SFinding>& findings) {
    if (findings.empty()) return;
    Add({});
    Add(heading);
    for (const SFinding& finding : findings) {
      Add(ToDecimal(finding.count) + u" " + finding.words);
      if (!finding.places.empty()) Add(u"    " + finding.places);
    }
  }
  [[nodiscard]] std::u16string Take() { return std::move(m_text); }

 private:
  std::u16string m_text;
};

std::u16string CountedQueries(uint64_t count) {
  return ToDecimal(count) + (count == 1 ? u" saved query" : u" saved queries");
}

void AddSource(const COvRepairFileManager& manager, const SSourceFacts& facts, CLines& lines) {
  lines.Add(manager.GetCorruptedPath());
  lines.Add(FromAscii(FormatName(facts)) + u", " + Counted(facts.pageCount, u"page") + u" of " +
            ToDecimal(facts.pageSize) + u" bytes");
  if (manager.GetMode().IsAdvance()) lines.Add(u"Definitions from " + manager.GetTemplatePath());
}

void AddTables(const CAccessData& data, CLines& lines) {
  const std::vector<STableItem> tables = ListTables(data);
  uint64_t rows = 0;
  for (const STableItem& table : tables) rows += table.rows;
  lines.Add({});
  lines.Add(Counted(tables.size(), u"table") + u", " + Counted(rows, u"row"));
  CTList<CQuery> queries;
  if (CQuerySaver::ReadQueries(data, queries) && queries.GetCount() > 0)
    lines.Add(CountedQueries(static_cast<uint64_t>(queries.GetCount())));
}

}  // namespace

std::vector<STableItem> ListTables(const CAccessData& data) {
  std::vector<STableItem> items;
  for (const auto& table : data.GetTables())
    if (HasContent(*table) && !IsSystemTable(*table)) items.push_back({table->name, table->header.rowCount});
  return items;
}

std::u16string DescribeTable(const CAccessTable& table) {
  CLines lines;
  lines.Add(u"Table Name : " + table.name);
  lines.Add(u"Total Column(s) : " + ToDecimal(table.columns.GetCount()));
  lines.Add(u"Total Row(s) : " + ToDecimal(table.header.rowCount));
  return lines.Take();
}

std::u16string DescribeRepair(const COvRepairFileManager& manager) {
  CLines lines;
  const CAccessData* data = manager.GetData();
  if (data) {
    AddSource(manager, data->source, lines);
    AddTables(*data, lines);
    lines.AddFindings(u"Lost or doubtful:", ListDamage(*data, kPlacesShown));
    if (IsRecoveryWhole(*data)) lines.Add(u"Nothing was lost.");
  }
  if (!data || IsNothingRecovered(*data)) {
    lines.Add({});
    lines.Add(u"Nothing could be recovered.");
    const SSourceVerdict verdict = CheckSource(manager.GetCorruptedPath());
    if (verdict.state != ESourceState::Ok) lines.Add(verdict.reason);
  }
  return lines.Take();
}

std::u16string DescribeSave(const SSaveSummary& summary, std::u16string_view path,
                            std::u16string_view problem) {
  CLines lines;
  lines.Add(path);
  lines.Add(Counted(summary.tablesSaved, u"table") + u", " + Counted(summary.recordsSaved, u"record"));
  if (summary.queriesSaved > 0) lines.Add(CountedQueries(summary.queriesSaved));
  if (summary.relationsSaved > 0) lines.Add(Counted(summary.relationsSaved, u"relationship"));
  if (summary.emptyRowsDropped > 0) lines.Add(Counted(summary.emptyRowsDropped, u"empty row") + u" left out");
  if (!problem.empty()) {
    lines.Add({});
    lines.Add(u"The new database is not whole: " + std::u16string(problem));
  }
  lines.AddFindings(u"Not saved:", ListSaveLosses(summary));
  if (!summary.notes.empty()) {
    lines.Add({});
    lines.Add(u"Remarks:");
    for (const std::u16string& note : summary.notes) lines.Add(note);
  }
  return lines.Take();
}

}  // namespace tolvane
