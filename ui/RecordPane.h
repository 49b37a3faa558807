// The records of the selected table: the list, the search through it and the value of the current cell. Its
// controls are the view's, which shows, hides and places them.
#pragma once

#include <functional>
#include <string_view>

#include "app/RepairWorkflow.h"
#include "ui/ReadOnlyEdit.h"
#include "ui/RecordCopy.h"
#include "ui/RecordList.h"
#include "ui/RecordSearch.h"
#include "ui/win/Fonts.h"

namespace tolvane {

class CRecordPane {
 public:
  // Of the view, whose WM_TIMER calls ContinueFind.
  static constexpr UINT_PTR kFindTimer = 2;
  static constexpr UINT_PTR kCopyTimer = 3;  // and ContinueCopy

  // One of IDC_FIND, IDC_RECORDS and IDC_CELL.
  bool CreateControl(HWND view, UINT identifier);
  // Both must outlive the pane's use.
  void SetWorkflow(CRepairWorkflow& workflow);
  void SetFonts(const SFonts& fonts, CDpi dpi);
  // Takes short messages about what was found or copied; the empty one ends the one before.
  void SetNotice(std::function<void(std::u16string_view)> notice) { m_notice = std::move(notice); }

  // Rows that have come since.
  void Refresh();
  void ShowCell();
  // The same rows, whose values are written otherwise.
  void ShowAgain();
  void ShowWholeCell();
  // The bytes of an object or an attached file, to a file.
  void SaveValue();
  // Where a menu about the current cell opens, on the screen.
  [[nodiscard]] POINT GetCellPoint() const { return m_list.GetCellPoint(); }
  void BeginFind();
  void FindNext();
  void ContinueFind();
  // Ends a search or a copying; false when there was none.
  bool Cancel();
  // The current cell; with several rows selected, these.
  void Copy();
  // The selected rows below a line of headings.
  void CopyRows(bool hasHeadings = true);
  void ContinueCopy();
  void SelectAll() const { m_list.SelectAll(); }

  [[nodiscard]] bool IsList(HWND window) const { return window == m_list.GetHandle(); }
  [[nodiscard]] bool IsFind(HWND window) const { return window == m_find.GetHandle(); }
  // From the view's WM_NOTIFY, when it comes from the list.
  LRESULT OnNotify(NMHDR* header) { return m_list.OnNotify(header); }

 private:
  void SetLabel(UINT identifier, std::u16string_view text) const;
  void UpdateCount();
  [[nodiscard]] const CFont& GetCellFont() const;
  void Say(std::u16string_view text) const;
  void FinishCopy();

  HWND m_view = nullptr;
  CRepairWorkflow* m_workflow = nullptr;
  const SFonts* m_fonts = nullptr;
  std::function<void(std::u16string_view)> m_notice;
  CReadOnlyEdit m_find;
  CReadOnlyEdit m_cell;
  CRecordList m_list;
  CRecordSearch m_search;
  CRecordCopy m_copy;
};

}  // namespace tolvane
