// One row of MSysQueries: a fragment of one saved query's definition. All values are text, as the recovered
// cells hold them; numbers are parsed when they are used.
#pragma once

#include <string>

#include "format/SavedQuery.h"
#include "query/TList.h"

namespace tolvane {

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
  // The row as numbers and texts; an empty text is none.
  [[nodiscard]] SQueryRow GetRow() const;
  // The number in Order, which shows four bytes as hexadecimal digits; empty when it is lost.
  [[nodiscard]] std::optional<uint64_t> GetOrder() const;

  // Join rows only: the resolved sides, filled by the builder; empty when the table was seen before.
  std::u16string leftTable;
  std::u16string rightTable;
};

// A decimal number at the start of `text`: blanks, sign, digits; 0 when there is none, stops at the limits.
int ParseQueryNumber(const std::u16string& text);

}  // namespace tolvane
