// The map of the damaged file's pages: a cell a page, or several pages when there are many, coloured and
// patterned by what matters most of them. One cell is the current one; what it is stands in the control's
// text, which a screen reader reads.
#pragma once

#include <functional>
#include <string>

#include "app/FilePages.h"
#include "ui/win/Dpi.h"
#include "ui/win/Window.h"

namespace tolvane {

class CPageMapControl : public CWnd {
 public:
  // `onChosen` gets what the current cell is.
  bool Create(HWND parent, UINT identifier, std::function<void(const std::u16string&)> onChosen);
  void SetDpi(CDpi dpi) { m_dpi = dpi; }
  // Must outlive its use here. Again when the pages have become known, or are those of another file.
  void SetPages(const CFilePages* pages);

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void Fit();
  void Paint(HDC context) const;
  void PaintCell(HDC context, size_t cell) const;
  [[nodiscard]] RECT AreaOf(size_t cell) const;
  [[nodiscard]] size_t GetCellCount() const { return m_blocks.GetLooks().size(); }
  void Choose(size_t cell);
  void Click(POINT point);
  bool OnKey(WPARAM key);
  void Tell() const;

  const CFilePages* m_pages = nullptr;
  std::function<void(const std::u16string&)> m_onChosen;
  CDpi m_dpi;
  CPageBlocks m_blocks;  // as many as there is room for
  int m_cell = 0;        // pixels
  size_t m_columns = 1;
  size_t m_current = 0;
  bool m_isChosen = false;
};

}  // namespace tolvane
