// The controls of the view that have a class of their own; they and the system's are created, coloured and
// given their fonts together. Which of them is shown where is not known here.
#pragma once

#include <windows.h>

#include "ui/AccessProgressCtrl.h"
#include "ui/LogEdit.h"
#include "ui/ModeButtons.h"
#include "ui/PageMapControl.h"
#include "ui/ReadOnlyEdit.h"
#include "ui/RecentList.h"
#include "ui/RecordPane.h"
#include "ui/TreeControl.h"
#include "ui/win/Fonts.h"

namespace tolvane {

struct SViewParts {
  // All controls of the view, in tab order.
  bool Create(HWND view);
  // The colours that the user has chosen since.
  void ApplyTheme(HWND view) const;
  // `step` is the control that names the present step.
  static void ApplyFonts(HWND view, const SFonts& fonts, UINT step);

  CRdBtnStandardMode standardMode;
  CRdBtnAdvanceMode advanceMode;
  CReadOnlyEdit file;
  CReadOnlyEdit templateFile;
  CReadOnlyEdit output;
  CReadOnlyEdit summary;
  CAccessProgressCtrl progress;
  CLogEditView log;
  CTreeControl tree;
  CRecordPane records;
  CPageMapControl map;
  CRecentList recentFiles;
};

}  // namespace tolvane
