// The view: the pages of the program in one window, whose controls are shown and hidden page by page. It
// draws and asks; what happens is the workflow's.
#pragma once

#include <functional>
#include <vector>

#include "app/FrontEnd.h"
#include "app/RepairWorkflow.h"
#include "ui/PageFocus.h"
#include "ui/Splitters.h"
#include "ui/ViewCommands.h"
#include "ui/ViewLayout.h"
#include "ui/ViewParts.h"
#include "ui/win/Fonts.h"
#include "ui/win/Window.h"

namespace tolvane {

class COrlinVexaFileScanView : public CWnd, public CMainViewWindow {
 public:
  // Without fonts, which come with the first SetDpi.
  bool Create(HWND frame);
  // Before the workflow starts; it must outlive the view.
  void SetWorkflow(CRepairWorkflow& workflow);
  void SetDpi(CDpi dpi);
  // The colours that the user has chosen since.
  void ApplyTheme() const { m_parts.ApplyTheme(m_window); }
  void EnableCommands(const SCommandSwitches& switches);
  // Of the step that runs.
  void RefreshProgress();
  // Of the whole work.
  void ShowOverall(int percent, std::u16string_view text) const;
  // Called every few moments while a worker runs.
  void SetWatch(std::function<void()> watch) { m_watch = std::move(watch); }
  void TakeTypedPaths();
  void SetRecentFiles(const std::vector<std::u16string>& paths);
  // Where the keyboard is when the window becomes active.
  void RestoreFocus() { m_pageFocus.Restore(); }
  void KeepFocus() { m_pageFocus.Keep(); }
  // The status bar's text.
  void SetNotice(std::function<void(std::u16string_view)> notice);

  // Commands.
  [[nodiscard]] CViewCommands& GetCommands() { return m_commands; }
  [[nodiscard]] const CLogEditView& GetLog() const { return m_parts.log; }
  [[nodiscard]] std::u16string GetChosenRecentFile() const { return m_parts.recentFiles.GetChosen(); }
  // The name of the table that is looked at; empty without one.
  [[nodiscard]] std::u16string GetSelectedTable() const;
  [[nodiscard]] bool HasRecords() const { return m_state.page == EPageState::Repaired && IsTableShown(); }
  // For the commands of the menu, while there are records.
  [[nodiscard]] CRecordPane& GetRecords() { return m_parts.records; }

  // CMainViewWindow
  void ShowPage(EPageState page, bool isTemplateMode) override;
  void SetSelectedFile(std::u16string_view path) override;
  void SetTemplateFile(std::u16string_view path) override;
  void SetHint(std::u16string_view text) override;
  void SetStatusLine(std::u16string_view text) override;
  void SetSummary(std::u16string_view text) override;
  void SetLogText(std::u16string_view text) override { m_parts.log.SetLogText(text); }
  void ClearLog() override { m_parts.log.ClearLog(); }
  void SetTables(const std::vector<STableItem>& tables) override;
  void SetObjects(const std::vector<SObjectItem>& items) override { m_parts.tree.SetObjects(items); }
  void RefreshRecords() override;
  void SetOutputPath(std::u16string_view path) override;

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  void UpdateVisibility();
  void UpdateTexts();
  void Arrange(bool isPageTheSame = false);
  void ShowReview();
  void ShowSummaryScroller() const;
  [[nodiscard]] bool IsTableShown() const { return m_state.review == EReview::Table; }
  [[nodiscard]] bool IsShownHere(UINT identifier) const;
  [[nodiscard]] UINT GetDefaultButton() const;

  void OnCommand(UINT identifier, UINT notification);
  LRESULT OnNotify(NMHDR* header);
  void OnTreeChanged();
  [[nodiscard]] EReview GetReview() const;
  void OnTimer(UINT_PTR timer);
  void WatchRecords();
  [[nodiscard]] LRESULT OnControlColour(HDC context, HWND control) const;
  void Paint();

  CRepairWorkflow* m_workflow = nullptr;
  std::function<void()> m_watch;
  SLayoutState m_state;
  SCommandSwitches m_switches;
  CDpi m_dpi;
  SFonts m_fonts;
  SViewParts m_parts;
  CViewCommands m_commands{m_parts};
  CPageFocus m_pageFocus;
  CSplitters m_splitters;
  int m_commandTop = 0;
  bool m_isMapDue = false;  // the pages were not all known when the map was drawn
};

}  // namespace tolvane
