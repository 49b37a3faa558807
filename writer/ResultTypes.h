// The types of calculated columns' results. A calculated column's own type is only a storage class; a
// property of it tells what its results are, and where that is lost, the results themselves do.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "format/Value.h"
#include "model/AccessTable.h"
#include "store/ValueRecord.h"

namespace tolvane {

inline constexpr std::u16string_view kExpression = u"Expression", kResultType = u"ResultType";

// By its properties; kTypeNone where they do not tell.
uint8_t StatedResultType(const CAccessColumn& column);

// By column: a type that holds every result of a calculated column, kTypeNone for all other columns and those
// without results. Goes through the table's data file only if it has such columns.
std::vector<SValueKind> FindResultTypes(const CAccessTable& table);

// A result was decoded by its length, which several types share: its bytes are those of the column's own.
void TakeResultAs(uint8_t type, SValue& value);

}  // namespace tolvane
