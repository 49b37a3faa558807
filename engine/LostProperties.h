// Properties of tables whose rows of the catalogue are lost. They lie on pages of long values, which the
// catalogue's rows only refer to, and know whose they are by the names of the columns.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

struct SFoundProperties {
  CAccessTable* table;
  std::u16string name;  // that the table had when somebody saved it; empty where they do not tell
};

// Gives each of these tables the properties that name just its columns. Where another table has the same ones
// nothing is done; where several properties fit, some of which are old, only the name is told that they agree
// on. The work is linear in the length of the file.
std::vector<SFoundProperties> RestoreLostProperties(CAccessData& data, CSource& source,
                                                    std::span<CAccessTable* const> tables,
                                                    const CJobContext& job);

}  // namespace tolvane
