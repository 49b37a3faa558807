#include "checker/QueryCheck.h"

#include "checker/SystemRow.h"
#include "format/IndexPage.h"
#include "format/SavedQuery.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

constexpr size_t kEndPosition = 12;
constexpr size_t kMostQueries = 200'000;

}  // namespace

void CQueryCheck::AddRow(const CRowView& row, SPlace place) {
  const CSystemRow values(m_context.file, row);
  const auto id = values.GetNumber<uint32_t>(kQueriesObjectId);
  const auto attribute = values.GetNumber<uint8_t>(kQueriesAttribute);
  if (!id || !attribute || (*attribute > kQuerySortKey && *attribute != kQueryEnd)) {
    m_context.findings.Error("H5", place, u"the row of a query has no object or an unknown attribute");
    return;
  }
  if (m_queries.size() == kMostQueries && m_queries.count(*id) == 0) {
    m_context.findings.Note(u"Queries beyond the first ", kMostQueries, u" were not looked at.");
    return;
  }
  SQuery& query = m_queries[*id];
  if (query.place.page == kNoPage) query.place = place;
  const size_t position = *attribute == kQueryEnd ? kEndPosition : *attribute;
  query.rows[position]++;
  if (*attribute == kQueryKind) query.kind = values.GetNumber<int16_t>(kQueriesFlag);
  const std::span<const uint8_t> order = values.GetBytes(kQueriesOrder);
  if (order.size() != 4)
    m_context.findings.Error("H2", place, u"the order of a query's row is not four bytes long");
  else
    query.highestOrder[position] = std::max(query.highestOrder[position], ReadBigEndian(order));
}

void CQueryCheck::Finish(const CCatalogueCheck& catalogue) {
  for (const auto& [id, query] : m_queries) CheckQuery(id, query, catalogue);
  for (const SCheckedObject& object : catalogue.GetObjects())
    if (object.type == kObjectQuery && m_queries.count(object.id) == 0)
      m_context.findings.Error("H1", object.place, u"query ", object.name, u" has no rows");
}

void CQueryCheck::CheckQuery(uint32_t id, const SQuery& query, const CCatalogueCheck& catalogue) {
  CFindings& findings = m_context.findings;
  const SCheckedObject* object = catalogue.Find(id);
  if (object == nullptr || object->type != kObjectQuery) {
    if (catalogue.IsComplete())
      findings.Error("H4", query.place, u"object ", id, u" has the rows of a query, but is none");
    return;
  }
  if (query.rows[kQueryStart] != 1 || query.rows[kEndPosition] != 1 || query.rows[kQueryKind] > 1)
    findings.Error("H1", query.place, u"query ", object->name, u" has ", query.rows[kQueryStart],
                   u" starts, ", query.rows[kEndPosition], u" ends and ", query.rows[kQueryKind], u" kinds");
  // Equal orders are ruled out by the unique index, so the highest one tells whether some are missing.
  for (size_t i = 0; i < kAttributes; i++)
    if (query.highestOrder[i] != query.rows[i])
      findings.Error("H2", query.place, u"query ", object->name, u" has ", query.rows[i],
                     u" rows of attribute ", i == kEndPosition ? size_t{kQueryEnd} : i, u", numbered up to ",
                     query.highestOrder[i]);
  const std::optional<EQueryKind> kind = QueryKindOf(object->flags);
  if (!kind || (query.kind && *query.kind != *kind))
    findings.Error("H3", query.place, u"the flags of query ", object->name, u" are ", object->flags,
                   u", its rows say kind ", query.kind.value_or(0));
}

}  // namespace tolvane
