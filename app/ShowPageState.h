// The page that the main view is on.
#pragma once

#include <cstdint>

namespace tolvane {

class CMainViewWindow;

enum class EPageState : uint32_t {
  ModeSelection = 0,  // which of the two ways to repair
  FileSelected = 1,   // the file is chosen; saving is disabled
  Repairing = 2,      // progress, status line, log; only Stop is enabled
  Repaired = 3,       // tree of recovered tables and preview; saving is enabled
  Saving = 4,         // progress and status line; only Stop is enabled
  Saved = 5,          // done
};

// The page state and the view whose controls it shows and hides. Main thread only.
class CShowPageState {
 public:
  // Not owned; null shows nothing.
  void SetView(CMainViewWindow* view) { m_view = view; }
  [[nodiscard]] EPageState GetState() const { return m_state; }
  void SetState(EPageState state) { m_state = state; }
  // 1, 2, 3 -> FileSelected; 4, 5 -> Repaired; 0 stays.
  void Back();
  void UpdatePages(bool isTemplateMode) const;

 private:
  EPageState m_state = EPageState::ModeSelection;
  CMainViewWindow* m_view = nullptr;
};

}  // namespace tolvane
