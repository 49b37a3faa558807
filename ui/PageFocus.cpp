#include "ui/PageFocus.h"

#include <utility>

#include "ui/Resource.h"

namespace tolvane {

namespace {

UINT GetFirst(EPageState page, bool hasSaveFailed) {
  switch (page) {
    case EPageState::Repairing:
    case EPageState::Saving:
      return ID_STOP;
    case EPageState::Repaired:
      return IDC_TREE;
    case EPageState::Saved:
      return hasSaveFailed ? ID_BACK : ID_OPEN_FOLDER;
    default:
      return ID_NEXT;
  }
}

}  // namespace

void CPageFocus::Keep() {
  const HWND focus = GetFocus();
  if (IsChild(m_view, focus)) m_focus = focus;
}

// Only in the active window: nothing here takes the keyboard from another one.
void CPageFocus::Restore() {
  if (GetActiveWindow() != GetParent(m_view)) return;
  if (!m_focus || !IsWindowVisible(m_focus) || !IsWindowEnabled(m_focus))
    m_focus = GetNextDlgTabItem(m_view, nullptr, FALSE);
  SetFocus(m_focus);
}

void CPageFocus::GoToPage(EPageState page, bool hasSaveFailed) {
  if (!std::exchange(m_isPageNew, false)) return;
  m_focus = GetDlgItem(m_view, static_cast<int>(GetFirst(page, hasSaveFailed)));
  Restore();
}

}  // namespace tolvane
