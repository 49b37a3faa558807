// The rows that were found of each table against those that its definition states, and what is known of the
// difference.
#pragma once

#include "engine/PageClaims.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// Files tables in the ledger whose definitions promise more rows than were found, and where the rules want it
// those that promise fewer, unless the indexes name each row that was found. A promise of more rows than the
// source has room for is none, and the catalogue's built-in definition promises nothing. Of tables whose rows
// are too few or too many, pages that lack rows which the indexes name are filed as torn.
void CountMissingRows(CAccessData& data, CSource& source, const CPageClaims& claims, const CJobContext& job);

// Files why the definitions of tables that the catalogue alone knows are not there. `source` is the damaged
// file.
void ExplainLostTables(CAccessData& data, CSource& source);

}  // namespace tolvane
