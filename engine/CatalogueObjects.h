// What the catalogue's rows tell of objects beside their names: the properties of tables and columns, the
// ways to linked tables, the database's own properties.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/TemplateMatch.h"
#include "model/AccessData.h"
#include "render/ObjectProperties.h"
#include "status/JobContext.h"

namespace tolvane {

// What the catalogue's type says of an object that is no table, query or container of this file.
std::optional<EOtherObject> OtherObjectOf(int16_t type);

// Gives the table and its columns what they do not have yet. Blocks of columns that were deleted or renamed
// stay behind in the file.
void PutProperties(std::vector<SOwnedProperties> owners, CAccessTable& table);

// After the tables are named; only where the run keeps values. Puts properties and links into the model and
// files what cannot be read to its end in the ledger. `match` leads from pages of the damaged file to those
// of a template.
void ReadCatalogueObjects(CAccessData& data, uint32_t pageSize, const CTemplateMatch& match,
                          const CJobContext& job);

}  // namespace tolvane
