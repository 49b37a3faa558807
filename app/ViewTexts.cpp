#include "app/ViewTexts.h"

#include <algorithm>
#include <set>
#include <span>

#include "app/InputCheck.h"
#include "app/Losses.h"
#include "platform/Files.h"
#include "platform/Hex.h"
#include "platform/Text.h"
#include "query/Query.h"
#include "writer/QuerySaver.h"
#include "writer/SideFileSource.h"

namespace tolvane {

namespace {

constexpr size_t kPlacesShown = 3;
constexpr size_t kNamesShown = 8;
constexpr size_t kBytesInLine = 16;

class CLines {
 public:
  void Add(std::u16string_view line) {
    if (!m_text.empty()) m_text += u"\r\n";
    m_text += line;
  }
  void AddLosses(std::u16string_view heading, const std::vector<SLossLine>& losses) {
    if (losses.empty()) return;
    Add({});
    Add(heading);
    for (const SLossLine& loss : losses) {
      Add(ToGroupedDecimal(loss.count) + u" " + loss.words);
      if (!loss.places.empty()) Add(u"    " + loss.places);
    }
  }
  [[nodiscard]] std::u16string Take() { return std::move(m_text); }

 private:
  std::u16string m_text;
};

// "00000010  41 42 ...  AB..."
std::u16string DumpLine(size_t at, std::span<const uint8_t> bytes) {
  std::u16string line = ToHex(static_cast<uint32_t>(at), 8, u'0') + u"  ";
  for (size_t i = 0; i < bytes.size(); ++i) {
    AppendHex(bytes.subspan(i, 1), kUpperHex, line);
    line += u' ';
  }
  line.append(3 * (kBytesInLine - bytes.size()) + 1, u' ');
  for (const uint8_t byte : bytes) line += byte >= ' ' && byte < 0x7F ? static_cast<char16_t>(byte) : u'.';
  return line;
}

std::u16string CountedQueries(uint64_t count) {
  return ToGroupedDecimal(count) + (count == 1 ? u" saved query" : u" saved queries");
}

std::u16string Grouped(uint64_t count, std::u16string_view noun) {
  return Counted(count, noun, ToGroupedDecimal);
}

void AddSource(const COvRepairFileManager& manager, const SSourceFacts& facts, CLines& lines) {
  lines.Add(manager.GetCorruptedPath());
  std::string format = FormatName(facts);
  if (format[0] >= 'a' && format[0] <= 'z') format[0] = static_cast<char>(format[0] - 'a' + 'A');
  lines.Add(FromAscii(format) + u", " + Grouped(facts.pageCount, u"page") + u" of " +
            ToDecimal(facts.pageSize) + u" bytes");
  if (manager.GetMode().IsAdvance()) lines.Add(u"Definitions from " + manager.GetTemplatePath());
}

void AddTables(const CAccessData& data, CLines& lines) {
  const std::vector<STableItem> tables = ListTables(data);
  uint64_t rows = 0;
  for (const STableItem& table : tables) rows += table.rows;
  lines.Add({});
  lines.Add(Grouped(tables.size(), u"table") + u", " + Grouped(rows, u"row"));
  CTList<CQuery> queries;
  if (CQuerySaver::ReadQueries(data, queries) && queries.GetCount() > 0)
    lines.Add(CountedQueries(static_cast<uint64_t>(queries.GetCount())));
}

void AddNothing(const COvRepairFileManager& manager, CLines& lines) {
  const SNothingFound nothing = ExplainNothing(manager);
  lines.Add({});
  lines.Add(u"Nothing could be recovered.");
  if (!nothing.cause.empty()) lines.Add(nothing.cause);
  if (nothing.advice.empty()) return;
  lines.Add({});
  lines.Add(u"What can be done:");
  lines.Add(nothing.advice);
}

std::u16string DescribeRowsKept(const CAccessTable& table) {
  std::u16string text = Grouped(table.header.rowCount, u"row");
  if (table.promisedRows > table.header.rowCount) text += u" of " + ToGroupedDecimal(table.promisedRows);
  return text;
}

// No damage of the file: with more room the rows come back, and so does what rests on them.
void AddSkippedTables(const CAccessData& data, std::u16string_view heading, CLines& lines) {
  const uint64_t count = data.GetLedger().GetCount(EDamage::SkippedTable);
  lines.Add({});
  lines.Add(u"The rows of " + Grouped(count, u"table") +
            u" could not be kept in the folder for temporary files:");
  lines.Add(data.GetWorkFolder());
  lines.Add(u"Free some space there and repair the file again. The log says what the system reported.");
  lines.Add({});
  lines.Add(IsNothingFound(&data)
                ? std::u16string_view(u"Nothing can be saved: no table has all of its rows.")
                : heading);
  bool areOfAccessCut = false;
  for (const uint64_t definition : ListCutTables(data)) {
    const CAccessTable* const table = data.GetTables().FindTable(definition);
    if (table && HasContent(*table) && !IsSystemTable(*table))
      lines.Add(u"    " + table->name + u" (" + DescribeRowsKept(*table) + u" kept)");
    else
      areOfAccessCut = true;
  }
  if (areOfAccessCut)
    lines.Add(u"    tables of Access' own: names, queries, relationships or lists of values may be missing");
}

void AddDamage(std::u16string_view heading, const CAccessData& data, CLines& lines) {
  lines.AddLosses(heading, ListDamage(data, kPlacesShown, ToGroupedDecimal));
  lines.AddLosses(u"Not brought back:", ListOmittedObjects(data, kNamesShown));
}

void AddRemarks(std::u16string_view heading, const std::vector<std::u16string>& remarks, CLines& lines) {
  if (remarks.empty()) return;
  lines.Add({});
  lines.Add(heading);
  for (const std::u16string& remark : remarks) lines.Add(remark);
}

void AddEngineErrors(const SSaveSummary& summary, CLines& lines) {
  std::vector<std::u16string> errors;
  for (const CDaoEngineError& error : summary.engineErrors) errors.push_back(DescribeEngineError(error));
  AddRemarks(u"Errors of the installed database engine:", errors, lines);
}

}  // namespace

std::vector<STableItem> ListTables(const CAccessData& data) {
  const std::set<uint64_t> cut = ListCutTables(data);
  std::vector<STableItem> items;
  for (const auto& table : data.GetTables())
    if (HasContent(*table) && !IsSystemTable(*table))
      items.push_back({table->name, table->header.rowCount, cut.contains(table->GetDefinitionOffset())});
  return items;
}

std::u16string DescribeTable(const CAccessTable& table, const CAccessData& data) {
  CLines lines;
  lines.Add(u"Table Name : " + table.name);
  lines.Add(u"Total Column(s) : " + ToDecimal(table.columns.GetCount()));
  lines.Add(u"Total Row(s) : " + ToDecimal(table.header.rowCount));
  if (ListCutTables(data).contains(table.GetDefinitionOffset()))
    lines.Add(u"Incomplete: further rows had no room in the folder for temporary files.");
  return lines.Take();
}

std::u16string DescribeRepair(const COvRepairFileManager& manager) {
  CLines lines;
  const CAccessData* data = manager.GetData();
  if (data) {
    AddSource(manager, data->source, lines);
  }
  const bool lacksRoom = LacksRoom(data);
  if (lacksRoom) AddSkippedTables(*data, u"A save would lack rows of these tables:", lines);
  if (IsNothingFound(data)) {
    if (!lacksRoom) AddNothing(manager, lines);
  } else {
    AddTables(*data, lines);
    if (IsRecoveryWhole(*data) && ListOmittedObjects(*data, 0).empty()) lines.Add(u"Nothing was lost.");
  }
  if (data && !lacksRoom) AddDamage(u"Lost or doubtful:", *data, lines);
  return lines.Take();
}

std::u16string DescribeSave(const SSaveSummary& summary, const CAccessData& recovered,
                            std::u16string_view problem) {
  CLines lines;
  if (LacksRoom(&recovered)) {
    AddSkippedTables(recovered, u"A new database lacks rows of these tables:", lines);
    lines.Add({});
  }
  if (!problem.empty()) {
    lines.Add(u"Nothing was saved: " + std::u16string(problem));
    lines.Add(u"A file that had the name of the new database before is as it was.");
    AddEngineErrors(summary, lines);
    AddDamage(u"Lost or doubtful in the damaged file:", recovered, lines);
    return lines.Take();
  }
  lines.Add(Grouped(summary.tablesSaved, u"table") + u", " + Grouped(summary.recordsSaved, u"record"));
  if (summary.valuesSaved > 0)
    lines.Add(Grouped(summary.valuesSaved, u"value") + u" of multi-value and attachment columns");
  if (summary.queriesSaved > 0) lines.Add(CountedQueries(summary.queriesSaved));
  if (summary.relationsSaved > 0) lines.Add(Grouped(summary.relationsSaved, u"relationship"));
  if (summary.linksSaved > 0) lines.Add(Grouped(summary.linksSaved, u"link"));
  if (summary.emptyRowsDropped > 0) lines.Add(Grouped(summary.emptyRowsDropped, u"empty row") + u" left out");
  lines.AddLosses(u"Not saved:", ListSaveLosses(summary));
  AddEngineErrors(summary, lines);
  AddDamage(u"Lost or doubtful before that, in the damaged file:", recovered, lines);
  AddRemarks(u"Remarks:", summary.notes, lines);
  return lines.Take();
}

std::u16string DescribeWhole(const COvRepairFileManager& manager, const SSaveSummary* saved,
                             std::u16string_view problem) {
  CLines lines;
  lines.Add(u"Summary of the repair");
  lines.Add(DescribeRepair(manager));
  const CAccessData* const data = manager.GetData();
  if (data && saved) {
    lines.Add({});
    lines.Add(u"Summary of the save");
    lines.Add(DescribeSave(*saved, *data, problem));
  }
  lines.Add({});
  lines.Add(u"Every place of damage");
  bool isDamaged = false;
  if (data)
    ForEachDamage(*data, [&](const std::u16string& line) {
      lines.Add(line);
      isDamaged = true;
    });
  if (!isDamaged) lines.Add(u"None is known.");
  return lines.Take();
}

std::u16string DescribeObject(const SObjectPlace& place, size_t bytesShown) {
  if (!FileExists(place.path)) return u"No object.";  // what is empty gets no side file
  CSideFileSource object;
  if (!object.Open(place)) return u"This object could not be read.";
  const uint64_t length = object.GetLength();
  if (length == 0) return u"No object.";
  std::vector<uint8_t> bytes(static_cast<size_t>(std::min<uint64_t>(length, bytesShown)));
  size_t bytesRead = 0;
  object.Read(bytes, bytesRead);
  bytes.resize(bytesRead);
  CLines lines;
  lines.Add(u"OLE object, " + Grouped(length, u"byte"));
  if (bytes.size() < length) lines.Add(u"The first " + Grouped(bytes.size(), u"byte") + u":");
  lines.Add({});
  for (size_t at = 0; at < bytes.size(); at += kBytesInLine)
    lines.Add(DumpLine(at, std::span(bytes).subspan(at, std::min(kBytesInLine, bytes.size() - at))));
  return lines.Take();
}

}  // namespace tolvane
