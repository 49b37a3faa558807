// The complete SQL text of a stored query: rows in, text out.
#pragma once

#include <string>

#include "format/SavedQuery.h"

namespace tolvane {

struct SQueryText {
  std::u16string sql;  // a clause a line, without a semicolon at the end; as much as the rows tell
  // What the statement needs and the rows do not hold, as "its sources, its target"; empty for a statement.
  std::u16string missing;
};

// By the kind row, or by the object's flags when there is none of a known kind.
EQueryKind FindQueryKind(const SSavedQuery& query);

// Linear in the rows and their texts; no recursion.
SQueryText RenderQuery(const SSavedQuery& query);

}  // namespace tolvane
