#include "ui/RecentList.h"

#include <string_view>

#include "app/RecentFiles.h"
#include "platform/Wide_win.h"

namespace tolvane {

void CRecentList::Show(CDpi dpi, const CFont& font) const {
  const CWnd list(m_list);
  const int room = list.GetClientArea().right - dpi.Scale(8);
  const LRESULT selected = list.Send(LB_GETCURSEL);
  list.Send(WM_SETREDRAW, FALSE);
  list.Send(LB_RESETCONTENT);
  for (const std::u16string& path : m_paths) {
    const std::u16string shown = ShortenPath(
        path, [&](std::u16string_view text) { return font.GetTextWidth(ToWide(text).c_str()) <= room; });
    list.Send(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(ToWide(shown).c_str()));
  }
  list.Send(LB_SETCURSEL, static_cast<WPARAM>(selected));
  list.Send(WM_SETREDRAW, TRUE);
  list.Invalidate();
}

std::u16string CRecentList::GetChosen() const {
  const auto index = CWnd(m_list).Send(LB_GETCURSEL);
  return index >= 0 && static_cast<size_t>(index) < m_paths.size() ? m_paths[static_cast<size_t>(index)]
                                                                   : std::u16string();
}

}  // namespace tolvane
