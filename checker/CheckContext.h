// What all parts of one check share.
#pragma once

#include <functional>

#include "checker/CheckedFile.h"
#include "checker/Finding.h"
#include "checker/PageLedger.h"
#include "checker/RowSet.h"

namespace tolvane {

struct SCheckContext {
  CCheckedFile& file;
  CFindings& findings;
  CPageLedger& ledger;
  CRowSet mapRows;     // usage map rows that somebody uses
  CRowSet longValues;  // long value rows that a reference names

  // Of the table that is being checked; kept here because each is as long as the file.
  CRowSet live;     // rows, by the slot that indexes name
  CRowSet bodies;   // slots that hold the bodies of moved rows
  CRowSet targets;  // bodies that a slot points to
  CRowSet indexed;  // rows that the current index names

  std::function<bool()> shouldStop = {};  // asked for every page that is walked
  bool isStopped = false;

  bool IsStopped() {
    if (!isStopped && shouldStop) isStopped = shouldStop();
    return isStopped;
  }
};

}  // namespace tolvane
