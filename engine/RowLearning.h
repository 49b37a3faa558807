// Shows a table's profile what the rows on its pages look like, before they are read.
#pragma once

#include <cstdint>
#include <span>

#include "engine/PageReader.h"
#include "engine/RowProfile.h"
#include "format/Layout.h"
#include "model/AccessTable.h"

namespace tolvane {

// Some pages, spread over all of the table's, by their slots.
void LearnRows(CPageReader& reader, const CAccessTable& table, const SLayout& layout, CRowProfile& profile);

// Some of the pages at these offsets, whose slots cannot be true, where no other page told anything.
void LearnRowsWithoutSlots(CPageReader& reader, std::span<const uint64_t> offsets, const SLayout& layout,
                           CRowProfile& profile);

}  // namespace tolvane
