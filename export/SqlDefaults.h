// Defaults of columns that are plain values, in the words of the database's own expressions.
#pragma once

#include <string>
#include <string_view>

#include "export/SqlDialect.h"

namespace tolvane {

// The literal for a column of that type; empty where the expression is no plain value.
std::string MakeDefault(std::u16string_view expression, const SSqlType& column, const CSqlDialect& dialect);

}  // namespace tolvane
