// The view: the pages of the program in one window, whose controls are shown and hidden page by page. It
// draws and asks; what happens is the workflow's.
#pragma once

#include <functional>
#include <vector>

#include "app/FrontEnd.h"
#include "app/RepairWorkflow.h"
#include "ui/AccessProgressCtrl.h"
#include "ui/LogEdit.h"
#include "ui/ModeButtons.h"
#include "ui/PageMapControl.h"
#include "ui/ReadOnlyEdit.h"
#include "ui/RecentList.h"
#include "ui/RecordPane.h"
#include "ui/Splitters.h"
#include "ui/TreeControl.h"
#include "ui/ViewLayout.h"
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
  void ApplyTheme() const;
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
  void RestoreFocus();
  void KeepFocus();
  // The status bar's text.
  void SetNotice(std::function<void(std::u16string_view)> notice);

  // Commands.
  void Copy();
  void CopyLog();
  void SelectAll() const;
  [[nodiscard]] const CLogEditView& GetLog() const { return m_log; }
  [[nodiscard]] std::u16string GetChosenRecentFile() const { return m_recentFiles.GetChosen(); }
  // The name of the table that is looked at; empty without one.
  [[nodiscard]] std::u16string GetSelectedTable() const;
  [[nodiscard]] bool HasRecords() const { return m_state.page == EPageState::Repaired && IsTableShown(); }
  // For the commands of the menu, while there are records.
  [[nodiscard]] CRecordPane& GetRecords() { return m_records; }

  // CMainViewWindow
  void ShowPage(EPageState page, bool isTemplateMode) override;
  void SetSelectedFile(std::u16string_view path) override;
  void SetTemplateFile(std::u16string_view path) override;
  void SetHint(std::u16string_view text) override;
  void SetStatusLine(std::u16string_view text) override;
  void SetSummary(std::u16string_view text) override;
  void SetLogText(std::u16string_view text) override { m_log.SetLogText(text); }
  void ClearLog() override { m_log.ClearLog(); }
  void SetTables(const std::vector<STableItem>& tables) override;
  void SetObjects(const std::vector<SObjectItem>& items) override { m_tree.SetObjects(items); }
  void RefreshRecords() override;
  void SetOutputPath(std::u16string_view path) override;

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  bool CreateControls();
  void ApplyFonts();
  void UpdateVisibility();
  void UpdateTexts();
  void Arrange(bool isPageTheSame = false);
  void ShowReview();
  void ShowSummaryScroller() const;
  [[nodiscard]] bool IsTableShown() const { return m_state.review == EReview::Table; }
  [[nodiscard]] bool IsShownHere(UINT identifier) const;
  [[nodiscard]] UINT GetDefaultButton() const;
  [[nodiscard]] UINT GetFirstFocus() const;

  void OnCommand(UINT identifier, UINT notification);
  LRESULT OnNotify(NMHDR* header);
  void OnTreeChanged();
  bool OnContextMenu(HWND control, POINT point);
  [[nodiscard]] EReview GetReview() const;
  void OnTimer(UINT_PTR timer);
  void WatchRecords();
  [[nodiscard]] LRESULT OnControlColour(HDC context, HWND control) const;
  void Paint();

  CRepairWorkflow* m_workflow = nullptr;
  std::function<void(std::u16string_view)> m_notice;
  std::function<void()> m_watch;
  SLayoutState m_state;
  SCommandSwitches m_switches;
  CDpi m_dpi;
  SFonts m_fonts;
  CRdBtnStandardMode m_standardMode;
  CRdBtnAdvanceMode m_advanceMode;
  CReadOnlyEdit m_file;
  CReadOnlyEdit m_template;
  CReadOnlyEdit m_output;
  CReadOnlyEdit m_summary;
  CAccessProgressCtrl m_progress;
  CLogEditView m_log;
  CTreeControl m_tree;
  CRecordPane m_records;
  CPageMapControl m_map;
  CRecentList m_recentFiles;
  CSplitters m_splitters;
  int m_commandTop = 0;
  HWND m_focus = nullptr;
  bool m_isMapDue = false;   // the pages were not all known when the map was drawn
  bool m_isPageNew = false;  // the keyboard has not been moved there yet
};

}  // namespace tolvane
