// Sizes that follow the display that a window is on. Sizes in the sources are pixels at 96 DPI.
#pragma once

#include <windows.h>

namespace tolvane {

class CDpi {
 public:
  explicit CDpi(UINT dpi = USER_DEFAULT_SCREEN_DPI) : m_dpi(dpi) {}
  static CDpi Of(HWND window);

  [[nodiscard]] UINT GetValue() const { return m_dpi; }
  [[nodiscard]] int Scale(int pixels) const {
    return MulDiv(pixels, static_cast<int>(m_dpi), USER_DEFAULT_SCREEN_DPI);
  }
  [[nodiscard]] int Unscale(int pixels) const {
    return MulDiv(pixels, USER_DEFAULT_SCREEN_DPI, static_cast<int>(m_dpi));
  }
  // The font that the user has chosen for messages, in the size for this display.
  [[nodiscard]] LOGFONTW GetMessageFont() const;

 private:
  UINT m_dpi;
};

}  // namespace tolvane
