// queries: the saved queries, rebuilt as SQL text, without saving them.
#include <string>
#include <vector>

#include "app/QueryList.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

// The SQL text keeps its lines.
std::string DrawSql(std::u16string_view sql) {
  std::string text;
  while (!sql.empty()) {
    std::u16string_view line = CutPart(sql, u'\n');
    if (line.ends_with(u'\r')) line.remove_suffix(1);
    text += "    " + ToDisplay(line) + "\n";
  }
  return text;
}

std::string DrawQuery(const SListedQuery& query, const SPageStyle& style) {
  const std::u16string name = query.name.empty() ? std::u16string(u"(name lost)") : query.name;
  const std::string kind(query.isKindLost ? "kind lost, read as select" : query.kind);
  const std::string text = "\n" + Heading(ToDisplay(name), style) + "  " + kind + "\n";
  if (query.sql.empty()) return text + "    (" + ToUtf8(query.reason) + ")\n";
  const std::string reason = query.isWhole ? ToUtf8(query.reason) : "some of its rows are lost";
  return text + DrawSql(query.sql) + (reason.empty() ? "" : "    (" + reason + ")\n");
}

std::string DrawCount(const std::vector<const SListedQuery*>& shown, size_t hidden) {
  const auto queries = [](size_t count, const std::string& kind) {
    return std::to_string(count) + kind + (count == 1 ? " query" : " queries");
  };
  size_t without = 0;
  for (const SListedQuery* query : shown) without += query->sql.empty() ? 1 : 0;
  std::string text = "\n" + (shown.empty() ? "No saved query was found" : queries(shown.size(), " saved"));
  if (without > 0) text += ", " + std::to_string(without) + " of them without SQL text";
  if (hidden > 0) text += "; --all lists " + queries(hidden, " hidden") + " of forms and reports, too";
  return text + ".\n";
}

}  // namespace

SCommandEnd RunQueries(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  std::vector<SListedQuery> found;
  if (!ListQueries(data, found))
    return SFailure{EExitStatus::Failed, u"The temporary file of the saved queries cannot be read."};
  std::vector<const SListedQuery*> shown;
  for (const SListedQuery& query : found)
    if (arguments.withSystemTables || !query.isHidden) shown.push_back(&query);

  const EExitStatus status = DecideStatus(data, nullptr);
  if (arguments.isJson) {
    const auto describe = [](const SListedQuery* query) { return DescribeQuery(*query); };
    return EndRecovery(session, Json{{"queries", Json::list(shown, describe)}}, status);
  }
  const SPageStyle style = OutputStyle();
  std::string text = DrawSource(data, arguments, style);
  for (const SListedQuery* query : shown) text += DrawQuery(*query, style);
  return EndRecovery(session, text + DrawCount(shown, found.size() - shown.size()), status);
}

}  // namespace tolvane
