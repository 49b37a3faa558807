// Stores the rows of a saved query in MSysQueries.
#pragma once

#include <cstdint>
#include <span>

#include "dao/dao.h"
#include "embedded/TableStore.h"

namespace tolvane {

// Names longer than the columns hold cannot be stored; nothing is written then.
CDaoResult CheckQueryRows(std::span<const SQueryRow> rows);

// `id` is the query's catalogue id, `queries` the open table MSysQueries. Rows of one attribute are counted
// from 1 in the column Order. `loss`: what of their texts the format cannot hold.
CDaoResult StoreQueryRows(CTableStore& queries, uint32_t id, std::span<const SQueryRow> rows,
                          STextLoss& loss);

}  // namespace tolvane
