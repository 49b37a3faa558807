#include "app/report/HtmlReport.h"

#include <cmath>
#include <optional>

#include "app/report/HtmlPageMap.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "render/Calendar.h"

namespace tolvane {

namespace {

constexpr size_t kBadPagesShown = 300;

// "2026-11-22 15:16", from days since 30 December 1899.
std::string FormatDate(double date) {
  constexpr int64_t kMinutesADay = int64_t{24} * 60;
  const auto minutes = static_cast<int64_t>(std::floor(date * static_cast<double>(kMinutesADay)));
  const std::optional<SDay> day = DayOf(minutes / kMinutesADay);
  if (!day) return {};
  const auto padded = [](int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  return std::to_string(day->year) + "-" + padded(day->month) + "-" + padded(day->day) + " " +
         padded(minutes % kMinutesADay / 60) + ":" + padded(minutes % 60);
}

// How grave it is, for the card's colour and sign.
struct SGrade {
  const char* name;
  const char* sign;
};

SGrade GradeOf(const SReport& report) {
  const SVerdictFacts& facts = report.facts;
  if (report.verdict.kind <= EVerdict::Flagged) return {"good", "&#10003;"};
  const bool isWhole = facts.isRecovered && !facts.isNothing && facts.lostRows == 0 && facts.lostTables == 0;
  if (isWhole && report.verdict.kind <= EVerdict::Indexes) return {"good", "&#10003;"};
  if (facts.isNothing || report.verdict.kind >= EVerdict::Encrypted) return {"grave", "&#10007;"};
  return {"warn", "!"};
}

void PrintKeyFigure(uint64_t number, std::string_view noun, std::string_view rest, bool isBad, CHtml& html) {
  html.Raw(isBad && number > 0 ? "<li class=\"bad\"><b>" : "<li><b>").Number(number).Raw("</b> ");
  html.Raw(noun).Raw(number == 1 ? "" : "s").Raw(rest).Raw("</li>\n");
}

// The sentence names the rest.
void PrintLesserDamage(const SReport& report, CHtml& html) {
  bool isFirst = true;
  for (const EVerdict kind : report.verdict.also) {
    if (kind >= EVerdict::LongValues) continue;
    html.Raw(isFirst ? "<p>Further signs: " : ", ").Text(GetDamagedPart(kind));
    isFirst = false;
  }
  if (!isFirst) html.Raw(". A repair sets these right.</p>\n");
}

void PrintVerdict(const SReport& report, CHtml& html) {
  const SGrade grade = GradeOf(report);
  html.Raw("<section class=\"verdict ").Raw(grade.name).Raw("\" aria-labelledby=\"verdict\">\n");
  html.Raw("<h2 id=\"verdict\"><span class=\"sign\" aria-hidden=\"true\">").Raw(grade.sign).Raw("</span> ");
  html.Raw("<span id=\"sentence\">").Text(report.verdict.sentence).Raw("</span></h2>\n");
  PrintLesserDamage(report, html);
  if (!report.task.problem.empty()) html.Paragraph(report.task.problem);
  if (report.data) {
    html.Raw("<ul class=\"figures\">\n");
    PrintKeyFigure(report.facts.tables, "table", "", false, html);
    PrintKeyFigure(report.facts.rows, "row", " recovered", false, html);
    PrintKeyFigure(report.facts.lostRows, "row", " lost", true, html);
    PrintKeyFigure(report.facts.doubtfulRows, "row", " doubtful", true, html);
    html.Raw("</ul>\n");
  } else if (report.examination) {
    html.Raw("<p>Only the pages were examined; tables and rows were not read.</p>\n");
  }
  html.Raw("</section>\n");
}

void PrintAdvice(const SReport& report, CHtml& html) {
  if (report.verdict.advice.empty()) return;
  html.Heading("next", "What to do next").Raw("<ol>\n");
  for (const std::u16string& advice : report.verdict.advice) html.Raw("<li>").Text(advice).Raw("</li>\n");
  html.Raw("</ol>\n");
}

// A list of facts, two columns; facts that are not known are left out.
class CFactList {
 public:
  explicit CFactList(CHtml& html) : m_html(html) { m_html.Raw("<dl>\n"); }
  ~CFactList() { m_html.Raw("</dl>\n"); }
  CFactList(const CFactList&) = delete;
  CFactList& operator=(const CFactList&) = delete;

  CHtml& Fact(std::string_view name) { return m_html.Raw("<dt>").Text(name).Raw("</dt><dd>"); }
  void Text(std::string_view name, std::string_view text) {
    if (!text.empty()) Fact(name).Text(text).Raw("</dd>\n");
  }
  void Path(std::string_view name, std::u16string_view path) {
    if (!path.empty()) Fact(name).Raw("<bdi class=\"path\">").Text(path).Raw("</bdi></dd>\n");
  }

 private:
  CHtml& m_html;
};

std::string CountOf(uint64_t count, std::string_view one, std::string_view many) {
  return GroupedNumber(count) + " " + std::string(count == 1 ? one : many);
}

std::string DescribeSaved(const SSaveSummary& saved) {
  std::string text =
      CountOf(saved.tablesSaved, "table", "tables") + ", " + CountOf(saved.recordsSaved, "record", "records");
  if (saved.valuesSaved > 0)
    text += ", " + CountOf(saved.valuesSaved, "value", "values") + " of multi-value and attachment columns";
  if (saved.queriesSaved > 0) text += ", " + CountOf(saved.queriesSaved, "query", "queries");
  if (saved.relationsSaved > 0) text += ", " + CountOf(saved.relationsSaved, "relationship", "relationships");
  if (saved.linksSaved > 0) text += ", " + CountOf(saved.linksSaved, "link", "links");
  return text;
}

void PrintDone(const SReport& report, CHtml& html) {
  html.Heading("done", "What was done");
  CFactList facts(html);
  const SReportTask& task = report.task;
  facts.Text("Command", "tolvane " + std::string(task.command) + ", version " + std::string(task.version));
  facts.Text("When", FormatDate(report.date) +
                         (report.task.date ? ", UTC, a date that was asked for" : ", local time"));
  if (report.data) {
    facts.Text("Rules", task.rules == ERules::Exact
                            ? "exact: what the file holds"
                            : "standard: the documented conventions, which round and leave out");
    if (task.templatePath.empty()) {
      facts.Text("Definitions", "from the damaged file itself");
    } else {
      facts.Path("Definitions from the template", task.templatePath);
    }
  }
  if (report.saved) {
    facts.Path("New database", report.outputPath);
    facts.Fact("Its format").Text(report.outputFormat).Raw("</dd>\n");
    facts.Text("Saved", DescribeSaved(*report.saved));
  } else {
    facts.Text("New database", "none was written");
  }
  facts.Text("The damaged file", "was only read");
}

std::string DescribeLanguage(const SSourceFacts& source) {
  std::string text;
  if (source.isJet3) text = "code page " + std::to_string(source.codePage);
  if (source.sortOrder == 0) return text;
  constexpr uint32_t kVersionShift = 24, kLanguageMask = 0xFFFF;
  if (!text.empty()) text += ", ";
  text += "sort order " + std::to_string(source.sortOrder & kLanguageMask);
  if (const uint32_t version = source.sortOrder >> kVersionShift; version > 0)
    text += ", version " + std::to_string(version);
  return text;
}

void PrintFile(const SReport& report, CHtml& html) {
  html.Heading("file", "The file");
  CFactList facts(html);
  const SSourceFacts& source = report.source;
  facts.Path("Path", report.task.source);
  const bool isKnown = source.pageCount > 0;
  if (isKnown) facts.Text("Format", FormatName(source));
  if (isKnown) facts.Text("Version byte", std::to_string(source.versionByte));
  facts.Text("Size", CountOf(source.start + source.length, "byte", "bytes"));
  if (isKnown)
    facts.Text("Pages", CountOf(source.pageCount, "page", "pages") + " of " +
                            std::to_string(source.pageSize) + " bytes");
  if (isKnown)
    facts.Text("The database begins",
               source.start == 0 ? "at the file's first byte" : "at byte " + GroupedNumber(source.start));
  if (isKnown && report.examination && report.examination->totals.partialBytes > 0)
    facts.Text("Behind the last page", CountOf(report.examination->totals.partialBytes, "byte", "bytes"));
  if (isKnown && report.examination && report.examination->pagesCutOff > 0)
    facts.Text("Gone from its end",
               "at least " + CountOf(report.examination->pagesCutOff, "page", "pages") + ", by its own map");
  if (isKnown) facts.Text("Texts", DescribeLanguage(source));
  if (isKnown && report.examination && report.examination->writesCutOff > 0)
    facts.Text("Marked as being written", "by " + CountOf(report.examination->writesCutOff, "user", "users"));
  if (isKnown && report.examination && report.examination->hasLockFile)
    facts.Text("Lock file", "lies beside it: the database is open, or was when something broke");
}

void PrintKinds(const SExamination& examination, CHtml& html) {
  html.Raw("<details><summary>Pages by kind and state</summary>\n");
  std::vector<std::string> names;
  for (size_t verdict = 0; verdict < static_cast<size_t>(EPageVerdict::Count_); ++verdict)
    names.push_back("#" + ToUtf8(GetPageVerdictName(static_cast<EPageVerdict>(verdict))));
  std::vector<std::string_view> headings{"Kind"};
  headings.insert(headings.end(), names.begin(), names.end());
  html.BeginTable("Pages by kind and state", headings);
  for (size_t kind = 0; kind < examination.counts.size(); ++kind) {
    if (examination.totals.Of(static_cast<EPageKind>(kind)) == 0) continue;
    html.Raw("<tr><th scope=\"row\">").Text(GetPageKindName(static_cast<EPageKind>(kind))).Raw("</th>");
    for (size_t verdict = 0; verdict < names.size(); ++verdict)
      html.NumberCell(examination.counts[kind][verdict],
                      verdict == static_cast<size_t>(EPageVerdict::Damaged) ||
                          verdict == static_cast<size_t>(EPageVerdict::Unreadable));
    html.Raw("</tr>\n");
  }
  html.EndTable().Raw("</details>\n");
}

void PrintOwner(const SReport& report, uint32_t owner, CHtml& html) {
  html.Raw("<td>");
  if (owner != SPageReport::kNoOwner) {
    const CAccessTable* table =
        report.data ? report.data->GetTables().FindTable(uint64_t{owner} * report.source.pageSize) : nullptr;
    if (table && !table->name.empty()) {
      html.Name(table->name);
    } else {
      html.Raw("page ").Number(owner);
    }
  }
  html.Raw("</td>");
}

void PrintBadPages(const SReport& report, CHtml& html) {
  const SExamination& examination = *report.examination;
  if (examination.badPages.empty()) return;
  html.Raw("<details><summary>Pages that are damaged, unreadable or without an owner: ")
      .Number(examination.badPageCount)
      .Raw("</summary>\n");
  html.BeginTable("Pages that are damaged, unreadable or without an owner",
                  {"#Page", "Kind", "Table", "State", "Reason"});
  size_t shown = 0;
  for (const SPageReport& page : examination.badPages) {
    if (shown++ == kBadPagesShown) break;
    html.Raw("<tr>").NumberCell(page.page).TextCell(GetPageKindName(page.kind));
    PrintOwner(report, page.owner, html);
    html.TextCell(GetPageVerdictName(page.verdict)).TextCell(page.reason).Raw("</tr>\n");
  }
  html.EndTable();
  if (examination.badPageCount > kBadPagesShown)
    html.Raw("<p>")
        .Number(examination.badPageCount - kBadPagesShown)
        .Raw(" more are not listed here; <code>tolvane inspect --json</code> lists more of them.</p>\n");
  html.Raw("</details>\n");
}

void PrintPages(const SReport& report, CHtml& html) {
  if (!report.examination || !report.examination->isDone || report.examination->blocks.GetPageCount() == 0)
    return;
  html.Heading("pages", "The pages");
  PrintPageMap(*report.examination, html);
  PrintKinds(*report.examination, html);
  PrintBadPages(report, html);
}

}  // namespace

std::string PrintHtmlReport(const SReport& report) {
  CHtml html;
  const std::u16string name(FileNameOf(report.task.source));
  html.Raw("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n")
      .Raw("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n")
      .Raw("<meta name=\"color-scheme\" content=\"light dark\">\n")
      .Raw(
          "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
          "'unsafe-inline'\">\n")
      .Raw("<title>Report on ")
      .Text(name)
      .Raw("</title>\n<style>\n")
      .Raw(kReportStyle)
      .Raw("</style>\n</head>\n<body>\n");
  html.Raw("<header>\n<p class=\"maker\">Tolvane for Access</p>\n<h1>Report on ")
      .Name(name)
      .Raw("</h1>\n</header>\n<main>\n");
  PrintVerdict(report, html);
  PrintAdvice(report, html);
  PrintDone(report, html);
  PrintFile(report, html);
  PrintPages(report, html);
  if (report.data) {
    PrintTables(report, html);
    PrintQueries(report, html);
    PrintRelations(report, html);
    PrintLosses(report, html);
    PrintSaveLosses(report, html);
    PrintOmitted(report, html);
  }
  html.Raw("</main>\n<footer><p>Tolvane for Access ")
      .Text(report.task.version)
      .Raw(", ")
      .Raw(FormatDate(report.date))
      .Raw("</p></footer>\n</body>\n</html>\n");
  return html.Take();
}

}  // namespace tolvane
