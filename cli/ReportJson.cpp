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
  Json also = Json::array(), advice = Json::array();
  for (const EVerdict kind : verdict.also) also.push_back(NameOf(kind));
  for (const std::u16string& text : verdict.advice) advice.push_back(ToUtf8(text));
  Json described = {{"kind", NameOf(verdict.kind)},
                    {"sentence", ToUtf8(verdict.sentence)},
                    {"also", std::move(also)},
                    {"advice", std::move(advice)}};
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
  target["badPages"] = Json::array();
  for (const SPageReport& page : examination.badPages) target["badPages"].push_back(DescribeBadPage(page));
}

}  // namespace tolvane
