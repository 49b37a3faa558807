// What the external save engine is told of a repair: the database and every recovered table.
#pragma once

#include "writer/handoff/AccdbDBInfo.h"
#include "writer/handoff/AccdbTblInfo.h"

namespace tolvane {

struct CAccdbParsedInfo {
  CAccdbDBInfo database;
  CAccdbTblInfoList tables;
};

}  // namespace tolvane
