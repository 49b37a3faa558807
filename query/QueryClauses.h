// What the builders share: collecting the clauses of one query from its rows. Each builder takes the kinds
// that its statement has and puts the finished clauses together. Expressions are used as they stand.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "query/QueryAttributes.h"
#include "query/QueryJoinBuilder.h"
#include "query/TList.h"

namespace tolvane {

// "[name]".
std::u16string Bracketed(std::u16string_view name);
// The same only when the name holds a blank.
std::u16string BracketedIfBlank(std::u16string_view name);
// Appends `separator` if `list` holds something, then the item.
void AppendListItem(std::u16string& list, std::u16string_view separator, std::u16string_view item);
// Appends a line feed and the clause, unless the clause is empty.
void AppendClause(std::u16string& sql, std::u16string_view clause);

class CQueryClauses {
 public:
  // `rows` must outlive this object.
  explicit CQueryClauses(const CTList<CQueryAttributes>& rows) : m_rows(rows) {}

  // Takes a row of one of the kinds 3, 5, 7, 8, 10 and 11, which mean the same in every builder that has
  // them. False for any other kind.
  bool TakeCommon(int attribute, const CQueryAttributes& row);
  // Kind 9 as select, append, update and delete have it.
  void TakeGrouping(const CQueryAttributes& row);
  // Kind 6 with its alias: the entry "expression AS [alias]".
  static std::u16string ColumnEntry(const CQueryAttributes& row);

  // The selection of these columns, grouped by that clause. Call once.
  std::u16string MakeSelect(const std::u16string& columns, std::u16string_view groupBy);
  // The joins alone. Call once.
  std::u16string GetJoinText() { return m_joins.GetJoinText(); }

  [[nodiscard]] const std::u16string& GetWhere() const { return m_where; }
  [[nodiscard]] const std::u16string& GetGroupBy() const { return m_groupBy; }
  [[nodiscard]] const std::u16string& GetHaving() const { return m_having; }

 private:
  // SELECT, SELECT DISTINCT or SELECT DISTINCTROW.
  [[nodiscard]] std::u16string_view GetSelectKeyword() const;
  void TakeSource(const CQueryAttributes& row);
  void TakeJoin(const CQueryAttributes& row);
  void TakeSortKey(const CQueryAttributes& row);
  std::u16string ResolveJoinSide(const std::u16string& name);
  bool RegisterJoinTable(const std::u16string& name);

  const CTList<CQueryAttributes>& m_rows;
  int m_options = 0;
  std::u16string m_from;
  std::u16string m_where;
  std::u16string m_groupBy;
  std::u16string m_having;
  std::u16string m_sortKeys;
  CQueryJoinBuilder m_joins;

  // Tables seen in join rows, as "#<<name>>#" one after the other. A name is known when that text occurs in
  // the registry; the set beside it answers for all names that do not hold the marks themselves.
  std::u16string m_registry;
  std::unordered_set<std::u16string> m_registered;
  bool m_registryHasMarks = false;
  size_t m_searched = 0;

  // The first source row of each alias, made when the first join needs it.
  std::unordered_map<std::u16string_view, const CQueryAttributes*> m_sourceOfAlias;
  bool m_hasSources = false;
};

}  // namespace tolvane
