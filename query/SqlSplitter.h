// Splits the SQL text that the builders make of a saved query into the rows in which the format keeps it.
// This is how the standard rules store queries: what the text does not hold is not in the rows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "format/SavedQuery.h"

namespace tolvane {

struct SSplitQuery {
  uint32_t flags = 0;           // of the query's object row
  std::vector<SQueryRow> rows;  // in the order in which they are stored, start and end included
  // The text could not be split and is stored whole, as a data definition statement.
  bool isWhole = false;
};

// False when the text cannot be stored at all; `reason` says why. Linear in the text's length.
bool SplitQueryText(std::u16string_view sql, SSplitQuery& query, std::u16string& reason);

}  // namespace tolvane
