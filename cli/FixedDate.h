// The date of everything that a run writes, where its results are to be the same each time.
#pragma once

#include <optional>

#include "cli/CommandArguments.h"

namespace tolvane {

struct SFixedDate {
  std::optional<double> date = {};  // days since 30 December 1899, UTC; nothing: the clock's
  bool isRefused = false;           // SOURCE_DATE_EPOCH is no number of seconds since 1970
};

// That of SOURCE_DATE_EPOCH; else, with --reproducible, 2000-01-01.
SFixedDate FindFixedDate(const SArguments& arguments);

}  // namespace tolvane
