// Menus in dark colours. The system draws light ones only: in the dark theme the program draws the items of
// its menus itself, which keep their texts for the keyboard and for readers of screens; in others the system
// does.
#pragma once

#include <windows.h>
// After windows.h, whose types it needs.
#include <oleacc.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ui/win/Dpi.h"
#include "ui/win/Fonts.h"

namespace tolvane {

// The menus of one window. Main thread.
class CDarkMenu {
 public:
  // The bar, anew after another theme, scaling or font.
  void ApplyToBar(HWND window, CDpi dpi);
  // A menu that opens and has its items.
  void ApplyToMenu(HMENU menu) { Apply(menu, false); }
  // After the system has drawn the frame of the window, which draws the bar in light colours whatever its
  // items ask for.
  void PaintBar(HWND window) const;
  // WM_MEASUREITEM, WM_DRAWITEM and WM_MENUCHAR of the window; nothing when they are not about a drawn menu.
  std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

 private:
  // What an item's data points to: in front what readers of screens look for.
  struct SItem {
    MSAAMENUINFO accessible{};
    std::wstring text;  // with its key behind a tab
    bool isInBar = false;
    bool isLine = false;
    bool isMarked = false;
  };

  void Apply(HMENU menu, bool isBar);
  void Measure(MEASUREITEMSTRUCT& measure) const;
  void Draw(const DRAWITEMSTRUCT& draw) const;
  [[nodiscard]] std::optional<LRESULT> FindKey(wchar_t key, HMENU menu) const;

  std::map<HMENU, std::vector<std::unique_ptr<SItem>>> m_items;
  CDpi m_dpi;
  CFont m_font;
};

}  // namespace tolvane
