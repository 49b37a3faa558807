// A table's definition on the pages of the database that is open.
#pragma once

#include <cstdint>
#include <vector>

#include "embedded/PageFile.h"
#include "format/Definition.h"

namespace tolvane {

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition);
// Writes the block to `pages`; the first one is the definition's own number. Missing pages are allocated.
CDaoResult StoreDefinition(CPageFile& file, const STableDefinition& definition, std::vector<uint32_t>& pages);
CDaoResult LoadDefinition(CPageFile& file, uint32_t firstPage, STableDefinition& definition,
                          std::vector<uint32_t>& pages);

}  // namespace tolvane
