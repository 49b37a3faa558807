#include "ui/win/Area.h"

#include <algorithm>

namespace tolvane {

CArea CArea::CutTop(int height, int gap) {
  RECT cut = m_area;
  cut.bottom = std::min(cut.top + height, m_area.bottom);
  m_area.top = std::min(cut.bottom + gap, m_area.bottom);
  return CArea(cut);
}

CArea CArea::CutBottom(int height, int gap) {
  RECT cut = m_area;
  cut.top = std::max(cut.bottom - height, m_area.top);
  m_area.bottom = std::max(cut.top - gap, m_area.top);
  return CArea(cut);
}

CArea CArea::CutLeft(int width, int gap) {
  RECT cut = m_area;
  cut.right = std::min(cut.left + width, m_area.right);
  m_area.left = std::min(cut.right + gap, m_area.right);
  return CArea(cut);
}

CArea CArea::CutRight(int width, int gap) {
  RECT cut = m_area;
  cut.left = std::max(cut.right - width, m_area.left);
  m_area.right = std::max(cut.left - gap, m_area.left);
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
