// Our own database engine behind dao/dao.h: Jet 3, Jet 4 and ACE files from scratch, on every platform,
// without any installed software. It adds tables, rows and queries to databases that it made itself.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dao/dao.h"
#include "platform/Identity.h"

namespace tolvane {

struct SEmbeddedLimits {
  uint32_t maxPages = 0;                     // of a file; 0 is the most that the format allows
  std::u16string tempFolder;                 // for sorting large indexes; empty is the system's
  std::shared_ptr<CIdentity> identity = {};  // of what is created; null is the clock and chance
  uint32_t threads = 0;                      // that may make and sort the keys of indexes; 0: one a processor
};

std::unique_ptr<CDaoEngine> MakeEmbeddedEngine(const SEmbeddedLimits& limits = {});

}  // namespace tolvane
