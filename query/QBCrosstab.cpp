#include "query/QB.h"

#include <string_view>

#include "query/QueryClauses.h"

namespace tolvane {
namespace {

// The parts that the rows' flags tell apart.
struct SCrosstabParts {
  std::u16string columns;
  std::u16string transform;
  std::u16string groupBy;
  std::u16string pivot;
};

// Keyword and blank in front of the first item, a comma and a line feed between items.
void AppendPart(std::u16string& part, std::u16string_view keyword, std::u16string_view item) {
  if (part.empty()) {
    part += keyword;
    part += u' ';
  } else {
    part += u",\n";
  }
  part += item;
}

void TakeColumn(const CQueryAttributes& row, SCrosstabParts& parts) {
  const std::u16string entry = CQueryClauses::ColumnEntry(row);
  if (row.Flag == u"2") AppendListItem(parts.columns, u", ", entry);
  if (row.Flag == u"0") AppendPart(parts.transform, u"TRANSFORM", entry);
}

void TakeGrouping(const CQueryAttributes& row, SCrosstabParts& parts) {
  if (row.Flag == u"2") AppendPart(parts.groupBy, u"GROUP BY", row.Expression);
  if (row.Flag == u"1") AppendPart(parts.pivot, u"PIVOT", row.Expression);
}

}  // namespace

void CQBCrosstab::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  CQueryClauses clauses(rows);
  SCrosstabParts parts;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (clauses.TakeCommon(attribute, *row)) continue;
    if (attribute == kQueryColumn) TakeColumn(*row, parts);
    if (attribute == kQueryGrouping) TakeGrouping(*row, parts);
  }

  sql = parts.transform.empty() ? std::u16string() : parts.transform + u'\n';
  sql += clauses.MakeSelect(parts.columns, parts.groupBy);
  AppendClause(sql, parts.pivot);
}

}  // namespace tolvane
