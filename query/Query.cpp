#include "query/Query.h"

#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "query/QB.h"

namespace tolvane {
namespace {

// The first query of each id. The views point into the queries' first rows, which stay where they are.
using QueriesById = std::unordered_map<std::u16string_view, CQuery*>;

QueriesById IndexById(const CTList<CQuery>& queries) {
  QueriesById byId;
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    if (const CQueryAttributes* first = query->rows.GetHead()) byId.emplace(first->ObjectId, query);
  }
  return byId;
}

}  // namespace

std::u16string CQuery::GetSql() {
  if (const std::unique_ptr<CQB> builder = MakeQueryBuilder(type)) builder->Build(rows, m_sql);
  return m_sql;
}

std::vector<SQueryRow> CQuery::GetRows() const {
  std::vector<SQueryRow> typed;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext())
    typed.push_back(row->GetRow());
  return typed;
}

bool CQuery::IsWhole() const {
  bool hasStart = false;
  bool hasEnd = false;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    if (row->Attribute.empty()) continue;
    const int attribute = ParseQueryNumber(row->Attribute);
    hasStart = hasStart || attribute == kQueryStart;
    hasEnd = hasEnd || attribute == kQueryEnd;
  }
  return hasStart && hasEnd;
}

int CQueryEngine::GroupRows(CTList<CQuery>& queries, CTList<CQueryAttributes>& rows) {
  QueriesById byId = IndexById(queries);
  while (std::unique_ptr<CQueryAttributes> row = rows.TakeFront()) {
    const auto found = byId.find(row->ObjectId);
    if (found != byId.end()) {
      found->second->rows.Append(std::move(row));
      continue;
    }
    auto query = std::make_unique<CQuery>();
    query->rows.Append(std::move(row));
    byId.emplace(query->rows.GetHead()->ObjectId, query.get());
    queries.Append(std::move(query));
  }
  return 1;
}

void CQueryEngine::MatchObjects(CTList<CQuery>& queries, const CTList<CQuerySysObject>& objects) {
  const QueriesById byId = IndexById(queries);
  for (const CQuerySysObject* object = objects.GetHead(); object != nullptr; object = object->GetNext()) {
    const auto found = byId.find(object->GetId());
    if (found == byId.end()) continue;
    found->second->name = object->GetName();
    found->second->type = object->GetType();
    found->second->isNameRestored = object->IsRestored();
  }
}

}  // namespace tolvane
