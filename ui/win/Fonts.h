// The fonts of one window, made for its display.
#pragma once

#include <windows.h>

#include <utility>

#include "ui/win/Dpi.h"

namespace tolvane {

class CFont {
 public:
  CFont() = default;
  explicit CFont(const LOGFONTW& font) : m_font(CreateFontIndirectW(&font)) {}
  CFont(CFont&& other) noexcept : m_font(std::exchange(other.m_font, nullptr)) {}
  CFont& operator=(CFont&& other) noexcept {
    std::swap(m_font, other.m_font);
    return *this;
  }
  ~CFont() {
    if (m_font) DeleteObject(m_font);
  }
  [[nodiscard]] HFONT GetHandle() const { return m_font; }
  // The height of a line in pixels.
  [[nodiscard]] int GetLineHeight() const;
  [[nodiscard]] int GetTextWidth(const wchar_t* text) const;

 private:
  HFONT m_font = nullptr;
};

struct SFonts {
  SFonts() = default;
  explicit SFonts(CDpi dpi);

  CFont message;
  CFont bold;
  CFont title;
  CFont log;
  CFont fixed;  // all characters of one width
};

}  // namespace tolvane
