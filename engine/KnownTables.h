// Tables of Access' own, told by their columns: they are the same in every file, so that one of them is known
// when neither the catalogue nor its page tells its name.
#pragma once

#include <string_view>

#include "model/AccessTable.h"

namespace tolvane {

// Empty when the table is none of them. A table of the user's with the very same columns looks like one.
// Where no table has these names, one whose other names are the same and whose damaged ones resemble them
// counts.
std::u16string_view NameByColumns(const CAccessTable& table);

}  // namespace tolvane
