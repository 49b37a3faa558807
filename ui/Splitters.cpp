#include "ui/Splitters.h"

#include <algorithm>

namespace tolvane {

namespace {

// Pixels at 96 DPI.
constexpr int kNarrowest = 120;
constexpr int kLowest = 40;
constexpr int kBelow = 16;  // between the lower part and the buttons

}  // namespace

void CSplitters::Take(const CViewLayout& layout) {
  m_tree = layout.GetTreeSplitter();
  m_lower = layout.GetLowerSplitter();
  m_treeLeft = layout.GetMargin();
  m_bottom = layout.GetCommandTop();
}

CSplitters::EDrag CSplitters::At(POINT point) const {
  if (PtInRect(&m_tree, point)) return EDrag::Tree;
  return PtInRect(&m_lower, point) ? EDrag::Lower : EDrag::None;
}

bool CSplitters::ShowCursor(HWND view) const {
  POINT point{};
  GetCursorPos(&point);
  ScreenToClient(view, &point);
  const EDrag drag = At(point);
  if (drag == EDrag::None) return false;
  SetCursor(LoadCursorW(nullptr, drag == EDrag::Tree ? IDC_SIZEWE : IDC_SIZENS));
  return true;
}

bool CSplitters::Begin(HWND view, POINT point) {
  m_drag = At(point);
  if (m_drag == EDrag::None) return false;
  SetCapture(view);
  return true;
}

bool CSplitters::Drag(POINT point, CDpi dpi, SLayoutState& state) const {
  if (m_drag == EDrag::None) return false;
  if (m_drag == EDrag::Tree) {
    state.treeWidth = std::max(kNarrowest, dpi.Unscale(point.x - m_treeLeft));
  } else {
    const bool isTable = state.page == EPageState::Repaired && state.review == EReview::Table;
    (isTable ? state.cellHeight : state.logHeight) =
        std::max(kLowest, dpi.Unscale(m_bottom - point.y) - kBelow);
  }
  return true;
}

}  // namespace tolvane
