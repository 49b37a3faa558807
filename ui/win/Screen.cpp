#include "ui/win/Screen.h"

#include <algorithm>

#include "ui/win/Dpi.h"

namespace tolvane {

namespace {

MONITORINFO GetMonitorOf(HWND window) {
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info);
  return info;
}

}  // namespace

SScreenArea ToScreenArea(const RECT& area) {
  return {static_cast<int32_t>(area.left), static_cast<int32_t>(area.top), static_cast<int32_t>(area.right),
          static_cast<int32_t>(area.bottom)};
}

SScreenArea GetWorkArea(HWND window) {
  return ToScreenArea(GetMonitorOf(window).rcWork);
}

void MoveTo(HWND window, const SScreenArea& area) {
  SetWindowPos(window, nullptr, area.left, area.top, area.GetWidth(), area.GetHeight(),
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void MoveToSuggested(HWND window, const RECT& area) {
  const SScreenArea work = GetWorkArea(window);
  SScreenArea wanted = ToScreenArea(area);
  wanted.right = std::min(wanted.right, wanted.left + work.GetWidth());
  wanted.bottom = std::min(wanted.bottom, wanted.top + work.GetHeight());
  MoveTo(window, wanted);
}

void KeepOnScreen(HWND window) {
  if (IsIconic(window) || IsZoomed(window)) return;
  RECT area{};
  GetWindowRect(window, &area);
  const UINT dpi = CDpi::Of(window).GetValue();
  MoveTo(window, FitIntoScreen({ToScreenArea(area), dpi}, dpi, GetWorkArea(window)));
}

SWindowPlace GetPlaceOf(HWND window) {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof(placement);
  GetWindowPlacement(window, &placement);
  // Its coordinates begin at the corner of the work area.
  const MONITORINFO monitor = GetMonitorOf(window);
  RECT area = placement.rcNormalPosition;
  OffsetRect(&area, monitor.rcWork.left - monitor.rcMonitor.left, monitor.rcWork.top - monitor.rcMonitor.top);
  const bool isMaximised = placement.showCmd == SW_SHOWMAXIMIZED ||
                           (IsIconic(window) && (placement.flags & WPF_RESTORETOMAXIMIZED) != 0);
  return {ToScreenArea(area), CDpi::Of(window).GetValue(), isMaximised};
}

}  // namespace tolvane
