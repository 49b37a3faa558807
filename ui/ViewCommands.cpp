#include "ui/ViewCommands.h"

#include "ui/Clipboard.h"
#include "ui/Resource.h"

namespace tolvane {

void CViewCommands::Copy() {
  const HWND focus = GetFocus();
  if (m_parts.records.IsList(focus)) return m_parts.records.Copy();
  if (focus != m_parts.tree.GetHandle()) {
    SendMessageW(focus, WM_COPY, 0, 0);
    return;
  }
  // Of a table its name, of anything else what is said about it.
  const std::u16string table =
      m_parts.tree.IsTableSelected() ? m_parts.tree.GetSelectedName() : std::u16string();
  const bool isCopied = CopyTextToClipboard(m_view, table.empty() ? m_parts.summary.GetText() : table);
  if (m_notice)
    m_notice(!isCopied       ? u"The clipboard is in use by another program."
             : table.empty() ? u"The summary was copied."
                             : u"The name was copied.");
}

bool CViewCommands::ShowMenu(HWND control, POINT point) {
  const bool isTree = control == m_parts.tree.GetHandle();
  if (!isTree && !m_parts.records.IsList(control)) return false;
  const bool isByKey = point.x == -1 && point.y == -1;
  if (isTree) point = m_parts.tree.SelectAt(point);
  if (!isTree && isByKey) point = m_parts.records.GetCellPoint();
  SetFocus(control);
  const HMENU menu =
      LoadMenuW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(isTree ? IDR_TREE_MENU : IDR_RECORDS_MENU));
  TrackPopupMenu(GetSubMenu(menu, 0), TPM_RIGHTBUTTON, point.x, point.y, 0, GetParent(m_view), nullptr);
  DestroyMenu(menu);
  return true;
}

void CViewCommands::CopyLog() {
  if (!m_notice) return;
  m_notice(m_parts.log.CopyLog() ? u"The log was copied." : u"The clipboard is in use by another program.");
}

void CViewCommands::SelectAll() const {
  const HWND focus = GetFocus();
  if (m_parts.records.IsList(focus)) return m_parts.records.SelectAll();
  SendMessageW(focus, EM_SETSEL, 0, -1);
}

}  // namespace tolvane
