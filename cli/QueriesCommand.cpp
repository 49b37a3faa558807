// queries: the saved queries, rebuilt as SQL text, without saving them.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Findings.h"
#include "cli/JsonOutput.h"
#include "cli/Summary.h"
#include "platform/Text.h"
#include "writer/QuerySaver.h"

namespace tolvane {

namespace {

// The kinds by the high half of the type; what is not here has no SQL text.
std::string_view KindOf(const CQuery& query) {
  switch (ParseQueryNumber(query.type)) {
    case 0:
    case 8:
      return "select";
    case 16:
      return "crosstab";
    case 32:
      return "delete";
    case 48:
      return "update";
    case 64:
      return "append";
    case 80:
      return "make table";
    case 96:
      return "data definition";
    case 112:
      return "pass-through";
    case 128:
      return "union";
    default:
      return "unknown";
  }
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

std::string DrawQuery(const CQuery& query, const std::u16string& sql, const SPageStyle& style) {
  const std::u16string name = query.name.empty() ? std::u16string(u"(name lost)") : query.name;
  std::string text = "\n" + Heading(ToDisplay(name), style) + "  " + std::string(KindOf(query)) + "\n";
  return text + (sql.empty() ? std::string("    no SQL text can be rebuilt for this kind\n") : DrawSql(sql));
}

bool IsHidden(const CQuery& query) {
  return query.name.starts_with(u"~sq");
}

}  // namespace

SCommandEnd RunQueries(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  const CAccessData& data = session.GetData();
  CTList<CQuery> queries;
  if (!CQuerySaver::ReadQueries(data, queries))
    return SFailure{EExitStatus::Failed, u"The temporary file of the saved queries cannot be read."};

  const EExitStatus status = DecideStatus(data, nullptr);
  const SPageStyle style = OutputStyle();
  Json list = Json::array();
  std::string text = DrawSource(data, arguments, style);
  size_t count = 0;
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    if (IsHidden(*query) && !arguments.withSystemTables) continue;
    const std::u16string sql = query->GetSql();
    ++count;
    if (arguments.isJson) {
      list.push_back({{"name", ToUtf8(query->name)},
                      {"kind", KindOf(*query)},
                      {"sql", sql.empty() ? Json() : Json(ToUtf8(sql))}});
    } else {
      text += DrawQuery(*query, sql, style);
    }
  }
  if (!arguments.isJson) {
    text += "\n" + std::to_string(count) + (count == 1 ? " query" : " queries") + "\n";
    if (auto failure = Print(text)) return *failure;
    MentionDamage(session);
    return status;
  }
  Json result = MakeResult(arguments, status);
  result["source"] = DescribeSource(data, arguments);
  result["queries"] = std::move(list);
  result["damage"] = DescribeDamage(data);
  if (!PrintJson(result)) return OutputLost();
  return status;
}

}  // namespace tolvane
