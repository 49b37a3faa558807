#include "app/ResultObjects.h"

#include "format/SystemObjects.h"
#include "platform/Text.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kLineEnd = u"\r\n";
constexpr std::u16string_view kNameLost = u"(name lost)";

std::u16string ShownName(const std::u16string& name) {
  return name.empty() ? std::u16string(kNameLost) : name;
}

void AddTo(std::u16string& list, std::u16string_view text, std::u16string_view separator = u", ") {
  if (!list.empty()) list += separator;
  list += text;
}

void AddLine(std::u16string& text, std::u16string_view heading, const std::u16string& words) {
  if (words.empty()) return;
  AddTo(text, heading, kLineEnd);
  text += words;
}

// What a query's rows say, by the clause that each is of.
struct SClauses {
  std::u16string target, sources, columns, parameters, conditions, groups, sorting;
  size_t joins = 0;
};

std::u16string TextOf(const std::optional<std::u16string>& text) {
  return text.value_or(std::u16string());
}

void Take(const SQueryRow& row, SClauses& clauses) {
  const std::u16string name1 = TextOf(row.name1), name2 = TextOf(row.name2);
  const std::u16string expression = TextOf(row.expression);
  switch (row.attribute) {
    case kQueryKind:
      clauses.target = name1;
      break;
    case kQueryParameter:
      AddTo(clauses.parameters, name1);
      break;
    case kQuerySource:
      if (!name1.empty()) AddTo(clauses.sources, name1);
      if (!name1.empty() && !name2.empty() && name2 != name1) clauses.sources += u" as " + name2;
      break;
    case kQueryColumn:
      AddTo(clauses.columns, expression.empty() ? name2 : expression);
      if (!expression.empty() && !name1.empty()) clauses.columns += u" as " + name1;
      break;
    case kQueryJoin:
      ++clauses.joins;
      break;
    case kQueryCriteria:
      AddTo(clauses.conditions, expression, u" and ");
      break;
    case kQueryGrouping:
      AddTo(clauses.groups, expression);
      break;
    case kQuerySortKey:
      AddTo(clauses.sorting, expression);
      if (name1 == u"D") clauses.sorting += u", descending";
      break;
    default:
      break;
  }
}

std::u16string DescribeQuery(const SListedQuery& query) {
  SClauses clauses;
  for (const SQueryRow& row : query.rows) Take(row, clauses);
  std::u16string text = u"Saved query: " + ShownName(query.name);
  AddLine(text, u"Kind: ", query.isKindLost ? u"lost, read as select" : FromAscii(query.kind));
  AddLine(text, u"Changes: ", clauses.target);
  if (clauses.joins > 0)
    clauses.sources += u", joined by " + Counted(clauses.joins, u"condition", ToGroupedDecimal);
  AddLine(text, u"Reads from: ", clauses.sources);
  AddLine(text, u"Asks for: ", clauses.parameters);
  AddLine(text, u"Columns: ", clauses.columns);
  AddLine(text, u"Only where: ", clauses.conditions);
  AddLine(text, u"Grouped by: ", clauses.groups);
  AddLine(text, u"Sorted by: ", clauses.sorting);
  AddLine(text, u"State: ",
          !query.reason.empty() ? query.reason
          : query.isWhole       ? u"whole"
                                : std::u16string(u"some of its rows are lost"));
  if (!query.sql.empty()) text += u"\r\n\r\nSQL:\r\n" + query.sql;
  return text;
}

std::u16string DescribeRules(const SRecoveredRelation& relation) {
  if (!relation.hasAttributes) return u"lost; it is read as not enforced";
  const auto has = [&relation](int32_t bit) { return (relation.attributes & bit) != 0; };
  std::u16string rules =
      has(kRelationDontEnforce) ? u"not enforced" : u"enforced: no record may refer to one that is not there";
  if (has(kRelationUpdateCascade)) AddTo(rules, u"a changed key changes the records that refer to it", u"; ");
  if (has(kRelationDeleteCascade)) AddTo(rules, u"deleting a record deletes those that refer to it", u"; ");
  if (has(kRelationNullCascade)) AddTo(rules, u"deleting a record empties the references to it", u"; ");
  if (has(kRelationLeft)) AddTo(rules, u"left join", u"; ");
  if (has(kRelationRight)) AddTo(rules, u"right join", u"; ");
  return rules;
}

std::u16string DescribeRelation(const SRecoveredRelation& relation) {
  const bool isOneToOne = (relation.attributes & kRelationUnique) != 0;
  std::u16string text = u"Relationship: " + ShownName(relation.name);
  AddLine(text, u"Records of: ", relation.DescribeSide(false));
  AddLine(text, u"refer to records of: ", relation.DescribeSide(true));
  AddLine(text, u"Kind: ",
          isOneToOne ? u"one to one"
                     : u"one record of " + relation.referencedTable + u" to many of " + relation.table);
  AddLine(text, u"Rules: ", DescribeRules(relation));
  AddLine(text, u"State: ", relation.problem.empty() ? std::u16string(u"whole") : relation.problem);
  return text;
}

}  // namespace

void CResultObjects::Load(const CAccessData& data) {
  Clear();
  if (!ListQueries(data, m_queries)) m_queries.clear();
  std::erase_if(m_queries, [](const SListedQuery& query) { return query.isHidden; });
  uint32_t rowsRead = 0;
  if (!ReadRelations(data, nullptr, m_relations, rowsRead)) m_relations.clear();
  std::erase_if(m_relations, [](const SRecoveredRelation& relation) { return relation.IsSystem(); });
}

std::vector<SObjectItem> CResultObjects::GetItems() const {
  std::vector<SObjectItem> items;
  for (const SListedQuery& query : m_queries)
    items.push_back({EObjectGroup::Query, ShownName(query.name) + u"  (" + FromAscii(query.kind) + u")"});
  for (const SRecoveredRelation& relation : m_relations)
    items.push_back({EObjectGroup::Relationship, relation.table + u" to " + relation.referencedTable});
  return items;
}

std::u16string CResultObjects::Describe(size_t index) const {
  if (index < m_queries.size()) return DescribeQuery(m_queries[index]);
  index -= m_queries.size();
  return index < m_relations.size() ? DescribeRelation(m_relations[index]) : std::u16string();
}

}  // namespace tolvane
