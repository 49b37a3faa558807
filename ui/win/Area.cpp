#include "ui/win/Area.h"

#include <algorithm>

namespace tolvane {

CArea CArea::CutStart(LONG RECT::*start, LONG RECT::*end, int size, int gap) {
  RECT cut = m_area;
  cut.*end = std::min(cut.*start + size, m_area.*end);
  m_area.*start = std::min(cut.*end + gap, m_area.*end);
  return CArea(cut);
}

CArea CArea::CutEnd(LONG RECT::*start, LONG RECT::*end, int size, int gap) {
  RECT cut = m_area;
  cut.*start = std::max(cut.*end - size, m_area.*start);
  m_area.*end = std::max(cut.*start - gap, m_area.*start);
  return CArea(cut);
}

CArea CArea::Inset(int horizontal, int vertical) const {
  CArea inner = *this;
  inner.CutLeft(horizontal);
  inner.CutRight(horizontal);
  inner.CutTop(vertical);
  inner.CutBottom(vertical);
  return inner;
}

void CMover::Place(UINT identifier, const CArea& area) {
  const HWND control = GetDlgItem(m_parent, static_cast<int>(identifier));
  if (!control || !m_moves) return;
  m_moves = DeferWindowPos(m_moves, control, nullptr, area.GetRect().left, area.GetRect().top,
                           area.GetWidth(), area.GetHeight(),
                           SWP_NOZORDER | SWP_NOACTIVATE | (m_keepsPictures ? 0 : SWP_NOCOPYBITS));
}

}  // namespace tolvane
