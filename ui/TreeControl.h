// The tree of recovered tables, below the root "Recovered Tables".
#pragma once

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>

#include <optional>
#include <vector>

#include "app/FrontEnd.h"
#include "ui/win/Window.h"

namespace tolvane {

class CTreeControl : public CWnd {
 public:
  bool Create(HWND parent, UINT identifier);
  // Replaces what is below the root. The root is selected, which tells nobody: arrow keys need a place to
  // start.
  void SetTables(const std::vector<STableItem>& tables);
  // Behind the tables.
  void SetObjects(const std::vector<SObjectItem>& items);
  // The name of the selected table without its row count; of an object and a heading the root's text.
  [[nodiscard]] std::u16string GetSelectedName() const;
  [[nodiscard]] bool IsTableSelected() const;
  [[nodiscard]] std::optional<size_t> GetSelectedObject() const;
  // The item under a point of the screen becomes the selected one. Where that is then; for a point that is
  // nowhere, that of the item that is selected already.
  POINT SelectAt(POINT point) const;
  // From the parent's NM_CUSTOMDRAW: the selection is as strong without the keyboard as with it.
  static LRESULT OnCustomDraw(NMTVCUSTOMDRAW& draw);
  // True while the selection changes through SetTables, which is not the user's doing.
  [[nodiscard]] bool IsFilling() const { return m_isFilling; }

 private:
  HTREEITEM Insert(HTREEITEM parent, const std::u16string& text, size_t index) const;
  // What the selected item's parameter says.
  [[nodiscard]] size_t GetSelectedIndex() const;

  HTREEITEM m_root = nullptr;
  std::vector<std::u16string> m_names;  // what an item's parameter counts into; the root is the first
  bool m_isFilling = false;
};

}  // namespace tolvane
