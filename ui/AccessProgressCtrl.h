// The bar of the step that runs.
#pragma once

#include "ui/win/Window.h"

namespace tolvane {

class CAccessProgressCtrl : public CWnd {
 public:
  bool Create(HWND parent, UINT identifier);
  // Reads CProgressStatus and CStatusProgress. The text becomes the bar's own, for those who cannot see it.
  void Refresh();
};

}  // namespace tolvane
