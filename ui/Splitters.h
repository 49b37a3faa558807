// The gaps between the parts of a page that the user drags.
#pragma once

#include <windows.h>

#include "ui/ViewLayout.h"
#include "ui/win/Dpi.h"

namespace tolvane {

class CSplitters {
 public:
  // Where the layout has put them.
  void Take(const CViewLayout& layout);
  // Each of these takes points of the view. True when the message was about a splitter.
  bool ShowCursor(HWND view) const;
  bool Begin(HWND view, POINT point);
  // While one is dragged, the state follows; true when the page is to be laid out anew.
  bool Drag(POINT point, CDpi dpi, SLayoutState& state) const;
  void End() { m_drag = EDrag::None; }

 private:
  enum class EDrag : uint8_t { None, Tree, Lower };

  [[nodiscard]] EDrag At(POINT point) const;

  RECT m_tree{};
  RECT m_lower{};
  int m_treeLeft = 0;
  int m_bottom = 0;
  EDrag m_drag = EDrag::None;
};

}  // namespace tolvane
