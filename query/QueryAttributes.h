// One row of MSysQueries: a fragment of one saved query's definition. All values are text, as the recovered
// cells hold them; numbers are parsed when they are used.
#pragma once

#include <string>

#include "query/TList.h"

namespace tolvane {

// Kinds of rows: the values of Attribute.
enum EQueryAttribute : int {
  kQueryStart = 0,
  kQueryKind = 1,      // append: Name1 is the target table
  kQueryOptions = 3,   // Flag: 2 distinct, 8 distinct rows; union: 3 UNION, 1 UNION ALL
  kQuerySource = 5,    // Name1 table or query, Name2 alias; union: Name2 marker, Expression member text
  kQueryColumn = 6,    // Expression, Name1 alias, Name2 target column
  kQueryJoin = 7,      // Name1 left table, Name2 right table, Expression condition, Flag kind
  kQueryCriteria = 8,  // Expression
  kQueryGrouping = 9,  // Expression
  kQueryHaving = 10,   // Expression
  kQuerySortKey = 11,  // Expression, Name1 direction
  kQueryEnd = 255,
};

class CQueryAttributes : public CTListLink<CQueryAttributes> {
 public:
  virtual ~CQueryAttributes() = default;
  CQueryAttributes() = default;
  CQueryAttributes(const CQueryAttributes&) = default;  // the copy stands in no list
  CQueryAttributes& operator=(const CQueryAttributes&) = default;

  std::u16string Attribute;
  std::u16string Expression;
  std::u16string Flag;
  std::u16string LvExtra;  // kept, never used
  std::u16string Name1;
  std::u16string Name2;
  std::u16string ObjectId;  // id of the query in MSysObjects; rows are grouped by it
  std::u16string Order;     // kept, never used: rows stand in the order in which they were recovered
  // Join rows only: the resolved sides, filled by the builder; empty when the table was seen before.
  std::u16string leftTable;
  std::u16string rightTable;
};

// A decimal number at the start of `text`: blanks, sign, digits; 0 when there is none, stops at the limits.
int ParseQueryNumber(const std::u16string& text);

}  // namespace tolvane
