#include "query/QueryClauses.h"

#include <memory>

namespace tolvane {
namespace {

constexpr std::u16string_view kRegistryStart = u"#<<";
constexpr std::u16string_view kRegistryEnd = u">>#";

// Units of the registry that are searched for one query; behind them only whole names count.
constexpr size_t kMostSearched = size_t{1} << 26;

bool HasBlank(std::u16string_view text) {
  return text.find(u' ') != std::u16string_view::npos;
}

bool HasRegistryMark(std::u16string_view name) {
  return name.find(kRegistryStart) != std::u16string_view::npos ||
         name.find(kRegistryEnd) != std::u16string_view::npos;
}

}  // namespace

std::u16string Bracketed(std::u16string_view name) {
  std::u16string text = u"[";
  text += name;
  text += u']';
  return text;
}

std::u16string BracketedIfBlank(std::u16string_view name) {
  return HasBlank(name) ? Bracketed(name) : std::u16string(name);
}

void AppendListItem(std::u16string& list, std::u16string_view separator, std::u16string_view item) {
  if (!list.empty()) list += separator;
  list += item;
}

void AppendClause(std::u16string& sql, std::u16string_view clause) {
  if (clause.empty()) return;
  sql += u'\n';
  sql += clause;
}

bool CQueryClauses::TakeCommon(int attribute, const CQueryAttributes& row) {
  switch (attribute) {
    case kQueryOptions:
      m_options = ParseQueryNumber(row.Flag);
      return true;
    case kQuerySource:
      TakeSource(row);
      return true;
    case kQueryJoin:
      TakeJoin(row);
      return true;
    case kQueryCriteria:
      if (!row.Expression.empty()) m_where = u"WHERE " + row.Expression;
      return true;
    case kQueryHaving:
      m_having = u"HAVING " + row.Expression;
      return true;
    case kQuerySortKey:
      TakeSortKey(row);
      return true;
    default:
      return false;
  }
}

void CQueryClauses::TakeSource(const CQueryAttributes& row) {
  std::u16string entry = Bracketed(row.Name1);
  if (!row.Name2.empty()) entry += u" AS " + BracketedIfBlank(row.Name2);
  m_from += m_from.empty() ? u"FROM " : u", ";
  m_from += entry;
}

void CQueryClauses::TakeGrouping(const CQueryAttributes& row) {
  m_groupBy += m_groupBy.empty() ? u"GROUP BY" : u",";
  m_groupBy += u' ';
  m_groupBy += row.Expression;
}

void CQueryClauses::TakeSortKey(const CQueryAttributes& row) {
  AppendListItem(m_sortKeys, u", ", row.Expression);
  if (row.Name1 == u"D" || row.Name1 == u"d") m_sortKeys += u" DESC";
}

std::u16string CQueryClauses::ColumnEntry(const CQueryAttributes& row) {
  return row.Name1.empty() ? row.Expression : row.Expression + u" AS " + Bracketed(row.Name1);
}

void CQueryClauses::TakeJoin(const CQueryAttributes& row) {
  auto copy = std::make_unique<CQueryAttributes>(row);
  if (RegisterJoinTable(row.Name1)) copy->leftTable = ResolveJoinSide(row.Name1);
  if (RegisterJoinTable(row.Name2)) copy->rightTable = ResolveJoinSide(row.Name2);
  m_joins.AddJoinRow(std::move(copy));
}

// True when the name was not registered before.
bool CQueryClauses::RegisterJoinTable(const std::u16string& name) {
  if (m_registered.contains(name)) return false;
  const bool hasMark = HasRegistryMark(name);
  std::u16string entry(kRegistryStart);
  entry += name;
  entry += kRegistryEnd;
  m_registryHasMarks = m_registryHasMarks || hasMark;
  if (m_registryHasMarks && m_searched < kMostSearched) {
    m_searched += m_registry.size();
    if (m_registry.find(entry) != std::u16string::npos) return false;
  }
  m_registry += entry;
  m_registered.insert(name);
  return true;
}

std::u16string CQueryClauses::ResolveJoinSide(const std::u16string& name) {
  if (!m_hasSources) {
    m_hasSources = true;
    for (const CQueryAttributes* row = m_rows.GetHead(); row != nullptr; row = row->GetNext()) {
      if (row->Attribute == u"5") m_sourceOfAlias.emplace(row->Name2, row);
    }
  }
  const auto source = m_sourceOfAlias.find(name);
  if (source == m_sourceOfAlias.end()) return BracketedIfBlank(name);
  return BracketedIfBlank(source->second->Name1) + u" AS " + BracketedIfBlank(name);
}

std::u16string_view CQueryClauses::GetSelectKeyword() const {
  if (m_options == 2) return u"SELECT DISTINCT";
  if (m_options == 8) return u"SELECT DISTINCTROW";
  return u"SELECT";
}

std::u16string CQueryClauses::MakeSelect(const std::u16string& columns, std::u16string_view groupBy) {
  // There may be no source at all.
  const std::u16string joins = m_joins.GetJoinText();
  std::u16string sql = std::u16string(GetSelectKeyword()) + u' ' + columns + u'\n' +
                       (joins.empty() ? m_from : u"FROM " + joins);
  AppendClause(sql, m_where);
  AppendClause(sql, groupBy);
  AppendClause(sql, m_having);
  if (!m_sortKeys.empty()) AppendClause(sql, u"ORDER BY " + m_sortKeys);
  return sql;
}

}  // namespace tolvane
