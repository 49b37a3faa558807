// What a run concludes from all of its tables together, and what of it is doubtful.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/PageClaims.h"
#include "engine/Source.h"
#include "model/AccessData.h"

namespace tolvane {

// The code page that most Jet 3 text columns name, of those that this machine knows; the lowest of several
// that are named equally often. Columns name it over and over; the header, which breaks first, only once.
std::optional<uint16_t> VoteCodePage(const CAccessTableList& tables);

// The sort order that most Jet 4 text columns of user tables have, its version in the top byte; the lowest of
// several that are equally frequent.
std::optional<uint32_t> VoteSortOrder(const CAccessTableList& tables);

// Files the pages that no table adopted in the ledger; free ones are no loss.
void CountHomelessPages(CAccessData& data, const std::vector<SHomelessPage>& homeless,
                        const CPageClaims& claims);

// After the tables are named: files the pages of rows that belong to no table of a template in the ledger,
// where no table of the user's got a row.
void CountUnfitPages(CAccessData& data, const std::vector<SHomelessPage>& homeless);

// Whether a table's name may be wrong: it was made up, or comes from the usual place of a system table though
// the table looks like a user's.
std::optional<EDamage> DoubtOfName(const CAccessTable& table);

// Files the tables with doubtful names in the ledger, except those whose definition page is free.
void CountDoubtfulNames(CAccessData& data, CSource& definitions);

}  // namespace tolvane
