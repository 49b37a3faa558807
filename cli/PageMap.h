// A compact map of a file's pages for terminals: one sign a page, or a block of pages when there are many.
#pragma once

#include <cstddef>
#include <string>

#include "app/report/PageBlocks.h"

namespace tolvane {

// Lines of at most `width` columns, each with the number of its first page; then what the signs mean.
std::string DrawPageMap(const CPageBlocks& blocks, size_t width);

}  // namespace tolvane
