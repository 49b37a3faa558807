// Where in a file its database begins: at 0, unless something put bytes in front of it.
#pragma once

#include <cstdint>

#include "engine/PageReader.h"

namespace tolvane {

// The byte offset of page 0. A file in which no start can be told begins at 0.
uint64_t FindDatabaseStart(CPageReader& file);

}  // namespace tolvane
