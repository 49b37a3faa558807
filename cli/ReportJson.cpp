#include "cli/ReportJson.h"

#include "platform/Text.h"

namespace tolvane {

namespace {

Json DescribeBadPage(const SPageReport& report) {
  Json described = {{"page", report.page}, {"kind", ToUtf8(GetPageKindName(report.kind))}};
  if (report.owner != SPageReport::kNoOwner) described["owner"] = report.owner;
  described["state"] = ToUtf8(GetPageVerdictName(report.verdict));
  described["reason"] = ToUtf8(report.reason);
  return described;
}

}  // namespace

Json DescribeVerdict(const SReport& report) {
  const SVerdict& verdict = report.verdict;
  Json described = {{"kind", NameOf(verdict.kind)},
                    {"sentence", ToUtf8(verdict.sentence)},
                    {"also", Json::list(verdict.also, [](EVerdict kind) { return NameOf(kind); })},
                    {"advice", Json::list(verdict.advice)}};
  if (!report.data) return described;
  described["tables"] = report.facts.tables;
  described["rows"] = report.facts.rows;
  described["lostRows"] = report.facts.lostRows;
  described["doubtfulRows"] = report.facts.doubtfulRows;
  described["lostTables"] = report.facts.lostTables;
  return described;
}

void DescribePages(const SExamination& examination, Json& target) {
  target["kinds"] = Json::array();
  for (size_t i = 0; i < examination.counts.size(); ++i) {
    const auto kind = static_cast<EPageKind>(i);
    if (examination.totals.Of(kind) == 0) continue;
    Json counts = {{"kind", ToUtf8(GetPageKindName(kind))}, {"pages", examination.totals.Of(kind)}};
    for (size_t verdict = 0; verdict < examination.counts[i].size(); ++verdict)
      counts[ToUtf8(GetPageVerdictName(static_cast<EPageVerdict>(verdict)))] = examination.counts[i][verdict];
    target["kinds"].push_back(std::move(counts));
  }
  target["badPageCount"] = examination.badPageCount;
  target["badPages"] = Json::list(examination.badPages, DescribeBadPage);
}

}  // namespace tolvane
