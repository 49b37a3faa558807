// Pages of rows against the maps of the tables. The head of a page says whose it is, the map of a table which
// pages are its; where both agree nothing is to be done. They differ where a page was written over another
// one, where its owner was overwritten, and where it is of an older state of the file or of another file.
//
//   the owner's map names the page             | the owner's
//   no map does                                | doubtful: the owner's as far as its rows are missing
//   another table's map does, and the page has | swapped with a page of the other table: the owner's
//   the rows of the one, or of the other       | else the table's that it has the rows of
//   the same bytes stand in two places         | one page was copied over the other: read once
#pragma once

#include "engine/PageClaims.h"
#include "engine/PageTwins.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// Settles the pages that the tables have by their heads, before rows are read: moves pages to other tables,
// hands doubtful ones to the claims, drops copies and files them.
void SettlePages(CAccessData& data, CSource& source, const CPageTwins& twins, CPageClaims& claims,
                 const CJobContext& job);

}  // namespace tolvane
