// check: proves that a database is consistent, without a repair.

#include <algorithm>
#include <cstdint>

#include "checker/DatabaseCheck.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

std::string NumberOrNothing(uint32_t number) {
  return number == kNoPage ? std::string() : std::to_string(number);
}

std::string DrawFindings(const SCheckReport& report, const SPageStyle& style) {
  CTextTable drawn{{"Rule"},
                   {""},
                   {"Page", EAlign::Right},
                   {"Row", EAlign::Right},
                   {"Table"},
                   {"Finding", EAlign::Wrapped}};
  for (const SFinding& finding : report.findings)
    drawn.AddRow({std::string(finding.rule), finding.severity == ESeverity::Error ? "error" : "doubt",
                  NumberOrNothing(finding.place.page), NumberOrNothing(finding.place.row),
                  ToDisplay(finding.table), ToDisplay(finding.text)});
  std::string text = drawn.Draw(style.width, "  ");
  const uint64_t hidden = report.CountErrors() + report.CountDoubts() - report.findings.size();
  if (hidden > 0) text += "  and " + std::to_string(hidden) + " more of these rules\n";
  return text;
}

std::string DrawReport(const SCheckReport& report, const SArguments& arguments, const SPageStyle& style) {
  std::string text = Heading("Database", style) + "  " + ToDisplay(arguments.source) + "\n  " +
                     Counted(report.pages, "page") + ", " + Counted(report.tables, "table") + ", " +
                     Counted(report.rows, "row") + ", " + std::to_string(report.indexes) +
                     (report.indexes == 1 ? " index" : " indexes") + "\n";
  if (!report.findings.empty()) text += "\n" + Heading("Findings", style) + DrawFindings(report, style);
  if (!report.notes.empty()) text += "\n" + Heading("Not checked", style);
  for (const std::u16string& note : report.notes) text += "  " + ToDisplay(note) + "\n";
  text += "\n";
  if (report.CountErrors() + report.CountDoubts() == 0) return text + "The database is consistent.\n";
  return text + Counted(report.CountErrors(), "error") + ", " + Counted(report.CountDoubts(), "doubt") +
         ".\n";
}

Json DescribeReport(const SCheckReport& report, const SArguments& arguments, EExitStatus status) {
  Json result = MakeResult(arguments, status);
  result["database"] = {{"path", ToUtf8(arguments.source)},
                        {"pages", report.pages},
                        {"tables", report.tables},
                        {"rows", report.rows},
                        {"indexes", report.indexes}};
  result["errors"] = report.CountErrors();
  result["doubts"] = report.CountDoubts();
  result["rules"] = Json::array();
  for (const auto& [rule, count] : report.counts)
    result["rules"].push_back({{"rule", rule}, {"errors", count.errors}, {"doubts", count.doubts}});
  result["findings"] = Json::array();
  for (const SFinding& finding : report.findings) {
    Json described = {{"rule", finding.rule},
                      {"severity", finding.severity == ESeverity::Error ? "error" : "doubt"}};
    if (finding.place.page != kNoPage) described["page"] = finding.place.page;
    if (finding.place.row != kNoRow) described["row"] = finding.place.row;
    if (!finding.table.empty()) described["table"] = ToUtf8(finding.table);
    described["text"] = ToUtf8(finding.text);
    result["findings"].push_back(std::move(described));
  }
  result["notes"] = Json::list(report.notes);
  return result;
}

std::u16string_view WhyNot(ECheckVerdict verdict) {
  switch (verdict) {
    case ECheckVerdict::NotADatabase:
      return u"The header is not that of an Access database. tolvane repair may still recover it.";
    case ECheckVerdict::Encrypted:
      return u"The database is encrypted; its pages cannot be checked.";
    default:
      return u"The file cannot be read.";
  }
}

// A file is checked whole, unless it is one of several databases in it that is meant.
SCheckedPlace PlaceIn(CSource& source, uint64_t start) {
  SCheckedPlace place{.start = start};
  for (const uint64_t other : source.GetFacts().otherStarts)
    if (start != 0 && other > start) place.end = std::min(place.end, other);
  place.isThere = [&source](uint64_t offset, uint64_t length) {
    return source.GetPages().HoldsAll(offset, length);
  };
  return place;
}

}  // namespace

SCommandEnd RunCheck(CSession& session) {
  const SArguments& arguments = session.GetArguments();
  SCheckReport report;
  SCheckOptions options;
  CJobContext& context = session.GetJob().GetContext();
  CSource& source = session.GetSource();
  options.shouldStop = [&context] {
    context.progress.IncrementPos();
    return !context.repairing.IsRunning();
  };
  options.place = PlaceIn(source, arguments.start);
  std::u16string problem;
  const auto check = [&] {
    context.progress.SetMax(source.GetPageCount());
    context.status.SetText(u"Checking pages");
    report = CheckDatabase(session.GetSourcePath(), options);
  };
  const bool isDone = session.RunWatched(check, problem);
  if (IsInterrupted()) return StoppedByUser();
  if (!isDone) return FailedOn(arguments.source, problem);
  if (report.verdict != ECheckVerdict::Checked) {
    std::u16string reason(WhyNot(report.verdict));
    const uint64_t found = source.GetFacts().start;
    if (report.verdict == ECheckVerdict::NotADatabase && source.HasPages() && found != arguments.start)
      reason +=
          u" The pages of one begin at byte " + ToDecimal(found) + u": --start " + ToDecimal(found) + u".";
    return FailedOn(arguments.source, reason);
  }
  const bool hasChanged = source.GetPages().HasChanged();
  if (hasChanged) report.notes.emplace_back(kSourceChanged);
  const bool isClean = report.CountErrors() + report.CountDoubts() == 0 && !hasChanged;
  const EExitStatus status = isClean ? EExitStatus::Done : EExitStatus::Incomplete;
  if (arguments.isJson) return EndWith(DescribeReport(report, arguments, status), status);
  return EndWith(DrawReport(report, arguments, OutputStyle()), status);
}

}  // namespace tolvane
