#include "query/SqlSplitter.h"

#include <algorithm>
#include <utility>

#include "query/SqlScanner.h"
#include "query/SqlSources.h"

namespace tolvane {
namespace {

class CSplitter {
 public:
  CSplitter(std::u16string_view sql, SSplitQuery& query) : m_sql(sql), m_scanner(sql), m_query(query) {}

  // False when the statement is of no known form. The rows are then of no use.
  bool Split();

 private:
  struct SClauses {
    size_t from, where, groupBy, having, orderBy, end;  // each where it starts, or where the next one does
  };

  bool SplitSelect(size_t first, size_t last, EQueryKind kind, bool isCrosstab);
  size_t SplitSelectHead(size_t next);
  bool SplitInsert();
  bool SplitUpdate();
  bool SplitDelete();
  bool SplitTransform();
  bool HasPivot() const;
  bool SplitUnion(size_t keyword);
  bool SplitFrom(size_t first, size_t last);
  void SplitOrderBy(size_t first, size_t last);
  SClauses FindClauses(size_t first, size_t last) const;
  bool AddClauses(const SClauses& clauses, bool isCrosstab);
  bool AddColumns(size_t first, size_t last, int16_t flag);
  std::vector<std::pair<size_t, size_t>> SplitList(size_t first, size_t last) const;
  size_t FindPair(size_t first, size_t last, std::u16string_view one, std::u16string_view two) const;

  SQueryRow& AddRow(EQueryAttribute attribute, std::optional<int16_t> flag = {}) {
    SQueryRow& row = m_query.rows.emplace_back();
    row.attribute = attribute;
    row.flag = flag;
    return row;
  }
  void AddText(EQueryAttribute attribute, size_t first, size_t last, std::optional<int16_t> flag = {}) {
    AddRow(attribute, flag).expression = m_scanner.GetText(first, last);
  }
  void AddKind(EQueryKind kind) {
    m_query.flags = QueryFlagsOf(kind);
    m_kindRow = m_query.rows.size();
    AddRow(kQueryKind, static_cast<int16_t>(kind));
    AddRow(kQueryOptions, int16_t{0});
  }
  SQueryRow& Kind() { return m_query.rows[m_kindRow]; }
  SQueryRow& Options() { return m_query.rows[m_kindRow + 1]; }
  void AddOption(int16_t bits) { Options().flag = static_cast<int16_t>(*Options().flag | bits); }
  [[nodiscard]] bool Is(std::u16string_view word) const {
    return m_next < m_last && m_scanner.IsWord(m_next, word);
  }
  bool Take(std::u16string_view word) {
    const bool isThere = Is(word);
    if (isThere) ++m_next;
    return isThere;
  }

  std::u16string_view m_sql;
  CSqlScanner m_scanner;
  SSplitQuery& m_query;
  size_t m_next = 0;
  size_t m_last = 0;
  size_t m_kindRow = 0;
};

bool CSplitter::Split() {
  m_last = m_scanner.GetCount();
  while (m_last > 0 && m_scanner.IsSymbol(m_last - 1, u';')) --m_last;
  if (m_last == 0 || !m_scanner.IsBalanced()) return false;

  AddRow(kQueryStart, int16_t{0});
  const size_t unionKeyword = [this] {
    size_t found = m_last;
    for (size_t i = m_next; i < m_last; ++i)
      if (m_scanner[i].depth == 0 && m_scanner.IsWord(i, u"UNION")) found = i;
    return found;
  }();
  bool isSplit = false;
  if (unionKeyword < m_last) {
    isSplit = SplitUnion(unionKeyword);
  } else if (Is(u"TRANSFORM") || (Is(u"SELECT") && HasPivot())) {
    isSplit = SplitTransform();
  } else if (Is(u"SELECT")) {
    isSplit = SplitSelect(m_next, m_last, kKindSelect, false);
  } else if (Is(u"INSERT")) {
    isSplit = SplitInsert();
  } else if (Is(u"UPDATE")) {
    isSplit = SplitUpdate();
  } else if (Is(u"DELETE")) {
    isSplit = SplitDelete();
  }
  if (!isSplit) return false;

  AddRow(kQueryEnd);
  // The clauses were read in the order of the statement; the rows stand in the order of their kinds.
  std::ranges::stable_sort(m_query.rows, {}, &SQueryRow::attribute);
  return true;
}

// Top-level commas of [first, last).
std::vector<std::pair<size_t, size_t>> CSplitter::SplitList(size_t first, size_t last) const {
  std::vector<std::pair<size_t, size_t>> items;
  if (first >= last) return items;
  const uint32_t depth = m_scanner[first].depth;
  for (;;) {
    const size_t comma = m_scanner.FindSymbol(first, last, depth, u',');
    items.emplace_back(first, comma);
    if (comma == last) return items;
    first = comma + 1;
  }
}

size_t CSplitter::FindPair(size_t first, size_t last, std::u16string_view one,
                           std::u16string_view two) const {
  for (;;) {
    first = m_scanner.FindWord(first, last, 0, one);
    if (first == last || m_scanner.IsWord(first + 1, two)) return first;
    ++first;
  }
}

CSplitter::SClauses CSplitter::FindClauses(size_t first, size_t last) const {
  SClauses clauses{};
  clauses.end = last;
  clauses.orderBy = FindPair(first, last, u"ORDER", u"BY");
  clauses.having = m_scanner.FindWord(first, clauses.orderBy, 0, u"HAVING");
  clauses.groupBy = FindPair(first, clauses.having, u"GROUP", u"BY");
  clauses.where = m_scanner.FindWord(first, clauses.groupBy, 0, u"WHERE");
  clauses.from = m_scanner.FindWord(first, clauses.where, 0, u"FROM");
  return clauses;
}

bool CSplitter::SplitFrom(size_t first, size_t last) {
  if (first == last) return true;
  CSqlSources sources(m_scanner, first + 1, last);
  if (!sources.Read()) return false;
  for (std::vector<SQueryRow>* rows : {&sources.GetSources(), &sources.GetJoins()})
    for (SQueryRow& row : *rows) m_query.rows.push_back(std::move(row));
  return true;
}

// DISTINCT and DISTINCTROW behind SELECT; answers where the columns begin.
size_t CSplitter::SplitSelectHead(size_t next) {
  m_next = next;
  for (;;) {
    if (Take(u"DISTINCT")) {
      AddOption(kOptionDistinct);
    } else if (Take(u"DISTINCTROW")) {
      AddOption(kOptionDistinctRow);
    } else {
      return m_next;
    }
  }
}

bool CSplitter::AddColumns(size_t first, size_t last, int16_t flag) {
  if (last == first + 1 && m_scanner.IsSymbol(first, u'*')) {
    AddOption(kOptionAllColumns);
    return true;
  }
  for (const auto& [begin, end] : SplitList(first, last)) {
    if (begin >= end) return false;
    // The last AS of the item: functions and subqueries keep theirs in parentheses.
    size_t alias = end;
    for (size_t i = begin; i < end; ++i)
      if (m_scanner[i].depth == m_scanner[begin].depth && m_scanner.IsWord(i, u"AS")) alias = i;
    if (alias != end && alias + 2 != end) return false;
    AddText(kQueryColumn, begin, alias, flag);
    if (alias != end) m_query.rows.back().name1 = PlainName(m_scanner.GetText(alias + 1));
  }
  return true;
}

void CSplitter::SplitOrderBy(size_t first, size_t last) {
  for (auto [begin, end] : SplitList(first, last)) {
    if (begin >= end) continue;
    const bool isDescending = m_scanner.IsWord(end - 1, u"DESC");
    if (end - begin > 1 && (isDescending || m_scanner.IsWord(end - 1, u"ASC"))) --end;
    AddText(kQuerySortKey, begin, end);
    if (isDescending) m_query.rows.back().name1 = u"D";
  }
}

bool CSplitter::AddClauses(const SClauses& clauses, bool isCrosstab) {
  if (clauses.where < clauses.groupBy) AddText(kQueryCriteria, clauses.where + 1, clauses.groupBy);
  if (clauses.groupBy < clauses.having) {
    for (const auto& [begin, end] : SplitList(clauses.groupBy + 2, clauses.having)) {
      if (begin >= end) return false;
      AddText(kQueryGrouping, begin, end, isCrosstab ? kColumnHeading : kColumnPlain);
    }
  }
  if (clauses.having < clauses.orderBy) AddText(kQueryHaving, clauses.having + 1, clauses.orderBy);
  if (clauses.orderBy < clauses.end) SplitOrderBy(clauses.orderBy + 2, clauses.end);
  return true;
}

bool CSplitter::SplitSelect(size_t first, size_t last, EQueryKind kind, bool isCrosstab) {
  if (m_scanner.FindWord(first + 1, last, 0, u"SELECT") < last) return false;  // two statements run together
  const SClauses clauses = FindClauses(first, last);
  if (kind == kKindSelect) AddKind(kKindSelect);
  const size_t columns = SplitSelectHead(first + 1);
  if (columns > clauses.from) return false;
  // Columns that are all lost leave the keyword alone; an append without a list takes all.
  if (columns == clauses.from && kind == kKindSelect) return false;
  if (columns == clauses.from && kind == kKindAppend) AddOption(kOptionAllColumns);
  if (!SplitFrom(clauses.from, clauses.where)) return false;
  return AddColumns(columns, clauses.from, isCrosstab ? kColumnHeading : kColumnPlain) &&
         AddClauses(clauses, isCrosstab);
}

// INSERT INTO target [( columns )] SELECT ...
bool CSplitter::SplitInsert() {
  ++m_next;
  if (!Take(u"INTO")) return false;
  const size_t target = m_next;
  const size_t select = m_scanner.FindWord(m_next, m_last, 0, u"SELECT");
  if (select == m_last) return false;
  // The columns stand in the parentheses right before SELECT; earlier ones belong to the target's name.
  size_t open = select;
  if (select > target && m_scanner.IsSymbol(select - 1, u')'))
    while (open > target && m_scanner[open].partner != select - 1) --open;
  AddKind(kKindAppend);
  Kind().name1 = PlainName(m_scanner.GetText(target, open));

  std::vector<std::pair<size_t, size_t>> targets;
  if (open < select) targets = SplitList(open + 1, select - 1);
  if (!SplitSelect(select, m_last, kKindAppend, false)) return false;
  if (targets.empty()) return true;
  size_t column = 0;
  for (SQueryRow& row : m_query.rows) {
    if (row.attribute != kQueryColumn) continue;
    if (column == targets.size()) return false;
    row.name2 = PlainName(m_scanner.GetText(targets[column].first, targets[column].second));
    ++column;
  }
  return column == targets.size();
}

// UPDATE sources SET target = value, ... [WHERE ...]
bool CSplitter::SplitUpdate() {
  const size_t first = m_next + 1;
  const size_t where = m_scanner.FindWord(first, m_last, 0, u"WHERE");
  const size_t set = m_scanner.FindWord(first, where, 0, u"SET");
  if (set == where || set + 1 == where) return false;
  AddKind(kKindUpdate);
  if (!SplitFrom(first - 1, set)) return false;
  for (const auto& [begin, end] : SplitList(set + 1, where)) {
    const size_t equals = m_scanner.FindSymbol(begin, end, 0, u'=');
    if (equals == begin || equals + 1 >= end) return false;
    AddText(kQueryColumn, equals + 1, end, kColumnPlain);
    m_query.rows.back().name2 = m_scanner.GetText(begin, equals);
  }
  if (where < m_last) AddText(kQueryCriteria, where + 1, m_last);
  return true;
}

// DELETE FROM source [WHERE ...] [HAVING ...]
bool CSplitter::SplitDelete() {
  const SClauses clauses = FindClauses(m_next + 1, m_last);
  if (clauses.from != m_next + 1 || clauses.from == clauses.where) return false;
  AddKind(kKindDelete);
  AddOption(kOptionAllColumns);
  return SplitFrom(clauses.from, clauses.where) && AddClauses(clauses, false);
}

// A crosstab whose values are lost is still one.
bool CSplitter::HasPivot() const {
  const size_t from = m_scanner.FindWord(m_next, m_last, 0, u"FROM");
  return m_scanner.FindWord(from == m_last ? m_next : from, m_last, 0, u"PIVOT") < m_last;
}

// [TRANSFORM values] SELECT headings FROM ... PIVOT expression [IN ( headings )]
bool CSplitter::SplitTransform() {
  const bool hasValues = Take(u"TRANSFORM");
  const size_t first = m_next;
  const size_t select = m_scanner.FindWord(first, m_last, 0, u"SELECT");
  const size_t pivot = m_scanner.FindWord(select, m_last, 0, u"PIVOT");
  if (select == m_last || pivot + 1 >= m_last || hasValues == (select == first)) return false;
  AddKind(kKindCrosstab);
  if (!AddColumns(first, select, kColumnPlain) || !SplitSelect(select, pivot, kKindCrosstab, true))
    return false;
  AddText(kQueryColumn, pivot + 1, m_last, kColumnPivot);
  AddText(kQueryGrouping, pivot + 1, m_scanner.FindWord(pivot + 1, m_last, 0, u"IN"), kColumnPivot);
  return true;
}

// Everything before the last UNION, then the last member; an ORDER BY behind it sorts the whole.
bool CSplitter::SplitUnion(size_t keyword) {
  size_t second = keyword + 1;
  const bool isAll = m_scanner.IsWord(second, u"ALL");
  if (isAll) ++second;
  if (keyword == m_next || second >= m_last) return false;
  const size_t orderBy = FindPair(second, m_last, u"ORDER", u"BY");
  AddKind(kKindUnion);
  AddOption(kOptionAllColumns);
  if (!isAll) AddOption(kOptionDistinct);
  SQueryRow& first = AddRow(kQuerySource);
  first.name2 = kUnionFirst;
  // With the line break in front of the keyword, which belongs to the member's text.
  first.expression =
      m_sql.substr(m_scanner[m_next].start, m_scanner[keyword].start - m_scanner[m_next].start);
  SQueryRow& last = AddRow(kQuerySource);
  last.name2 = kUnionSecond;
  last.expression = m_scanner.GetText(second, orderBy);
  if (orderBy < m_last) SplitOrderBy(orderBy + 2, m_last);
  return true;
}

void StoreWhole(std::u16string_view sql, SSplitQuery& query) {
  query.flags = QueryFlagsOf(kKindDataDefinition);
  query.isWhole = true;
  query.rows.assign(3, {});
  query.rows[0].flag = int16_t{0};
  query.rows[1].attribute = kQueryKind;
  query.rows[1].flag = kKindDataDefinition;
  query.rows[1].expression = sql;
  query.rows[2].attribute = kQueryEnd;
}

}  // namespace

bool SplitQueryText(std::u16string_view sql, SSplitQuery& query, std::u16string& reason) {
  query = {};
  if (PlainName(sql).empty()) {
    reason = u"The query has no SQL text.";
    return false;
  }
  if (sql.find(u'\0') != std::u16string_view::npos) {
    reason = u"The SQL text holds zero units.";
    return false;
  }
  if (!CSplitter(sql, query).Split()) StoreWhole(sql, query);
  return true;
}

}  // namespace tolvane
