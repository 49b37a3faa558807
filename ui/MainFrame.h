// The main window: menu, keys, timers, progress and the way out, around the view with the pages.
#pragma once

#include <memory>

#include "app/FrontEnd.h"
#include "app/OverallProgress.h"
#include "app/RecentFiles.h"
#include "app/RepairWorkflow.h"
#include "dao/dao.h"
#include "platform/ProcessManager.h"
#include "store/WorkFolder.h"
#include "ui/FrameCommands.h"
#include "ui/OrlinVexaFileScanView.h"
#include "ui/Profile.h"
#include "ui/TaskbarButton.h"
#include "ui/WindowDialogs.h"
#include "ui/win/DarkMenu.h"
#include "ui/win/DarkParts.h"
#include "ui/win/Window.h"

namespace tolvane {

class CMainFrame : public CWnd, public CMainFrameWindow {
 public:
  // All must outlive the frame; the run's folder is removed when the process ends.
  CMainFrame(CProfile& profile, CRecentFiles& recentFiles, CRunFolder& runFolder);

  static bool RegisterFrameClass();
  // With the first page shown; a path that is not empty is selected.
  bool Create(std::u16string_view path);
  // True when the message was a key of the window's own.
  bool TranslateKeys(MSG& message);
  // As it was when the program ended last.
  [[nodiscard]] bool IsToBeMaximised() const { return m_isMaximised; }

  // CMainFrameWindow
  void SetTimer(uint32_t identifier, uint32_t milliseconds) override;
  void KillTimer(uint32_t identifier) override;
  void ShowProgressBar(bool isShown) override;
  void StepProgressBar() override;
  void ResetProgressBar() override;
  void RefreshProgress() override;
  void EnableCommands(const SCommandSwitches& switches) override;
  void KeepPainting() override { DispatchPaintMessages(); }
  void RestoreIfMinimised() override;
  void ShowNotice(std::u16string_view text) override;  // in the status bar
  void EndProcess() override;

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void TakeFirstPlace();
  bool CreateChildren();
  bool CreateWorkflow();
  void OnDrop(WPARAM drop);
  void OnDpiChanged(UINT dpi, const RECT& area);
  void OnGetMinMaxInfo(MINMAXINFO& info) const;
  void ApplyDpi(CDpi dpi);
  void ApplyTheme();
  void FollowAppearance(UINT message);
  void CallUser() const;
  void Arrange();
  void UpdateTitle();

  CProfile& m_profile;
  CRecentFiles& m_recentFiles;
  CRunFolder& m_runFolder;
  CWindowDialogs m_dialogs;
  COrlinVexaFileScanView m_view;
  CFrameCommands m_commands;
  CProcessManager m_processes;
  std::unique_ptr<CDaoEngine> m_engine;
  std::unique_ptr<CRepairWorkflow> m_workflow;
  CTaskbarButton m_taskbar;
  COverallProgress m_progress;
  CDarkMenu m_menus;
  CStatusBar m_statusPane;
  HWND m_statusBar = nullptr;
  HWND m_activityBar = nullptr;
  CDpi m_dpi;
  CFont m_statusFont;
  HACCEL m_keys = nullptr;
  bool m_isMaximised = false;  // at the start
  bool m_isBusy = false;       // between showing and hiding the progress bar
};

}  // namespace tolvane
