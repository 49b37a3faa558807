#include "app/QueryList.h"

#include <iterator>

#include "query/Query.h"
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

SListedQuery List(CQuery& query, const SQueriesState& state) {
  const SQueryListing listing = ListQuery(query, state);
  SListedQuery listed{.name = query.name,
                      .kind = KindOf(listing.flags),
                      .sql = listing.sql,
                      .reason = listing.problem,
                      .isWhole = listing.isWhole,
                      .isKindLost = query.name.empty() && state.rules.queriesAreTheirText,
                      .isHidden = CQuerySaver::IsHidden(query.name),
                      .rows = query.GetRows()};
  if (listed.sql.empty() && listed.reason.empty())
    listed.reason = listed.isHidden ? u"a hidden query of a form or report is not rebuilt"
                                    : u"no SQL text can be rebuilt for this query";
  return listed;
}

}  // namespace

bool ListQueries(const CAccessData& data, std::vector<SListedQuery>& list) {
  CTList<CQuery> queries;
  if (!CQuerySaver::ReadQueries(data, queries)) return false;
  const SQueriesState state = GetQueriesState(data, queries);
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
    list.push_back(List(*query, state));
  for (const CQuerySysObject* lost : CQuerySaver::FindLost(data, queries))
    list.push_back({.name = lost->GetName(),
                    .kind = KindOf(static_cast<uint32_t>(ParseQueryNumber(lost->GetType()))),
                    .reason = u"only its name is left, its rows are lost",
                    .isHidden = CQuerySaver::IsHidden(lost->GetName())});
  return true;
}

}  // namespace tolvane
