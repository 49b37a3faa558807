// inspect: what every page of the file is, without a repair.

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/PageMap.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "engine/PageInspector.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// Pages that are reported one by one; all are counted.
constexpr size_t kBadPagesKept = 1000;
constexpr size_t kBadPagesShown = 20;

struct SFindings {
  CPageMap map;
  std::vector<SPageReport> badPages;
  uint64_t badPageCount = 0;
  // Pages of each kind by verdict.
  std::array<std::array<uint64_t, static_cast<size_t>(EPageVerdict::Count_)>,
             static_cast<size_t>(EPageKind::Count_)>
      counts{};

  void Add(const SPageReport& report) {
    map.Add(report);
    ++counts[static_cast<size_t>(report.kind)][static_cast<size_t>(report.verdict)];
    if (report.verdict == EPageVerdict::Ok || report.verdict == EPageVerdict::Free) return;
    ++badPageCount;
    if (badPages.size() < kBadPagesKept) badPages.push_back(report);
  }
};

std::string ToText(std::u16string_view text) {
  return ToDisplay(text);
}

std::string DrawKinds(const SFindings& findings, const SPageStyle& style) {
  CTextTable drawn;
  drawn.AddColumn("Kind");
  drawn.AddColumn("Pages", EAlign::Right);
  for (size_t verdict = 0; verdict < static_cast<size_t>(EPageVerdict::Count_); ++verdict)
    drawn.AddColumn(ToText(GetPageVerdictName(static_cast<EPageVerdict>(verdict))), EAlign::Right);
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

std::string DrawBadPages(const SFindings& findings, const SPageStyle& style) {
  CTextTable drawn;
  drawn.AddColumn("Page", EAlign::Right);
  drawn.AddColumn("Kind");
  drawn.AddColumn("Owner", EAlign::Right);
  drawn.AddColumn("State");
  drawn.AddColumn("Reason");
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

std::string DrawPages(const SPageTotals& totals, const SFindings& findings, const SArguments& arguments,
                      const SPageStyle& style) {
  constexpr size_t kUsualWidth = 80;
  std::string text = Heading("Source", style) + "  " + ToDisplay(arguments.source) + "\n  " +
                     (totals.isJet3 ? "Jet 3" : "Jet 4 or ACE") + ", " + Counted(totals.pages, "page") +
                     " of " + std::to_string(totals.pageSize) + " bytes";
  if (totals.leadingBytes > 0)
    text += ", " + Counted(totals.leadingBytes, "foreign byte") + " in front of the first";
  if (totals.partialBytes > 0) text += ", " + Counted(totals.partialBytes, "byte") + " behind the last";
  text += "\n\n" + Heading("Pages", style) + DrawKinds(findings, style) + "\n" + Heading("Map", style) +
          findings.map.Draw(style.width > 0 ? style.width : kUsualWidth);
  if (findings.badPageCount > 0)
    text += "\n" + Heading("Damaged or without an owner", style) + DrawBadPages(findings, style);
  return text;
}

Json DescribeFindings(const SPageTotals& totals, const SFindings& findings, const SArguments& arguments,
                      EExitStatus status) {
  Json result = MakeResult(arguments, status);
  result["source"] = {{"path", ToUtf8(arguments.source)},    {"isJet3", totals.isJet3},
                      {"pageSize", totals.pageSize},         {"pages", totals.pages},
                      {"leadingBytes", totals.leadingBytes}, {"partialBytes", totals.partialBytes}};
  result["kinds"] = Json::array();
  for (size_t kind = 0; kind < findings.counts.size(); ++kind) {
    Json counts = {{"kind", ToUtf8(GetPageKindName(static_cast<EPageKind>(kind)))},
                   {"pages", totals.Of(static_cast<EPageKind>(kind))}};
    for (size_t verdict = 0; verdict < findings.counts[kind].size(); ++verdict)
      counts[ToUtf8(GetPageVerdictName(static_cast<EPageVerdict>(verdict)))] = findings.counts[kind][verdict];
    if (totals.Of(static_cast<EPageKind>(kind)) > 0) result["kinds"].push_back(std::move(counts));
  }
  result["badPageCount"] = findings.badPageCount;
  result["badPages"] = Json::array();
  for (const SPageReport& report : findings.badPages) {
    Json described = {{"page", report.page}, {"kind", ToUtf8(GetPageKindName(report.kind))}};
    if (report.owner != SPageReport::kNoOwner) described["owner"] = report.owner;
    described["state"] = ToUtf8(GetPageVerdictName(report.verdict));
    described["reason"] = ToUtf8(report.reason);
    result["badPages"].push_back(std::move(described));
  }
  return result;
}

}  // namespace

SCommandEnd RunInspect(CSession& session) {
  const SArguments& arguments = session.GetArguments();
  CPageInspector inspector(session.GetJob().GetContext());
  SFindings findings;
  bool isDone = false;
  std::u16string problem;
  session.RunWatched(
      [&] {
        isDone = inspector.Inspect(session.GetSource(),
                                   [&findings](const SPageReport& report) { findings.Add(report); });
      },
      problem);
  if (IsInterrupted()) return StoppedByUser();
  if (!isDone)
    return SFailure{EExitStatus::Failed,
                    AboutFile(arguments.source, problem.empty() ? u"The file cannot be read." : problem)};
  const SPageTotals& totals = inspector.GetTotals();
  // Pages without an owner remain in healthy files, too.
  const bool isClean = totals.Of(EPageVerdict::Damaged) == 0 && totals.Of(EPageVerdict::Unreadable) == 0 &&
                       totals.leadingBytes == 0 && totals.partialBytes == 0;
  const EExitStatus status = isClean ? EExitStatus::Done : EExitStatus::Incomplete;
  if (arguments.isJson) {
    if (!PrintJson(DescribeFindings(totals, findings, arguments, status))) return OutputLost();
    return status;
  }
  if (auto failure = Print(DrawPages(totals, findings, arguments, OutputStyle()))) return *failure;
  return status;
}

}  // namespace tolvane
