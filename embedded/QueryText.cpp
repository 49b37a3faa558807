#include "embedded/QueryText.h"

#include <algorithm>
#include <array>
#include <utility>

#include "embedded/QuerySources.h"
#include "embedded/SqlScanner.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

enum ERow : uint8_t {
  kStart = 0,
  kKind = 1,
  kParameter = 2,
  kOptions = 3,
  kSource = 5,
  kColumn = 6,
  kWhere = 8,
  kGroupBy = 9,
  kHaving = 10,
  kOrderBy = 11,
  kEnd = 255,
};

// Values of the kind row's flag.
enum EKind : int16_t {
  kKindSelect = 1,
  kKindMakeTable = 2,
  kKindAppend = 3,
  kKindUpdate = 4,
  kKindDelete = 5,
  kKindCrosstab = 6,
  kKindDataDefinition = 7,
  kKindUnion = 9,
};

// Bits of the options row's flag.
constexpr int16_t kAllColumns = 1;
constexpr int16_t kDistinct = 2;
constexpr int16_t kOwnerAccess = 4;
constexpr int16_t kDistinctRow = 8;
constexpr int16_t kTop = 0x10;
constexpr int16_t kPercent = 0x20;
constexpr int16_t kUnionDistinct = 3;
constexpr int16_t kUnionAll = 1;

constexpr int16_t kPlainColumn = 0;
constexpr int16_t kPivot = 1;
constexpr int16_t kRowHeading = 2;

// Parameter types by their names in SQL.
struct SParameterType {
  std::u16string_view name;
  int16_t code;
};
constexpr std::array<SParameterType, 22> kParameterTypes{{
    {u"VALUE", 0},     {u"BIT", 1},        {u"YESNO", 1},  {u"BOOLEAN", 1},    {u"BYTE", 2},
    {u"SHORT", 3},     {u"INTEGER", 3},    {u"LONG", 4},   {u"CURRENCY", 5},   {u"MONEY", 5},
    {u"SINGLE", 6},    {u"IEEESINGLE", 6}, {u"DOUBLE", 7}, {u"IEEEDOUBLE", 7}, {u"DATETIME", 8},
    {u"DATE", 8},      {u"BINARY", 9},     {u"TEXT", 10},  {u"STRING", 10},    {u"LONGBINARY", 11},
    {u"LONGTEXT", 12}, {u"GUID", 15},
}};

class CSplitter {
 public:
  CSplitter(std::u16string_view sql, SStoredQuery& query) : m_sql(sql), m_scanner(sql), m_query(query) {}

  // False when the statement is of no known form. The rows are then of no use.
  bool Split();

 private:
  struct SClauses {
    size_t from, where, groupBy, having, orderBy, tail;  // each where it starts, or where the next one does
  };

  bool SplitParameters();
  bool SplitSelect(size_t first, size_t last, EKind kind, bool isCrosstab);
  bool SplitSelectHead(size_t& next);
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

  SStoredQueryRow& AddRow(ERow attribute, std::optional<int16_t> flag = {}) {
    SStoredQueryRow& row = m_query.rows.emplace_back();
    row.attribute = attribute;
    row.flag = flag;
    return row;
  }
  void AddText(ERow attribute, size_t first, size_t last, std::optional<int16_t> flag = {}) {
    AddRow(attribute, flag).expression = m_scanner.GetText(first, last);
  }
  void AddKind(EKind kind, uint32_t objectFlags) {
    m_query.objectFlags = objectFlags;
    m_kindRow = m_query.rows.size();
    AddRow(kKind, static_cast<int16_t>(kind));
    AddRow(kOptions, int16_t{0});
  }
  SStoredQueryRow& Kind() { return m_query.rows[m_kindRow]; }
  SStoredQueryRow& Options() { return m_query.rows[m_kindRow + 1]; }
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
  SStoredQuery& m_query;
  size_t m_next = 0;
  size_t m_last = 0;
  size_t m_kindRow = 0;
};

bool CSplitter::Split() {
  m_last = m_scanner.GetCount();
  while (m_last > 0 && m_scanner.IsSymbol(m_last - 1, u';')) --m_last;
  if (m_last == 0 || !m_scanner.IsBalanced()) return false;

  AddRow(kStart, int16_t{0});
  if (!SplitParameters()) return false;
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

  AddRow(kEnd);
  // The clauses were read in the order of the statement; the rows stand in the order of their kinds.
  std::stable_sort(
      m_query.rows.begin(), m_query.rows.end(),
      [](const SStoredQueryRow& x, const SStoredQueryRow& y) { return x.attribute < y.attribute; });
  return true;
}

// PARAMETERS name type [, name type]... ;
bool CSplitter::SplitParameters() {
  if (!Take(u"PARAMETERS")) return true;
  const size_t end = m_scanner.FindSymbol(m_next, m_last, 0, u';');
  if (end == m_last) return false;
  for (const auto& [first, last] : SplitList(m_next, end)) {
    if (first >= last) return false;
    // "Text ( 20 )": the length has no place in the rows.
    const size_t type = m_scanner.IsSymbol(last - 1, u')') ? last - 4 : last - 1;
    if (type <= first || type >= last) return false;
    SStoredQueryRow& row = AddRow(kParameter, int16_t{0});
    row.name1 = PlainName(m_scanner.GetText(first, type));
    bool isKnown = false;
    for (const SParameterType& known : kParameterTypes) {
      if (!EqualsIgnoreCase(m_scanner.GetText(type), known.name)) continue;
      row.flag = known.code;
      isKnown = true;
    }
    if (!isKnown) return false;
  }
  m_next = end + 1;
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
  clauses.tail = FindPair(first, last, u"WITH", u"OWNERACCESS");
  clauses.orderBy = FindPair(first, clauses.tail, u"ORDER", u"BY");
  clauses.having = m_scanner.FindWord(first, clauses.orderBy, 0, u"HAVING");
  clauses.groupBy = FindPair(first, clauses.having, u"GROUP", u"BY");
  clauses.where = m_scanner.FindWord(first, clauses.groupBy, 0, u"WHERE");
  clauses.from = m_scanner.FindWord(first, clauses.where, 0, u"FROM");
  return clauses;
}

bool CSplitter::SplitFrom(size_t first, size_t last) {
  if (first == last) return true;
  CQuerySources sources(m_scanner, first + 1, last);
  if (!sources.Read()) return false;
  for (std::vector<SStoredQueryRow>* rows : {&sources.GetSources(), &sources.GetJoins()})
    for (SStoredQueryRow& row : *rows) m_query.rows.push_back(std::move(row));
  return true;
}

// DISTINCT, TOP and their like behind SELECT.
bool CSplitter::SplitSelectHead(size_t& next) {
  m_next = next;
  for (;;) {
    if (Take(u"DISTINCT")) {
      AddOption(kDistinct);
    } else if (Take(u"DISTINCTROW")) {
      AddOption(kDistinctRow);
    } else if (Take(u"TOP")) {
      if (m_next >= m_last) return false;
      AddOption(kTop);
      Options().name1 = m_scanner.GetText(m_next++);
      if (Take(u"PERCENT")) AddOption(kPercent);
    } else if (!Take(u"ALL")) {
      break;
    }
  }
  next = m_next;
  return true;
}

bool CSplitter::AddColumns(size_t first, size_t last, int16_t flag) {
  if (last == first + 1 && m_scanner.IsSymbol(first, u'*')) {
    AddOption(kAllColumns);
    return true;
  }
  for (const auto& [begin, end] : SplitList(first, last)) {
    if (begin >= end) return false;
    // The last AS of the item: functions and subqueries keep theirs in parentheses.
    size_t alias = end;
    for (size_t i = begin; i < end; ++i)
      if (m_scanner[i].depth == m_scanner[begin].depth && m_scanner.IsWord(i, u"AS")) alias = i;
    if (alias != end && alias + 2 != end) return false;
    AddText(kColumn, begin, alias, flag);
    if (alias != end) m_query.rows.back().name1 = PlainName(m_scanner.GetText(alias + 1));
  }
  return true;
}

void CSplitter::SplitOrderBy(size_t first, size_t last) {
  for (auto [begin, end] : SplitList(first, last)) {
    if (begin >= end) continue;
    const bool isDescending = m_scanner.IsWord(end - 1, u"DESC");
    if (end - begin > 1 && (isDescending || m_scanner.IsWord(end - 1, u"ASC"))) --end;
    AddText(kOrderBy, begin, end);
    if (isDescending) m_query.rows.back().name1 = u"D";
  }
}

bool CSplitter::AddClauses(const SClauses& clauses, bool isCrosstab) {
  if (clauses.where < clauses.groupBy) AddText(kWhere, clauses.where + 1, clauses.groupBy);
  if (clauses.groupBy < clauses.having) {
    for (const auto& [begin, end] : SplitList(clauses.groupBy + 2, clauses.having)) {
      if (begin >= end) return false;
      AddText(kGroupBy, begin, end, isCrosstab ? kRowHeading : kPlainColumn);
    }
  }
  if (clauses.having < clauses.orderBy) AddText(kHaving, clauses.having + 1, clauses.orderBy);
  if (clauses.orderBy < clauses.tail) SplitOrderBy(clauses.orderBy + 2, clauses.tail);
  return true;
}

bool CSplitter::SplitSelect(size_t first, size_t last, EKind kind, bool isCrosstab) {
  if (m_scanner.FindWord(first + 1, last, 0, u"SELECT") < last) return false;  // two statements run together
  const SClauses clauses = FindClauses(first, last);
  const size_t into = m_scanner.FindWord(first, clauses.from, 0, u"INTO");
  if (kind == kKindSelect && into < clauses.from) {
    AddKind(kKindMakeTable, kQueryFlagsMakeTable);
    if (into + 2 != clauses.from) return false;
    Kind().name1 = PlainName(m_scanner.GetText(into + 1));
  } else if (kind == kKindSelect) {
    AddKind(kKindSelect, kQueryFlagsSelect);
  }
  if (clauses.tail < last) AddOption(kOwnerAccess);
  size_t columns = first + 1;
  if (!SplitSelectHead(columns) || columns > into) return false;
  // Columns that are all lost leave the keyword alone; an append without a list takes all.
  if (columns == into && kind == kKindSelect) return false;
  if (columns == into && kind == kKindAppend) AddOption(kAllColumns);
  if (!SplitFrom(clauses.from, clauses.where)) return false;
  return AddColumns(columns, into, isCrosstab ? kRowHeading : kPlainColumn) &&
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
  AddKind(kKindAppend, kQueryFlagsAppend);
  Kind().name1 = PlainName(m_scanner.GetText(target, open));

  std::vector<std::pair<size_t, size_t>> targets;
  if (open < select) targets = SplitList(open + 1, select - 1);
  if (!SplitSelect(select, m_last, kKindAppend, false)) return false;
  if (targets.empty()) return true;
  size_t column = 0;
  for (SStoredQueryRow& row : m_query.rows) {
    if (row.attribute != kColumn) continue;
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
  AddKind(kKindUpdate, kQueryFlagsUpdate);
  if (!SplitFrom(first - 1, set)) return false;
  for (const auto& [begin, end] : SplitList(set + 1, where)) {
    const size_t equals = m_scanner.FindSymbol(begin, end, 0, u'=');
    if (equals == begin || equals + 1 >= end) return false;
    AddText(kColumn, equals + 1, end, kPlainColumn);
    m_query.rows.back().name2 = m_scanner.GetText(begin, equals);
  }
  if (where < m_last) AddText(kWhere, where + 1, m_last);
  return true;
}

// DELETE [columns] FROM sources [WHERE ...]
bool CSplitter::SplitDelete() {
  const size_t first = m_next + 1;
  const SClauses clauses = FindClauses(first, m_last);
  if (clauses.from == clauses.where) return false;
  AddKind(kKindDelete, kQueryFlagsDelete);
  size_t columns = first;
  if (!SplitSelectHead(columns) || !SplitFrom(clauses.from, clauses.where)) return false;
  if (columns == clauses.from) {
    AddOption(kAllColumns);
  } else if (!AddColumns(columns, clauses.from, kPlainColumn)) {
    return false;
  }
  return AddClauses(clauses, false);
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
  AddKind(kKindCrosstab, kQueryFlagsCrosstab);
  if (!AddColumns(first, select, kPlainColumn) || !SplitSelect(select, pivot, kKindCrosstab, true))
    return false;
  AddText(kColumn, pivot + 1, m_last, kPivot);
  AddText(kGroupBy, pivot + 1, m_scanner.FindWord(pivot + 1, m_last, 0, u"IN"), kPivot);
  return true;
}

// Everything before the last UNION, then the last member; an ORDER BY behind it sorts the whole.
bool CSplitter::SplitUnion(size_t keyword) {
  size_t second = keyword + 1;
  const bool isAll = m_scanner.IsWord(second, u"ALL");
  if (isAll) ++second;
  if (keyword == m_next || second >= m_last) return false;
  const size_t orderBy = FindPair(second, m_last, u"ORDER", u"BY");
  AddKind(kKindUnion, kQueryFlagsUnion);
  AddOption(isAll ? kUnionAll : kUnionDistinct);
  SStoredQueryRow& first = AddRow(kSource);
  first.name2 = u"X7YZ_____1";
  // With the line break in front of the keyword, which belongs to the member's text.
  first.expression =
      m_sql.substr(m_scanner[m_next].start, m_scanner[keyword].start - m_scanner[m_next].start);
  SStoredQueryRow& last = AddRow(kSource);
  last.name2 = u"X7YZ_____2";
  last.expression = m_scanner.GetText(second, orderBy);
  if (orderBy < m_last) SplitOrderBy(orderBy + 2, m_last);
  return true;
}

void StoreWhole(std::u16string_view sql, SStoredQuery& query) {
  query.rows.clear();
  query.objectFlags = kQueryFlagsDataDefinition;
  query.rows.resize(3);
  query.rows[0].attribute = kStart;
  query.rows[0].flag = int16_t{0};
  query.rows[1].attribute = kKind;
  query.rows[1].flag = int16_t{kKindDataDefinition};
  query.rows[1].expression = sql;
  query.rows[2].attribute = kEnd;
}

}  // namespace

bool SplitQueryText(std::u16string_view sql, SStoredQuery& query, std::u16string& reason) {
  query = {};
  if (PlainName(sql).empty()) {
    reason = u"The query has no SQL text.";
    return false;
  }
  if (sql.find(u'\0') != std::u16string_view::npos) {
    reason = u"The SQL text holds zero units.";
    return false;
  }
  if (CSplitter(sql, query).Split()) return true;
  const CSqlScanner scanner(sql);
  const bool isDefinition =
      scanner.IsWord(0, u"CREATE") || scanner.IsWord(0, u"ALTER") || scanner.IsWord(0, u"DROP");
  StoreWhole(sql, query);
  query.isWhole = !isDefinition;
  return true;
}

}  // namespace tolvane
