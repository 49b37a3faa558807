#include "query/QueryText.h"

#include <array>
#include <string_view>
#include <vector>

#include "query/JoinTree.h"
#include "query/SqlName.h"

namespace tolvane {
namespace {

// Names of the types of parameters, by code.
constexpr std::array<std::u16string_view, 16> kParameterTypes{
    u"Value",    u"Bit",    u"Byte", u"Short",      u"Long",     u"Currency", u"IEEESingle", u"IEEEDouble",
    u"DateTime", u"Binary", u"Text", u"LongBinary", u"LongText", u"",         u"",           u"Guid"};
constexpr size_t kTextParameter = 10;

using Rows = std::vector<const SQueryRow*>;

std::u16string_view TextOf(const std::optional<std::u16string>& text) {
  return text ? *text : std::u16string_view();
}

bool IsSet(const std::optional<std::u16string>& text) {
  return text && !text->empty();
}

// Engines end some statements with a zero unit; members of unions and nested statements may have a semicolon.
std::u16string_view Statement(std::u16string_view text) {
  constexpr std::u16string_view kEnds(u"\0 \t\r\n;", 6);
  const size_t last = text.find_last_not_of(kEnds);
  return text.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

class CRenderer {
 public:
  explicit CRenderer(const SSavedQuery& query) : m_kind(FindQueryKind(query)) {
    for (const SQueryRow& row : query.rows)
      if (row.attribute < m_rows.size()) m_rows[row.attribute].push_back(&row);
    for (const SQueryRow* row : m_rows[kQueryOptions]) m_options |= row->flag.value_or(0);
  }

  SQueryText Render() {
    switch (m_kind) {
      case kKindDataDefinition:
      case kKindPassThrough:
        m_text.sql = Statement(TextOf(Kind().expression));
        Need(!m_text.sql.empty(), u"its text");
        return std::move(m_text);
      case kKindUnion:
        RenderParameters();
        RenderUnion();
        break;
      case kKindUpdate:
        RenderParameters();
        RenderUpdate();
        break;
      case kKindDelete:
        RenderParameters();
        RenderDelete();
        break;
      default:
        RenderParameters();
        RenderSelect();
    }
    if ((m_options & kOptionOwnerAccess) != 0) Clause(u"WITH OWNERACCESS OPTION", {});
    return std::move(m_text);
  }

 private:
  void RenderParameters();
  void RenderUnion();
  void RenderUpdate();
  void RenderDelete();
  void RenderSelect();
  void RenderInsert();
  void RenderColumns(std::u16string_view keyword);
  void RenderFrom(std::u16string_view keyword);
  void RenderOrderBy();
  [[nodiscard]] std::u16string Columns(std::optional<int16_t> flag);
  [[nodiscard]] std::u16string List(EQueryAttribute attribute, std::optional<int16_t> flag);
  [[nodiscard]] std::u16string Target() const;
  [[nodiscard]] std::u16string Assignment(const SQueryRow& row) const;
  [[nodiscard]] bool HasColumnFlag(int16_t flag) const;

  [[nodiscard]] const SQueryRow& Kind() const {
    static const SQueryRow kNone;
    return m_rows[kQueryKind].empty() ? kNone : *m_rows[kQueryKind].front();
  }
  // On a line of its own.
  void Clause(std::u16string_view keyword, std::u16string_view text) {
    if (!m_text.sql.empty() && m_text.sql.back() != u'\n') m_text.sql += u'\n';
    m_text.sql += keyword;
    m_text.sql += text;
  }
  void Need(bool isThere, std::u16string_view what) {
    if (isThere || m_text.missing.find(what) != std::u16string::npos) return;
    if (!m_text.missing.empty()) m_text.missing += u", ";
    m_text.missing += what;
  }
  // Conditions of a clause that has one row; several are all meant.
  void Conditions(EQueryAttribute attribute, std::u16string_view keyword);

  EQueryKind m_kind;
  int m_options = 0;
  std::array<Rows, kQuerySortKey + 1> m_rows;
  SQueryText m_text;
};

void CRenderer::RenderParameters() {
  std::u16string list;
  for (const SQueryRow* row : m_rows[kQueryParameter]) {
    const auto code = static_cast<uint16_t>(row->flag.value_or(0));
    if (!list.empty()) list += u", ";
    list += BracketedIfNeeded(TextOf(row->name1)) + u' ';
    const bool isKnown = code < kParameterTypes.size() && !kParameterTypes[code].empty();
    list += isKnown ? kParameterTypes[code] : kParameterTypes[0];
    Need(isKnown, u"the type of a parameter");
    if (code == kTextParameter && row->extra.value_or(0) > 0) {
      std::u16string length;
      for (int32_t rest = *row->extra; rest > 0; rest /= 10)
        length.insert(length.begin(), static_cast<char16_t>(u'0' + rest % 10));
      list += u" ( " + length + u" )";
    }
  }
  if (!list.empty()) Clause(u"PARAMETERS ", list + u';');
}

// Flag empty: of all rows.
std::u16string CRenderer::List(EQueryAttribute attribute, std::optional<int16_t> flag) {
  std::u16string list;
  for (const SQueryRow* row : m_rows[attribute]) {
    if (flag && row->flag.value_or(0) != *flag) continue;
    if (!list.empty()) list += u", ";
    Need(IsSet(row->expression), attribute == kQueryGrouping ? u"a key of its groups" : u"a value");
    list += TextOf(row->expression);
  }
  return list;
}

std::u16string CRenderer::Columns(std::optional<int16_t> flag) {
  std::u16string list;
  for (const SQueryRow* row : m_rows[kQueryColumn]) {
    if (flag && row->flag.value_or(0) != *flag) continue;
    if (!list.empty()) list += u", ";
    Need(IsSet(row->expression), u"a column");
    list += TextOf(row->expression);
    if (IsSet(row->name1)) list += u" AS " + BracketedIfNeeded(*row->name1);
  }
  return list;
}

bool CRenderer::HasColumnFlag(int16_t flag) const {
  for (const SQueryRow* row : m_rows[kQueryColumn])
    if (row->flag.value_or(0) == flag) return true;
  return false;
}

void CRenderer::Conditions(EQueryAttribute attribute, std::u16string_view keyword) {
  std::u16string text;
  const bool isOne = m_rows[attribute].size() == 1;
  for (const SQueryRow* row : m_rows[attribute]) {
    Need(IsSet(row->expression), u"a condition");
    if (!IsSet(row->expression)) continue;
    if (!text.empty()) text += u" AND ";
    text += isOne ? *row->expression : u'(' + *row->expression + u')';
  }
  if (!text.empty()) Clause(keyword, text);
}

// The target of an append or make-table query, perhaps in another database.
std::u16string CRenderer::Target() const {
  std::u16string target = BracketedIfNeeded(TextOf(Kind().name1));
  if (IsSet(Kind().name2)) target += u" IN '" + *Kind().name2 + u'\'';
  return target;
}

void CRenderer::RenderFrom(std::u16string_view keyword) {
  CJoinTree tree;
  for (const SQueryRow* row : m_rows[kQuerySource]) {
    std::u16string text;
    const std::u16string_view name = TextOf(row->name1);
    if (IsSet(row->expression))
      text = name.empty() ? u'(' + std::u16string(Statement(*row->expression)) + u')'
                          : u'[' + *row->expression + u"]." + BracketedIfNeeded(name);
    else
      text = BracketedIfNeeded(name);
    if (IsSet(row->name2)) text += u" AS " + BracketedIfNeeded(*row->name2);
    Need(!name.empty() || IsSet(row->expression), u"the name of a source");
    tree.AddSource(IsSet(row->name2) ? *row->name2 : name, std::move(text));
  }
  bool areKnown = true;
  for (const SQueryRow* row : m_rows[kQueryJoin]) {
    areKnown = tree.AddJoin(*row) && areKnown;
    Need(IsSet(row->expression), u"the condition of a join");
  }
  Need(areKnown, u"a source of a join");
  const std::u16string sources = tree.GetText();
  if (sources.empty()) return;
  Clause(keyword, sources);
  for (const SQueryRow* row : m_rows[kQueryDatabase]) {
    m_text.sql += u" IN '";
    m_text.sql += TextOf(row->name1);
    m_text.sql += u'\'';
    if (!IsSet(row->name2)) continue;
    m_text.sql += u' ';
    m_text.sql += row->name2->front() == u'[' ? *row->name2 : u'[' + *row->name2 + u']';
  }
}

// The keyword, what goes with it, and the output columns.
void CRenderer::RenderColumns(std::u16string_view keyword) {
  std::u16string head(keyword);
  if ((m_options & kOptionDistinct) != 0) head += u" DISTINCT";
  if ((m_options & kOptionDistinctRow) != 0) head += u" DISTINCTROW";
  if ((m_options & kOptionTop) != 0) {
    std::u16string_view number;
    for (const SQueryRow* row : m_rows[kQueryOptions])
      if (IsSet(row->name1)) number = *row->name1;
    Need(!number.empty(), u"the number of TOP");
    head += u" TOP " + std::u16string(number);
    if ((m_options & kOptionPercent) != 0) head += u" PERCENT";
  }
  std::u16string columns =
      Columns(m_kind == kKindCrosstab ? std::optional<int16_t>(kColumnHeading) : std::nullopt);
  if ((m_options & kOptionAllColumns) != 0 && m_kind != kKindCrosstab)
    columns = columns.empty() ? u"*" : columns + u", *";
  if (m_kind != kKindDelete) Need(!columns.empty(), u"its columns");
  if (!columns.empty()) head += u' ';
  Clause(head, columns);
}

void CRenderer::RenderOrderBy() {
  std::u16string list;
  for (const SQueryRow* row : m_rows[kQuerySortKey]) {
    if (!list.empty()) list += u", ";
    Need(IsSet(row->expression), u"a sort key");
    list += TextOf(row->expression);
    if (TextOf(row->name1) == u"D" || TextOf(row->name1) == u"d") list += u" DESC";
  }
  if (!list.empty()) Clause(u"ORDER BY ", list);
}

// Select, make-table, append and crosstab queries.
void CRenderer::RenderSelect() {
  const bool isCrosstab = m_kind == kKindCrosstab;
  if (m_kind == kKindAppend) RenderInsert();
  if (isCrosstab) {
    const std::u16string values = Columns(kColumnPlain);
    Need(!values.empty(), u"its values");
    Clause(u"TRANSFORM ", values);
  }
  if (m_kind == kKindAppend && HasColumnFlag(kColumnValues)) {
    Clause(u"VALUES (", List(kQueryColumn, std::nullopt) + u')');
    return;
  }
  RenderColumns(u"SELECT");
  if (m_kind == kKindMakeTable) {
    Need(IsSet(Kind().name1), u"its target");
    Clause(u"INTO ", Target());
  }
  RenderFrom(u"FROM ");
  Conditions(kQueryCriteria, u"WHERE ");
  const std::u16string keys =
      List(kQueryGrouping, isCrosstab ? std::optional<int16_t>(kColumnHeading) : std::nullopt);
  if (!keys.empty()) Clause(u"GROUP BY ", keys);
  Conditions(kQueryHaving, u"HAVING ");
  RenderOrderBy();
  if (!isCrosstab) return;
  // The column row has the fixed headings behind IN, the grouping row has not.
  std::u16string pivot = List(kQueryColumn, kColumnPivot);
  if (pivot.empty()) pivot = List(kQueryGrouping, kColumnPivot);
  Need(!pivot.empty(), u"its PIVOT");
  Clause(u"PIVOT ", pivot);
}

void CRenderer::RenderInsert() {
  Need(IsSet(Kind().name1), u"its target");
  std::u16string targets;
  for (const SQueryRow* row : m_rows[kQueryColumn]) {
    if (!IsSet(row->name2)) continue;
    targets += (targets.empty() ? u"" : u", ") + BracketedIfNeeded(*row->name2);
  }
  Clause(u"INSERT INTO ", Target() + (targets.empty() ? targets : u" ( " + targets + u" )"));
}

// "Table1.col1" stands without brackets, whatever the names.
std::u16string CRenderer::Assignment(const SQueryRow& row) const {
  const std::u16string_view target = TextOf(row.name2);
  std::u16string text;
  if (const size_t dot = target.find(u'.');
      dot != std::u16string_view::npos && target.find(u'[') == std::u16string_view::npos)
    text = BracketedIfNeeded(target.substr(0, dot)) + u'.' + BracketedIfNeeded(target.substr(dot + 1));
  else
    text = BracketedIfNeeded(target);
  text += u" = ";
  text += TextOf(row.expression);
  return text;
}

void CRenderer::RenderUpdate() {
  Need(!m_rows[kQuerySource].empty(), u"its sources");
  Need(!m_rows[kQueryColumn].empty(), u"its columns");
  RenderFrom((m_options & kOptionDistinctRow) != 0 ? u"UPDATE DISTINCTROW " : u"UPDATE ");
  std::u16string list;
  for (const SQueryRow* row : m_rows[kQueryColumn]) {
    Need(IsSet(row->name2) && IsSet(row->expression), u"a side of an assignment");
    if (!list.empty()) list += u", ";
    list += Assignment(*row);
  }
  Clause(u"SET ", list);
  Conditions(kQueryCriteria, u"WHERE ");
}

void CRenderer::RenderDelete() {
  Need(!m_rows[kQuerySource].empty(), u"its sources");
  RenderColumns(u"DELETE");
  RenderFrom(u"FROM ");
  Conditions(kQueryCriteria, u"WHERE ");
}

void CRenderer::RenderUnion() {
  std::u16string_view first, second;
  for (const SQueryRow* row : m_rows[kQuerySource]) {
    if (TextOf(row->name2) == kUnionFirst) first = TextOf(row->expression);
    if (TextOf(row->name2) == kUnionSecond) second = Statement(TextOf(row->expression));
  }
  Need(!Statement(first).empty() && !second.empty(), u"a member");
  Need(!m_rows[kQueryOptions].empty(), u"its kind of UNION");
  Clause(Statement(first), {});
  Clause((m_options & kOptionDistinct) != 0 ? u"UNION " : u"UNION ALL ", second);
  RenderOrderBy();
}

}  // namespace

EQueryKind FindQueryKind(const SSavedQuery& query) {
  for (const SQueryRow& row : query.rows)
    if (row.attribute == kQueryKind && row.flag && *row.flag >= kKindSelect && *row.flag <= kKindUnion)
      return static_cast<EQueryKind>(*row.flag);
  return QueryKindOf(query.flags).value_or(kKindSelect);
}

SQueryText RenderQuery(const SSavedQuery& query) {
  return CRenderer(query).Render();
}

}  // namespace tolvane
