// A recovered query in the form in which it is saved, by the rules of the run.
#pragma once

#include <string>
#include <vector>

#include "format/SavedQuery.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "query/Query.h"

namespace tolvane {

// The recovered table of the queries' rows; null when there is none or none of its columns was decoded.
const CAccessTable* FindQueriesTable(const CAccessData& data);

struct SPreparedQuery {
  SSavedQuery query;       // under its recovered name, which may be empty
  std::u16string problem;  // why it cannot be saved; empty when it can
  bool isWhole = true;     // no row is known to be lost
  bool isSkipped = false;  // it is not to be saved; `problem` is empty where that is nobody's loss
  // It is not what it was: what users are to be told of it, as sentences behind its name.
  std::vector<std::u16string> changes;
  std::u16string note;  // how it is stored
};

// What is known of all queries of a run.
struct SQueriesState {
  const SRecoveryRules& rules;
  // Rows are lost, and nobody can tell to which query they belonged: an update or a delete without a
  // condition may have lost it.
  bool areRowsLost = false;
};
SQueriesState GetQueriesState(const CAccessData& data, const CTList<CQuery>& queries);

// `isHidden`: of a form or report.
SPreparedQuery PrepareQuery(CQuery& query, bool isHidden, const SQueriesState& state);

// The query for people.
struct SQueryListing {
  uint32_t flags = 0;   // as far as they are known, of its object
  std::u16string sql;   // empty when there is none
  bool isWhole = true;  // no row is known to be lost
  std::u16string problem;
};
SQueryListing ListQuery(CQuery& query, const SQueriesState& state);

}  // namespace tolvane
