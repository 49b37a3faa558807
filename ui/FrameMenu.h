// What the menus of the main window offer at the moment when one opens.
#pragma once

#include <windows.h>

#include "app/FrontEnd.h"
#include "app/RecentFiles.h"
#include "app/RepairWorkflow.h"

namespace tolvane {

class COrlinVexaFileScanView;

struct SMenuState {
  const CRepairWorkflow& workflow;
  const COrlinVexaFileScanView& view;
  const CRecentFiles& recentFiles;
  const SCommandSwitches& switches;
};

// The menu bar's and the context menus'.
void PrepareMenu(HMENU menu, const SMenuState& state);

}  // namespace tolvane
