#include "query/QB.h"

#include "query/QueryClauses.h"

namespace tolvane {

void CQBSelect::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  CQueryClauses clauses(rows);
  std::u16string columns;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (clauses.TakeCommon(attribute, *row)) continue;
    if (attribute == kQueryColumn) AppendListItem(columns, u", ", CQueryClauses::ColumnEntry(*row));
    if (attribute == kQueryGrouping) clauses.TakeGrouping(*row);
  }
  if (columns.empty()) columns = u"*";

  sql = clauses.MakeSelect(columns, clauses.GetGroupBy());
}

}  // namespace tolvane
