// Tells whether the rows of a query, as they are saved, still mean what the recovered ones meant.
#pragma once

#include <span>
#include <string>

#include "format/SavedQuery.h"

namespace tolvane {

// The clauses that are not in `saved` as they are in `recovered`, as "parameters, TOP"; empty when the
// queries mean the same. Brackets, parentheses, blanks and case do not count, nor does the order of rows, nor
// clauses that the query's kind does not have. `kind` is that of the recovered query when no row tells it.
// Linear.
std::u16string DescribeQueryChange(std::span<const SQueryRow> recovered, EQueryKind kind,
                                   std::span<const SQueryRow> saved);

}  // namespace tolvane
