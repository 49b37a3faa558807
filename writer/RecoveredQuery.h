// A recovered query in the form in which it is saved, by the rules of the run.
#pragma once

#include <string>
#include <vector>

#include "format/SavedQuery.h"
#include "model/RecoveryRules.h"
#include "query/Query.h"

namespace tolvane {

struct SPreparedQuery {
  SSavedQuery query;       // under its recovered name, which may be empty
  std::u16string problem;  // why it cannot be saved; empty when it can
  bool isWhole = true;     // no row is known to be lost
  bool isSkipped = false;  // it is not to be saved; `problem` is empty where that is nobody's loss
  // It is not what it was: what users are to be told of it, as sentences behind its name.
  std::vector<std::u16string> changes;
  std::u16string note;  // how it is stored
};

// `isHidden`: of a form or report.
SPreparedQuery PrepareQuery(CQuery& query, bool isHidden, const SRecoveryRules& rules);

// The query for people.
struct SQueryListing {
  uint32_t flags = 0;   // as far as they are known, of its object
  std::u16string sql;   // empty when there is none
  bool isWhole = true;  // no row is known to be lost
  std::u16string problem;
};
SQueryListing ListQuery(CQuery& query, const SRecoveryRules& rules);

}  // namespace tolvane
