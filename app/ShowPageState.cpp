#include "app/ShowPageState.h"

#include "app/FrontEnd.h"

namespace tolvane {

void CShowPageState::Back() {
  switch (m_state) {
    case EPageState::ModeSelection:
      break;
    case EPageState::FileSelected:
    case EPageState::Repairing:
    case EPageState::Repaired:
      m_state = EPageState::FileSelected;
      break;
    case EPageState::Saving:
    case EPageState::Saved:
      m_state = EPageState::Repaired;
      break;
  }
}

void CShowPageState::UpdatePages(bool isTemplateMode) const {
  if (m_view) m_view->ShowPage(m_state, isTemplateMode);
}

}  // namespace tolvane
