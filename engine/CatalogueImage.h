// The definitions of the catalogue and of the other tables that every database has. They are the same in
// every file and built in, so that names, queries and relationships are found even where their pages are
// lost.
#pragma once

#include <cstdint>
#include <vector>

#include "format/Layout.h"
#include "model/RecoveryRules.h"

namespace tolvane {

// One page, made so that a decoder that follows `rules` reads the right columns from it.
std::vector<uint8_t> MakeCatalogueImage(const SLayout& layout, const SRecoveryRules& rules);
// In the same way that of the table defined on this page of every file; empty where there is none. The rules
// are those that read a definition as it is.
std::vector<uint8_t> MakeSystemImage(const SLayout& layout, uint32_t page);

}  // namespace tolvane
