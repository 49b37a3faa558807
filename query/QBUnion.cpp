#include "query/QB.h"

namespace tolvane {

void CQBUnion::Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) {
  std::u16string first;
  std::u16string second;
  int options = 0;
  for (const CQueryAttributes* row = rows.GetHead(); row != nullptr; row = row->GetNext()) {
    const int attribute = ParseQueryNumber(row->Attribute);
    if (attribute == kQueryOptions) options = ParseQueryNumber(row->Flag);
    if (attribute != kQuerySource) continue;
    if (row->Name2 == kUnionFirst) first = row->Expression;
    if (row->Name2 == kUnionSecond) second = row->Expression;
  }
  // The engine keeps the line break before the keyword at the end of the first member.
  if (options == 3) sql = first + u"UNION\n" + second;
  if (options == 1) sql = first + u"UNION ALL\n" + second;
}

}  // namespace tolvane
