// The definition of the system catalogue, which is the same in every file: it is built in, so that the names
// of the tables are found even where its page is lost.
#pragma once

#include <cstdint>
#include <vector>

#include "format/Layout.h"
#include "model/RecoveryRules.h"

namespace tolvane {

// One page, made so that a decoder that follows `rules` reads the right columns from it.
std::vector<uint8_t> MakeCatalogueImage(const SLayout& layout, const SRecoveryRules& rules);

}  // namespace tolvane
