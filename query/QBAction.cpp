#include "query/QB.h"

#include "query/QueryClauses.h"

namespace tolvane {
namespace {

// "Order Details.Qty" becomes "[Order Details].Qty"; names with brackets, or without a dot or a blank, stay.
std::u16string UpdateTarget(const std::u16string& target) {
  const size_t dot = target.find(u'.');
  const size_t blank = target.find(u' ');
  const bool isSplit = dot != std::u16string::npos && dot >= 1 && blank != std::u16string::npos &&
                       blank >= 1 && target.find(u'[') == std::u16string::npos;
  if (!isSplit) return target;
  const std::u16string table = target.substr(0, dot);
  const size_t tableBlank = table.find(u' ');
  const bool hasBlank = tableBlank != std::u16string::npos && tableBlank > 0;
  return (hasBlank ? Bracketed(table) : table) + target.substr(dot);
}

}  // namespace

void CQBAppend::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  CQueryClauses clauses(rows);
  std::u16string target;
  std::u16string sourceColumns;
  std::u16string targetColumns;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (clauses.TakeCommon(attribute, *row)) continue;
    if (attribute == kQueryKind) target = BracketedIfBlank(row->Name1);
    if (attribute == kQueryGrouping) clauses.TakeGrouping(*row);
    if (attribute == kQueryColumn) {
      AppendListItem(sourceColumns, u", ", row->Expression);
      AppendListItem(targetColumns, u", ", Bracketed(row->Name2));
    }
  }

  sql = u"INSERT INTO " + target + u" ( " + targetColumns + u" )\n" +
        clauses.MakeSelect(sourceColumns, clauses.GetGroupBy());
}

void CQBUpdate::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  CQueryClauses clauses(rows);
  std::u16string table;
  std::u16string assignments;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (attribute == kQuerySource) table = Bracketed(row->Name1);
    if (attribute == kQueryColumn)
      AppendListItem(assignments, u",", u' ' + UpdateTarget(row->Name2) + u" = " + row->Expression);
    if (attribute == kQueryJoin || attribute == kQueryCriteria || attribute == kQueryHaving)
      clauses.TakeCommon(attribute, *row);
  }

  const std::u16string joins = clauses.GetJoinText();
  sql = u"UPDATE " + (joins.empty() ? table : joins) + u"\nSET" + assignments;
  AppendClause(sql, clauses.GetWhere());
  AppendClause(sql, clauses.GetHaving());
}

void CQBDelete::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  CQueryClauses clauses(rows);
  std::u16string table;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (attribute == kQuerySource) table = Bracketed(row->Name1);
    if (attribute == kQueryCriteria || attribute == kQueryHaving) clauses.TakeCommon(attribute, *row);
  }

  sql = u"DELETE FROM " + table;
  AppendClause(sql, clauses.GetWhere());
  AppendClause(sql, clauses.GetHaving());
}

}  // namespace tolvane
