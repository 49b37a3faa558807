// queries: the saved queries, rebuilt as SQL text, without saving them.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "platform/Text.h"
#include "writer/QuerySaver.h"
#include "writer/RecoveredQuery.h"

namespace tolvane {

namespace {

std::string_view KindOf(uint32_t flags) {
  constexpr std::string_view kKinds[] = {"select",     "crosstab",        "delete",       "update", "append",
                                         "make table", "data definition", "pass-through", "union"};
  const uint32_t kind = flags >> kQueryKindShift;
  return kind < std::size(kKinds) ? kKinds[kind] : "unknown";
}

// The SQL text keeps its lines.
std::string DrawSql(const std::u16string& sql) {
  std::string text;
  for (size_t start = 0; start < sql.size();) {
    const size_t end = std::min(sql.find(u'\n', start), sql.size());
    std::u16string line = sql.substr(start, end - start);
    if (line.ends_with(u'\r')) line.pop_back();
    text += "    " + ToDisplay(line) + "\n";
    start = end + 1;
  }
  return text;
}

// One query of the list.
struct SListed {
  std::u16string name;  // empty when it is lost
  std::string_view kind;
  std::u16string sql;       // empty when there is none,
  std::string reason = {};  // and why; of a text, why it is no statement
  bool isWhole = false;
  bool isKindLost = false;
};

std::vector<SListed> ListQueries(const CAccessData& data, CTList<CQuery>& queries) {
  std::vector<SListed> list;
  const SQueriesState state = GetQueriesState(data, queries);
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    const SQueryListing listing = ListQuery(*query, state);
    SListed& listed = list.emplace_back(
        SListed{query->name, KindOf(listing.flags), listing.sql, ToUtf8(listing.problem), listing.isWhole});
    listed.isKindLost = query->name.empty() && state.rules.queriesAreTheirText;
    if (!listed.sql.empty() || !listed.reason.empty()) continue;
    listed.reason = CQuerySaver::IsHidden(query->name) ? "a hidden query of a form or report is not rebuilt"
                                                       : "no SQL text can be rebuilt for this query";
  }
  for (const CQuerySysObject* lost : CQuerySaver::FindLost(data, queries))
    list.push_back({lost->GetName(),
                    KindOf(static_cast<uint32_t>(ParseQueryNumber(lost->GetType()))),
                    {},
                    "only its name is left, its rows are lost"});
  return list;
}

std::string DrawQuery(const SListed& query, const SPageStyle& style) {
  const std::u16string name = query.name.empty() ? std::u16string(u"(name lost)") : query.name;
  const std::string kind(query.isKindLost ? "kind lost, read as select" : query.kind);
  const std::string text = "\n" + Heading(ToDisplay(name), style) + "  " + kind + "\n";
  if (query.sql.empty()) return text + "    (" + query.reason + ")\n";
  const std::string reason = query.isWhole ? query.reason : "some of its rows are lost";
  return text + DrawSql(query.sql) + (reason.empty() ? "" : "    (" + reason + ")\n");
}

std::string DrawCount(const std::vector<const SListed*>& shown, size_t hidden) {
  const auto queries = [](size_t count, const std::string& kind) {
    return std::to_string(count) + kind + (count == 1 ? " query" : " queries");
  };
  size_t without = 0;
  for (const SListed* query : shown) without += query->sql.empty() ? 1 : 0;
  std::string text = "\n" + (shown.empty() ? "No saved query was found" : queries(shown.size(), " saved"));
  if (without > 0) text += ", " + std::to_string(without) + " of them without SQL text";
  if (hidden > 0) text += "; --all lists " + queries(hidden, " hidden") + " of forms and reports, too";
  return text + ".\n";
}

Json DescribeQuery(const SListed& query) {
  return {{"name", query.name.empty() ? Json() : Json(ToUtf8(query.name))},
          {"kind", query.kind},
          {"hidden", CQuerySaver::IsHidden(query.name)},
          {"whole", query.isWhole},
          {"sql", query.sql.empty() ? Json() : Json(ToUtf8(query.sql))},
          {"reason", query.reason.empty() ? Json() : Json(query.reason)}};
}

}  // namespace

SCommandEnd RunQueries(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  CTList<CQuery> queries;
  if (!CQuerySaver::ReadQueries(data, queries))
    return SFailure{EExitStatus::Failed, u"The temporary file of the saved queries cannot be read."};

  const std::vector<SListed> found = ListQueries(data, queries);
  std::vector<const SListed*> shown;
  for (const SListed& query : found)
    if (arguments.withSystemTables || !CQuerySaver::IsHidden(query.name)) shown.push_back(&query);

  const EExitStatus status = DecideStatus(data, nullptr);
  if (arguments.isJson) {
    Json result = MakeResult(arguments, status);
    result["source"] = DescribeSource(data, arguments);
    result["queries"] = Json::array();
    for (const SListed* query : shown) result["queries"].push_back(DescribeQuery(*query));
    result["damage"] = DescribeDamage(data);
    if (!PrintJson(result)) return OutputLost();
    return status;
  }
  const SPageStyle style = OutputStyle();
  std::string text = DrawSource(data, arguments, style);
  for (const SListed* query : shown) text += DrawQuery(*query, style);
  if (auto failure = Print(text + DrawCount(shown, found.size() - shown.size()))) return *failure;
  MentionDamage(session);
  return status;
}

}  // namespace tolvane
