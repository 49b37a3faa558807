// The parts of a report that list what the file held and what became of it.
#include "app/report/HtmlReport.h"

namespace tolvane {

namespace {

// So that the page stays one that a browser opens, whatever the file holds.
constexpr size_t kTablesShown = 2000, kQueriesShown = 500, kRelationsShown = 500, kNotesShown = 200,
                 kNamesShown = 300;
constexpr size_t kSqlUnitsShown = 20'000, kAllSqlShown = 500'000;

constexpr std::string_view kWhereAllIs =
    "the whole list is in <code>--json</code>, and losses are in the log of <code>--log</code>";

void PrintRest(uint64_t count, uint64_t shown, CHtml& html) {
  if (count > shown)
    html.Raw("<p>").Number(count - shown).Raw(" more are not shown here; ").Raw(kWhereAllIs).Raw(".</p>\n");
}

std::u16string StateOf(const SReport& report, const SReportTable& listed) {
  const CAccessTable& table = *listed.table;
  std::u16string state;
  const auto add = [&state](std::u16string_view words) {
    state += (state.empty() ? u"" : u"; ") + std::u16string(words);
  };
  if (table.link) add(u"a link to a table elsewhere");
  if (table.nameSource == ENameSource::Generated) add(u"its name is lost");
  if (table.nameSource == ENameSource::Elsewhere) add(u"its row of the catalogue is lost");
  if (table.hasMendedCounts || table.hasMendedNames) add(u"its definition was mended");
  if (listed.rows.lost > 0) add(u"rows lost");
  if (listed.rows.doubtful > 0) add(u"rows doubtful");
  for (const SReportLosses& losses : report.losses)
    if (losses.table == &table && state.empty()) add(u"damaged, see below");
  return state.empty() ? u"whole" : state;
}

void PrintTableRow(const SReport& report, const SReportTable& listed, CHtml& html) {
  const CAccessTable& table = *listed.table;
  html.Raw("<tr><th scope=\"row\">").Name(table.name).Raw("</th>");
  html.NumberCell(table.columns.GetCount()).NumberCell(table.promisedRows).NumberCell(table.header.rowCount);
  html.NumberCell(listed.rows.doubtful, true).NumberCell(listed.rows.lost, true);
  html.TextCell(StateOf(report, listed)).Raw("</tr>\n");
}

void PrintSums(const SReport& report, CHtml& html) {
  uint64_t promised = 0, found = 0, doubtful = 0, lost = 0, columns = 0;
  for (const SReportTable& listed : report.tables) {
    columns += listed.table->columns.GetCount();
    promised += listed.table->promisedRows;
    found += listed.table->header.rowCount;
    doubtful += listed.rows.doubtful;
    lost += listed.rows.lost;
  }
  html.Raw("</tbody><tfoot><tr><th scope=\"row\">")
      .Number(report.tables.size())
      .Raw(report.tables.size() == 1 ? " table</th>" : " tables</th>");
  html.NumberCell(columns)
      .NumberCell(promised)
      .NumberCell(found)
      .NumberCell(doubtful, true)
      .NumberCell(lost, true);
  html.Raw("<td></td></tr></tfoot></table></div>\n");
}

}  // namespace

void PrintTables(const SReport& report, CHtml& html) {
  html.Heading("tables", "Tables");
  if (report.tables.empty()) {
    html.Raw("<p>None was recovered.</p>\n");
    return;
  }
  html.BeginTable("Tables and their rows",
                  {"Name", "#Columns", "#Promised rows", "#Recovered", "#Doubtful", "#Lost", "State"});
  for (size_t i = 0; i < report.tables.size() && i < kTablesShown; ++i)
    PrintTableRow(report, report.tables[i], html);
  PrintSums(report, html);
  PrintRest(report.tables.size(), kTablesShown, html);
}

void PrintQueries(const SReport& report, CHtml& html) {
  if (report.queries.empty()) return;
  html.Heading("queries", "Saved queries");
  size_t units = 0, shown = 0;
  for (const SListedQuery& query : report.queries) {
    if (shown++ == kQueriesShown) break;
    html.Raw("<details><summary>");
    if (query.name.empty()) {
      html.Raw("(name lost)");
    } else {
      html.Name(query.name);
    }
    html.Raw(" <small>").Text(query.isKindLost ? std::string_view("kind lost, read as select") : query.kind);
    html.Raw(query.sql.empty() ? ", lost"
             : query.isWhole   ? ", whole"
                               : ", some of its rows are lost")
        .Raw("</small></summary>\n");
    if (!query.reason.empty()) html.Paragraph(query.reason);
    if (const size_t room = std::min(kSqlUnitsShown, kAllSqlShown - units); !query.sql.empty()) {
      html.Code(query.sql, room);
      units += std::min(room, query.sql.size());
    }
    html.Raw("</details>\n");
  }
  PrintRest(report.queries.size(), kQueriesShown, html);
}

namespace {

void PrintColumns(const SRecoveredRelation& relation, bool isReferenced, CHtml& html) {
  html.Raw("<td>").Name(isReferenced ? relation.referencedTable : relation.table).Raw(" (");
  for (size_t i = 0; i < relation.pairs.size(); ++i)
    html.Raw(i == 0 ? "" : ", ")
        .Name(isReferenced ? relation.pairs[i].referencedColumn : relation.pairs[i].column);
  html.Raw(")</td>");
}

}  // namespace

void PrintRelations(const SReport& report, CHtml& html) {
  if (report.relations.empty()) return;
  html.Heading("relationships", "Relationships");
  html.BeginTable("Relationships", {"Name", "Table", "Refers to", "Rules", "State"});
  for (size_t i = 0; i < report.relations.size() && i < kRelationsShown; ++i) {
    const SRecoveredRelation& relation = report.relations[i];
    html.Raw("<tr><th scope=\"row\">")
        .Name(relation.name.empty() ? u"(name lost)" : relation.name)
        .Raw("</th>");
    PrintColumns(relation, false, html);
    PrintColumns(relation, true, html);
    html.TextCell(relation.DescribeRules())
        .TextCell(relation.problem.empty() ? u"whole" : relation.problem)
        .Raw("</tr>\n");
  }
  html.EndTable();
  PrintRest(report.relations.size(), kRelationsShown, html);
}

namespace {

std::string_view WordsOf(EDamage kind, uint64_t amount) {
  for (const SDamageWords& words : GetDamageWords())
    if (words.kind == kind) return amount == 1 ? words.singular : words.plural;
  return {};
}

void PrintLoss(const SReport& report, const CAccessTable* table, const SReportLoss& loss, CHtml& html) {
  html.Raw("<tr>").NumberCell(loss.place.amount).Raw("<td>").Text(WordsOf(loss.kind, loss.place.amount));
  if (const std::u16string_view lost = NameOfLost(*report.data, loss.kind, loss.place); !lost.empty())
    html.Raw(": ").Name(lost);
  html.Raw("</td>");
  const bool isWholeFile = loss.kind == EDamage::LeadingBytes || loss.kind == EDamage::PartialPage;
  html.Raw("<td class=\"n\">")
      .Raw(isWholeFile ? std::string() : GroupedNumber(loss.place.page))
      .Raw("</td><td class=\"n\">");
  if (loss.place.row >= 0) html.Number(static_cast<uint64_t>(loss.place.row));
  html.Raw("</td><td>");
  if (const CAccessColumn* column = FindColumn(table, loss.place))
    html.Name(SpelledName(*column, report.source));
  html.Raw("</td><td>")
      .Text(std::string_view(loss.place.reason ? loss.place.reason : ""))
      .Raw("</td></tr>\n");
}

void PrintLossesOf(const SReport& report, const SReportLosses& losses, CHtml& html) {
  html.Raw("<details><summary>");
  if (!losses.table) {
    html.Raw("Of no table that is known");
  } else if (losses.table->name.empty()) {
    html.Raw("Table without a name, page ").Number(losses.table->GetPage(report.source.pageSize));
  } else {
    html.Raw("Table ").Name(losses.table->name);
  }
  html.Raw(" <small>")
      .Number(losses.count)
      .Raw(losses.count == 1 ? " entry</small></summary>\n" : " entries</small></summary>\n");
  if (!losses.shown.empty()) {
    html.BeginTable("Losses", {"#Amount", "What", "#Page", "#Row", "Column", "Reason"});
    for (const SReportLoss& loss : losses.shown) PrintLoss(report, losses.table, loss, html);
    html.EndTable();
  }
  PrintRest(losses.count, losses.shown.size(), html);
  html.Raw("</details>\n");
}

void PrintLines(const std::vector<SLossLine>& lines, CHtml& html) {
  html.Raw("<ul>\n");
  for (const SLossLine& line : lines) {
    html.Raw("<li>").Number(line.count).Raw(" ").Text(line.words);
    if (!line.places.empty()) html.Raw(": ").Raw("<bdi>").Text(line.places).Raw("</bdi>");
    html.Raw("</li>\n");
  }
  html.Raw("</ul>\n");
}

}  // namespace

void PrintLosses(const SReport& report, CHtml& html) {
  html.Heading("losses", "Lost or doubtful on reading");
  const std::vector<SLossLine> lines = ListDamage(*report.data, 0);
  if (lines.empty()) {
    html.Raw("<p>Nothing: every table, row and value that the file's own counts promise was found.</p>\n");
    return;
  }
  std::vector<SLossLine> sums = lines;
  for (SLossLine& line : sums) line.places.clear();
  PrintLines(sums, html);
  size_t tables = 0;
  for (const SReportLosses& losses : report.losses) {
    if (tables++ == kTablesShown) break;
    PrintLossesOf(report, losses, html);
  }
  PrintRest(report.losses.size(), kTablesShown, html);
}

void PrintNotes(const char* heading, const std::vector<std::u16string>& notes, CHtml& html) {
  if (notes.empty()) return;
  html.Raw("<details><summary>").Raw(heading).Number(notes.size()).Raw("</summary>\n<ul>\n");
  for (size_t i = 0; i < notes.size() && i < kNotesShown; ++i) html.Raw("<li>").Text(notes[i]).Raw("</li>\n");
  html.Raw("</ul>\n");
  PrintRest(notes.size(), kNotesShown, html);
  html.Raw("</details>\n");
}

void PrintSaveLosses(const SReport& report, CHtml& html) {
  if (!report.saved) return;
  if (const std::vector<SLossLine> lines = ListSaveLosses(*report.saved); !lines.empty()) {
    html.Heading("unsaved", "Not saved as it was recovered");
    PrintLines(
        {lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(std::min(lines.size(), kTablesShown))},
        html);
    PrintRest(lines.size(), kTablesShown, html);
  }
  PrintNotes("Remarks: ", report.saved->notes, html);
  std::vector<std::u16string> errors;
  for (const CDaoEngineError& error : report.saved->engineErrors)
    errors.push_back(DescribeEngineError(error));
  PrintNotes("Errors of the installed database engine: ", errors, html);
}

void PrintOmitted(const SReport& report, CHtml& html) {
  const std::vector<SLossLine> lines = ListOmittedObjects(*report.data, kNamesShown);
  if (lines.empty()) return;
  html.Heading("omitted", "Not brought back");
  PrintLines(lines, html);
}

}  // namespace tolvane
