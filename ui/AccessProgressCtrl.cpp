#include "ui/AccessProgressCtrl.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>

#include "status/Status.h"

namespace tolvane {

bool CAccessProgressCtrl::Create(HWND parent, UINT identifier) {
  return CreateControl(PROGRESS_CLASSW, L"", {PBS_SMOOTH, 0}, parent, identifier);
}

void CAccessProgressCtrl::Refresh() {
  const int32_t maximum = CProgressStatus::Instance().GetMax();
  if (Send(PBM_GETRANGE, FALSE, 0) != maximum) Send(PBM_SETRANGE32, 0, maximum);
  Send(PBM_SETPOS, static_cast<WPARAM>(CProgressStatus::Instance().GetPos()));
  SetText(CStatusProgress::Instance().GetText());
}

}  // namespace tolvane
