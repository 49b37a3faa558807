// Text for other programs.
#pragma once

#include <windows.h>

#include <string_view>

namespace tolvane {

// False when another program keeps the clipboard open or memory is short.
bool CopyTextToClipboard(HWND owner, std::u16string_view text);

}  // namespace tolvane
