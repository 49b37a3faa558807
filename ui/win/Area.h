// Layout by cutting: a rectangle is cut from the sides until what remains belongs to one control.
#pragma once

#include <windows.h>

namespace tolvane {

class CArea {
 public:
  explicit CArea(const RECT& area) : m_area(area) {}

  // Each answers the part cut off and loses it, with `gap` pixels beside it. Never beyond what there is.
  CArea CutTop(int height, int gap = 0) { return CutStart(&RECT::top, &RECT::bottom, height, gap); }
  CArea CutBottom(int height, int gap = 0) { return CutEnd(&RECT::top, &RECT::bottom, height, gap); }
  CArea CutLeft(int width, int gap = 0) { return CutStart(&RECT::left, &RECT::right, width, gap); }
  CArea CutRight(int width, int gap = 0) { return CutEnd(&RECT::left, &RECT::right, width, gap); }
  [[nodiscard]] CArea Inset(int horizontal, int vertical) const;

  [[nodiscard]] const RECT& GetRect() const { return m_area; }
  [[nodiscard]] int GetWidth() const { return m_area.right - m_area.left; }
  [[nodiscard]] int GetHeight() const { return m_area.bottom - m_area.top; }

 private:
  CArea CutStart(LONG RECT::*start, LONG RECT::*end, int size, int gap);
  CArea CutEnd(LONG RECT::*start, LONG RECT::*end, int size, int gap);

  RECT m_area;
};

// Moves the children of one window all at once, so that nothing is drawn in between.
class CMover {
 public:
  // `keepsPictures`: controls that move take along what is drawn. Not where some have just been shown: at the
  // old place there may be the picture of another one.
  explicit CMover(HWND parent, bool keepsPictures = false)
      : m_parent(parent), m_keepsPictures(keepsPictures), m_moves(BeginDeferWindowPos(40)) {}
  CMover(const CMover&) = delete;
  CMover& operator=(const CMover&) = delete;
  ~CMover() {
    if (m_moves) EndDeferWindowPos(m_moves);
  }
  void Place(UINT identifier, const CArea& area);

 private:
  HWND m_parent;
  bool m_keepsPictures;
  HDWP m_moves;
};

}  // namespace tolvane
