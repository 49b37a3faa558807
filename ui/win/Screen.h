// Windows and the screens that they are on.
#pragma once

#include <windows.h>

#include "app/WindowPlace.h"

namespace tolvane {

SScreenArea ToScreenArea(const RECT& area);
// What the taskbar leaves of the window's screen.
SScreenArea GetWorkArea(HWND window);
void MoveTo(HWND window, const SScreenArea& area);
// To where the system suggests after a change of resolution, no larger than the screen.
void MoveToSuggested(HWND window, const RECT& area);
// Back inside, when the screen has become smaller or has gone.
void KeepOnScreen(HWND window);
// What is to be remembered of it.
SWindowPlace GetPlaceOf(HWND window);

}  // namespace tolvane
