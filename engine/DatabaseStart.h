// Where in a file its database begins: at 0, unless something put bytes in front of it.
#pragma once

#include <cstdint>

#include "engine/PageReader.h"

namespace tolvane {

// What stands at that byte of the file: the header of a database, ...
bool HasHeader(CPageReader& file, uint64_t start);
// ... and, two pages of that size behind it, a definition, as that of the catalogue does.
bool HasCatalogue(CPageReader& file, uint64_t start, uint32_t pageSize);

// The byte offset of page 0. A file in which no start can be told begins at 0.
uint64_t FindDatabaseStart(CPageReader& file);

}  // namespace tolvane
