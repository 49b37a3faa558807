// What a run concludes from all of its tables together, and what of it is doubtful.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/Source.h"
#include "model/AccessData.h"

namespace tolvane {

// The code page that most Jet 3 text columns name, of those that this machine knows; the lowest of several
// that are named equally often. Columns name it over and over; the header, which breaks first, only once.
std::optional<uint16_t> VoteCodePage(const CAccessTableList& tables);

// Files tables in the ledger whose definitions promise more rows than were found. A promise of more rows than
// the source has room for is none.
void CountMissingRows(CAccessData& data, const CSource& source);

// Whether a table's name may be wrong: it was made up, or comes from the usual place of a system table though
// the table looks like a user's.
std::optional<EDamage> DoubtOfName(const CAccessTable& table);

// Files the tables with doubtful names in the ledger, except those whose definition page is free.
void CountDoubtfulNames(CAccessData& data, CSource& definitions);

}  // namespace tolvane
