#include "writer/RecoveredQuery.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "format/SystemObjects.h"
#include "query/QueryChange.h"
#include "query/QueryText.h"
#include "query/SqlSplitter.h"

namespace tolvane {
namespace {

EQueryKind KindByObject(const CQuery& query) {
  return QueryKindOf(static_cast<uint32_t>(ParseQueryNumber(query.type))).value_or(kKindSelect);
}

// The query is what its text says: the rows that its text makes are saved.
SPreparedQuery PrepareByText(CQuery& query, bool isHidden) {
  SPreparedQuery prepared;
  prepared.query.name = query.name;
  const std::u16string sql = query.GetSql();
  if (sql.empty() || isHidden) {
    prepared.isSkipped = true;
    if (!isHidden) prepared.problem = u"no SQL text can be rebuilt for this query";
    return prepared;
  }
  SSplitQuery split;
  if (!SplitQueryText(sql, split, prepared.problem)) return prepared;
  prepared.query.flags = split.flags;
  prepared.query.rows = std::move(split.rows);
  prepared.query.sql = sql;
  if (split.isWhole)
    prepared.note = u"The SQL text is of no known form; it was stored whole, as a data definition query.";
  if (query.name.empty())
    prepared.changes.push_back(u": its name and kind are lost; it was saved as a select query.");
  if (!query.IsWhole()) prepared.changes.push_back(u": some of its rows are lost.");
  const std::u16string change =
      DescribeQueryChange(query.GetRows(), KindByObject(query), prepared.query.rows);
  if (!change.empty()) prepared.changes.push_back(u" is not what it was: " + change + u".");
  return prepared;
}

// The rows of a query in the order of their kinds and numbers, each once, with what every query has.
class CRowCollector {
 public:
  explicit CRowCollector(const CQuery& query) {
    for (const CQueryAttributes* row = query.rows.GetHead(); row != nullptr; row = row->GetNext()) Add(*row);
    std::ranges::stable_sort(m_rows, [](const SNumbered& a, const SNumbered& b) {
      return std::tie(a.row.attribute, a.order) < std::tie(b.row.attribute, b.order);
    });
    TakeInOrder();
  }
  // False when a row is known to be missing; others may be, too.
  [[nodiscard]] bool IsWhole() const { return m_isWhole; }
  std::vector<SQueryRow> TakeRows() { return std::move(m_taken); }

 private:
  struct SNumbered {
    SQueryRow row;
    uint64_t order;
  };
  static constexpr uint64_t kNoOrder = ~uint64_t{0};

  void Add(const CQueryAttributes& row) {
    const int attribute = ParseQueryNumber(row.Attribute);
    const bool isKnown =
        !row.Attribute.empty() && attribute >= 0 && (attribute <= kQuerySortKey || attribute == kQueryEnd);
    if (!isKnown) {
      m_isWhole = false;
      return;
    }
    m_rows.push_back({row.GetRow(), row.GetOrder().value_or(kNoOrder)});
  }
  // Of rows with one number the first counts. A start, a kind and an end are alone.
  void TakeInOrder() {
    std::array<uint64_t, 256> last{};
    std::array<bool, 256> isThere{};
    for (SNumbered& numbered : m_rows) {
      const uint8_t attribute = numbered.row.attribute;
      const bool isAlone = attribute == kQueryStart || attribute == kQueryKind || attribute == kQueryEnd;
      const bool isRepeated = numbered.order != kNoOrder && numbered.order == last[attribute];
      if (isThere[attribute] && (isAlone || isRepeated)) continue;
      if (numbered.order != kNoOrder && numbered.order != last[attribute] + 1) m_isWhole = false;
      isThere[attribute] = true;
      last[attribute] = numbered.order;
      m_taken.push_back(std::move(numbered.row));
    }
    m_isWhole = m_isWhole && isThere[kQueryStart] && isThere[kQueryEnd];
    if (!isThere[kQueryStart]) {
      SQueryRow start;
      start.flag = int16_t{0};
      m_taken.insert(m_taken.begin(), std::move(start));
    }
    if (!isThere[kQueryEnd]) m_taken.emplace_back().attribute = kQueryEnd;
  }

  std::vector<SNumbered> m_rows;
  std::vector<SQueryRow> m_taken;
  bool m_isWhole = true;
};

// The kind in the rows and in the object's flags; either one restores the other.
void AgreeOnKind(SSavedQuery& query, EQueryKind kind) {
  if (QueryKindOf(query.flags) != kind)
    query.flags = QueryFlagsOf(kind) | (query.flags & ((1U << kQueryKindShift) - 1));
  const auto isKind = [](const SQueryRow& row) { return row.attribute == kQueryKind; };
  auto row = std::ranges::find_if(query.rows, isKind);
  if (row == query.rows.end()) {
    if (kind == kKindSelect) return;
    row = query.rows.insert(query.rows.begin() + 1, SQueryRow());
    row->attribute = kQueryKind;
  }
  row->flag = kind;
}

// The query is its rows.
SPreparedQuery PrepareByRows(const CQuery& query, bool areRowsLost) {
  SPreparedQuery prepared;
  SSavedQuery& saved = prepared.query;
  CRowCollector rows(query);
  saved.name = query.name;
  saved.rows = rows.TakeRows();
  saved.properties = query.properties;
  saved.flags = static_cast<uint32_t>(ParseQueryNumber(query.type));
  const EQueryKind kind = FindQueryKind(saved);
  AgreeOnKind(saved, kind);
  prepared.isWhole = rows.IsWhole();
  const std::u16string missing = RenderQuery(saved).missing;
  const bool isOpen = (kind == kKindDelete || kind == kKindUpdate) &&
                      std::ranges::count(saved.rows, kQueryCriteria, &SQueryRow::attribute) == 0;
  if (!missing.empty()) {
    prepared.problem = u"lost are " + missing + u".";
  } else if (isOpen && areRowsLost) {
    // Without its condition it would change every record.
    prepared.problem = u"rows of queries are lost, and its condition may be among them.";
  } else if (!rows.IsWhole()) {
    prepared.changes.push_back(u": some of its rows are lost.");
  }
  if (query.name.empty()) prepared.changes.push_back(u": its name is lost.");
  if (query.isNameRestored)
    prepared.changes.push_back(u": its row of the catalogue is lost; the navigation pane's list names it.");
  if (query.arePropertiesLost) prepared.changes.push_back(u": some of its properties are lost.");
  return prepared;
}

}  // namespace

const CAccessTable* FindQueriesTable(const CAccessData& data) {
  const CAccessTable* const table = data.GetTables().FindTable(kMSysQueries);
  return table && table->columns.GetCount() > 0 ? table : nullptr;
}

SQueriesState GetQueriesState(const CAccessData& data, const CTList<CQuery>& queries) {
  SQueriesState state{data.GetRules()};
  // Rows that came under a foreign id stand alone, as a query without a start or an end.
  for (const CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
    state.areRowsLost = state.areRowsLost || !query->IsWhole();
  const CAccessTable* table = FindQueriesTable(data);
  for (const EDamage kind : {EDamage::RejectedRow, EDamage::BrokenOverflow, EDamage::MissingRows})
    for (const CDamageLedger::SPlace& place : data.GetLedger().GetPlaces(kind))
      if (table != nullptr && place.definition == table->GetDefinitionOffset()) state.areRowsLost = true;
  return state;
}

SPreparedQuery PrepareQuery(CQuery& query, bool isHidden, const SQueriesState& state) {
  return state.rules.queriesAreTheirText ? PrepareByText(query, isHidden)
                                         : PrepareByRows(query, state.areRowsLost);
}

SQueryListing ListQuery(CQuery& query, const SQueriesState& state) {
  if (state.rules.queriesAreTheirText)
    return {static_cast<uint32_t>(ParseQueryNumber(query.type)), query.GetSql(), query.IsWhole(), {}};
  SPreparedQuery prepared = PrepareByRows(query, state.areRowsLost);
  return {prepared.query.flags, RenderQuery(prepared.query).sql, prepared.isWhole, prepared.problem};
}

}  // namespace tolvane
