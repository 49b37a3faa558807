// The list of recent files on the first page: as much of each path as there is room for.
#pragma once

#include <string>
#include <vector>

#include "ui/win/Dpi.h"
#include "ui/win/Fonts.h"
#include "ui/win/Window.h"

namespace tolvane {

class CRecentList {
 public:
  void Attach(HWND list) { m_list = list; }
  void SetPaths(const std::vector<std::u16string>& paths) { m_paths = paths; }
  [[nodiscard]] bool IsEmpty() const { return m_paths.empty(); }
  // Again, when its width or its font has changed.
  void Show(CDpi dpi, const CFont& font) const;
  // The path of the selected line; empty without one.
  [[nodiscard]] std::u16string GetChosen() const;

 private:
  HWND m_list = nullptr;
  std::vector<std::u16string> m_paths;
};

}  // namespace tolvane
