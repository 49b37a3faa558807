// Names of tables and queries whose rows of the catalogue are lost, from other places that tell them:
//
//   MSysRelationships      both tables of each relationship, whose name the definition of the foreign one has
//   hidden flat tables     a column called "<table>_<column>" in the values of a complex column
//   MSysNavPaneObjectIDs   id, name and type of each object that the navigation pane shows
//   properties             a map of the names of a table and its columns (LostProperties.h)
//
// The first two are the engine's, which keeps them true. The others are of the program around it, and may be
// old.
#pragma once

#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// Once the catalogue's rows are read. Only tables without a name get one, and queries that the catalogue does
// not list. What one place tells in two ways is not believed, nor a name that another object has. Names of
// tables that were found so are counted as doubtful.
void RestoreLostNames(CAccessData& data, CSource& source, const CJobContext& job);

}  // namespace tolvane
