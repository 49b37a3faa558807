// Names of tables and queries whose rows of the catalogue are lost, from other places that tell them:
//
//   MSysRelationships      both tables of each relationship, whose name the definition of the foreign one has
//   hidden flat tables     a column called "<table>_<column>" in the values of a complex column
//   MSysNavPaneObjectIDs   id, name and type of each object that the navigation pane shows
//
// The first are kept by the engine and agree with the catalogue always; the last is kept by the program around
// it and may be old.
#pragma once

#include <cstdint>

#include "model/AccessData.h"

namespace tolvane {

// Once the catalogue's rows are read. Only tables without a name get one, and queries that the catalogue does
// not list. What two places tell differently is not believed, nor a name that another object has. Names of
// tables that were found so are counted as doubtful.
void RestoreLostNames(CAccessData& data, uint32_t pageSize);

}  // namespace tolvane
