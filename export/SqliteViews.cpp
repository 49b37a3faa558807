#include "export/SqliteViews.h"

#include <algorithm>
#include <vector>

#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "query/Query.h"
#include "writer/QuerySaver.h"
#include "writer/RecoveredQuery.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// Queries may stand on queries that come behind them: so deep at most.
constexpr int kPasses = 16;

bool IsWordUnit(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
         unit == u'_' || unit > 0x7F;
}

bool IsOneOf(std::u16string_view word, std::initializer_list<std::u16string_view> words) {
  return std::ranges::any_of(words,
                             [word](std::u16string_view other) { return EqualsIgnoreCase(word, other); });
}

// Reads a statement from front to back.
class CViewWriter {
 public:
  explicit CViewWriter(std::u16string_view sql) : m_sql(sql) {}

  bool Write() {
    while (m_at < m_sql.size())
      if (!TakeNext()) return false;
    return true;
  }
  [[nodiscard]] const std::string& GetText() const { return m_text; }

 private:
  bool TakeNext() {
    const char16_t unit = m_sql[m_at];
    if (unit == u'"' || unit == u'\'') return TakeQuoted(unit);
    if (unit == u'[') return TakeBracketed();
    if (IsWordUnit(unit)) return TakeWord();
    const bool isBlank = unit == u' ' || unit == u'\r' || unit == u'\n' || unit == u'\t';
    const bool isEnd =
        unit == u';' && m_sql.find_first_not_of(u" \r\n\t", m_at + 1) == std::u16string_view::npos;
    // Truth is -1 in the one and 1 in the other.
    const bool isTruth = unit == u'-' && (m_last == u'=' || m_last == u'<' || m_last == u'>');
    if (isTruth ||
        (!isBlank && !isEnd && std::u16string_view(u"()*,-.<=>").find(unit) == std::u16string_view::npos))
      return false;
    ++m_at;
    if (isEnd) return true;
    m_text += static_cast<char>(unit);
    if (!isBlank) m_last = unit;
    return true;
  }

  bool TakeQuoted(char16_t quote) {
    m_text += '\'';
    for (++m_at; m_at < m_sql.size(); ++m_at) {
      if (m_sql[m_at] == quote && (++m_at == m_sql.size() || m_sql[m_at] != quote)) {
        m_text += '\'';
        m_last = quote;
        return true;
      }
      if (m_sql[m_at] == u'\'') m_text += '\'';
      AppendUnit();
    }
    return false;
  }

  // SQLite takes brackets, and never a text for a name that it does not find.
  bool TakeBracketed() {
    const size_t end = m_sql.find(u']', m_at);
    if (end == std::u16string_view::npos) return false;
    AppendUtf8(m_sql.substr(m_at, end + 1 - m_at), m_text);
    m_at = end + 1;
    m_last = u']';
    return true;
  }

  bool TakeWord() {
    const size_t start = m_at;
    while (m_at < m_sql.size() && IsWordUnit(m_sql[m_at])) ++m_at;
    const std::u16string_view word = m_sql.substr(start, m_at - start);
    if (IsOneOf(word, {u"Like", u"ALike", u"Top", u"Mod", u"DistinctRow", u"Glob", u"Match", u"Regexp"}))
      return false;
    const size_t next = m_sql.find_first_not_of(u" \r\n\t", m_at);
    const bool isCall = next != std::u16string_view::npos && m_sql[next] == u'(';
    if (isCall &&
        !IsOneOf(word, {u"Count", u"Sum",    u"Avg", u"Min",     u"Max",   u"Abs", u"In",      u"And",
                        u"Or",    u"Not",    u"On",  u"Where",   u"From",  u"As",  u"Select",  u"Exists",
                        u"Join",  u"Having", u"By",  u"Between", u"Union", u"All", u"Distinct"}))
      return false;
    AppendUtf8(word, m_text);
    m_last = u'a';
    return true;
  }

  void AppendUnit() {
    // Both halves of a pair at once.
    const bool isPair = m_at + 1 < m_sql.size() && IsHighSurrogate(m_sql[m_at]);
    AppendUtf8(m_sql.substr(m_at, isPair ? 2 : 1), m_text);
    if (isPair) ++m_at;
  }

  std::u16string_view m_sql;
  size_t m_at = 0;
  char16_t m_last = 0;  // the last sign that is no blank
  std::string m_text;
};

struct SPending {
  std::u16string name;
  std::string sql;
  std::u16string reason = {};  // why it is none yet
};

}  // namespace

std::optional<std::string> MakeViewSql(std::u16string_view sql) {
  CViewWriter writer(sql);
  if (!writer.Write()) return std::nullopt;
  return writer.GetText();
}

bool CSqliteViews::TryCreate(const std::string& name, const std::string& sql, std::u16string& reason) {
  if (!m_database.Execute("CREATE VIEW " + name + " AS " + sql)) {
    reason = m_database.GetProblem();
    return false;
  }
  if (m_database.CanPrepare("SELECT * FROM " + name)) return true;
  reason = m_database.GetProblem();
  m_database.Execute("DROP VIEW " + name);
  return false;
}

bool CSqliteViews::Write(const CAccessData& data) {
  CTList<CQuery> queries;
  if (!CQuerySaver::ReadQueries(data, queries)) return true;
  const auto remark = [this](std::u16string_view name, std::u16string_view reason) {
    m_schema.remarks.push_back(u"Query " + Quoted(name) + u" is no view: " + std::u16string(reason));
  };
  std::vector<SPending> pending;
  const SQueriesState state = GetQueriesState(data, queries);
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext()) {
    if (query->name.empty() || CQuerySaver::IsHidden(query->name)) continue;
    const SQueryListing listing = ListQuery(*query, state);
    const auto kind = QueryKindOf(listing.flags);
    const bool isSelect = kind == kKindSelect || kind == kKindUnion;
    const std::optional<std::string> sql = isSelect ? MakeViewSql(listing.sql) : std::nullopt;
    if (!isSelect || listing.sql.empty() || !listing.isWhole || !listing.problem.empty())
      remark(query->name, isSelect ? u"it is not whole." : u"it is no selection.");
    else if (!sql)
      remark(query->name, u"SQLite would take parts of it for something else.");
    else
      pending.push_back({query->name, *sql});
  }
  const CSqlDialect dialect(ESqlDialect::Sqlite);
  size_t before = pending.size() + 1;
  for (int pass = 0; pass < kPasses && !pending.empty() && pending.size() < before; ++pass) {
    before = pending.size();
    std::vector<SPending> left;
    for (SPending& view : pending)
      if (!TryCreate(dialect.QuoteName(ToUtf8(view.name)), view.sql, view.reason))
        left.push_back(std::move(view));
    pending = std::move(left);
    if (m_database.GetCode() == kSqliteInterrupted) return false;
  }
  for (const SPending& view : pending) remark(view.name, u"SQLite does not run it: " + view.reason + u".");
  return true;
}

}  // namespace tolvane
