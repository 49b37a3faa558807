// inspect: what every page of the file is, without a repair.

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/PageMap.h"
#include "cli/ReportJson.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kBadPagesShown = 20;

std::string ToText(std::u16string_view text) {
  return ToDisplay(text);
}

std::string DrawKinds(const SExamination& findings, const SPageStyle& style) {
  CTextTable drawn{{"Kind"}, {"Pages", EAlign::Right}};
  for (size_t verdict = 0; verdict < static_cast<size_t>(EPageVerdict::Count_); ++verdict)
    drawn.AddColumn({ToText(GetPageVerdictName(static_cast<EPageVerdict>(verdict))), EAlign::Right});
  for (size_t kind = 0; kind < findings.counts.size(); ++kind) {
    uint64_t sum = 0;
    std::vector<std::string> cells{ToText(GetPageKindName(static_cast<EPageKind>(kind))), {}};
    for (const uint64_t count : findings.counts[kind]) {
      sum += count;
      cells.push_back(count > 0 ? std::to_string(count) : std::string());
    }
    cells[1] = std::to_string(sum);
    if (sum > 0) drawn.AddRow(std::move(cells));
  }
  return drawn.Draw(style.width, "  ");
}

std::string DrawBadPages(const SExamination& findings, const SPageStyle& style) {
  CTextTable drawn{
      {"Page", EAlign::Right}, {"Kind"}, {"Owner", EAlign::Right}, {"State"}, {"Reason", EAlign::Wrapped}};
  for (size_t i = 0; i < findings.badPages.size() && i < kBadPagesShown; ++i) {
    const SPageReport& report = findings.badPages[i];
    drawn.AddRow({std::to_string(report.page), ToText(GetPageKindName(report.kind)),
                  report.owner == SPageReport::kNoOwner ? std::string() : std::to_string(report.owner),
                  ToText(GetPageVerdictName(report.verdict)), ToText(report.reason)});
  }
  std::string text = drawn.Draw(style.width, "  ");
  if (findings.badPageCount > kBadPagesShown)
    text += "  and " + std::to_string(findings.badPageCount - kBadPagesShown) + " more\n";
  return text;
}

std::string DrawPages(const SExamination& findings, const SArguments& arguments, const SPageStyle& style) {
  const SPageTotals& totals = findings.totals;
  constexpr size_t kMapWidth = 80;
  std::string text = Heading("Source", style) + "  " + ToDisplay(arguments.source) + "\n  " +
                     (totals.isJet3 ? "Jet 3" : "Jet 4 or ACE") + ", " + Counted(totals.pages, "page") +
                     " of " + std::to_string(totals.pageSize) + " bytes";
  if (totals.leadingBytes > 0)
    text += ", " + Counted(totals.leadingBytes, "foreign byte") + " in front of the first";
  if (totals.partialBytes > 0) text += ", " + Counted(totals.partialBytes, "byte") + " behind the last";
  text += "\n\n" + Heading("Pages", style) + DrawKinds(findings, style) + "\n" + Heading("Map", style) +
          DrawPageMap(findings.blocks, style.width > 0 ? style.width : kMapWidth);
  if (findings.badPageCount > 0)
    text += "\n" + Heading("Damaged or without an owner", style) + DrawBadPages(findings, style);
  return text;
}

Json DescribeFindings(const SReport& report, const SExamination& pages, const SArguments& arguments,
                      EExitStatus status) {
  const SPageTotals& totals = pages.totals;
  Json result = MakeResult(arguments, status);
  result["source"] = {{"path", ToUtf8(arguments.source)},    {"isJet3", totals.isJet3},
                      {"pageSize", totals.pageSize},         {"pages", totals.pages},
                      {"leadingBytes", totals.leadingBytes}, {"partialBytes", totals.partialBytes}};
  if (!arguments.isBrief) result["verdict"] = DescribeVerdict(report);
  DescribePages(pages, result);
  return result;
}

}  // namespace

SCommandEnd RunInspect(CSession& session) {
  const SArguments& arguments = session.GetArguments();
  // The verdict costs more than the map.
  const SReport report = arguments.WithVerdict() ? session.GetReport().Collect() : SReport{};
  const SExamination* pages = session.GetReport().InspectPages();
  if (IsInterrupted()) return StoppedByUser();
  if (!pages || !pages->isDone) return FailedOn(arguments.source, u"The file cannot be read.");
  const SPageTotals& totals = pages->totals;
  // Pages without an owner remain in healthy files, too.
  const bool isClean = totals.Of(EPageVerdict::Damaged) == 0 && totals.Of(EPageVerdict::Unreadable) == 0 &&
                       totals.leadingBytes == 0 && totals.partialBytes == 0;
  const EExitStatus status = session.GetReport().Write(isClean ? EExitStatus::Done : EExitStatus::Incomplete);
  if (arguments.isJson) return EndWith(DescribeFindings(report, *pages, arguments, status), status);
  return EndWith(DrawPages(*pages, arguments, OutputStyle()), status);
}

}  // namespace tolvane
