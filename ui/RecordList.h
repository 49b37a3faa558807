// The record preview: a list of as many rows as the record store holds, of which it asks only for those on
// the screen. One cell is the current one; it is framed, shown in full beside the list and copied.
#pragma once

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>

#include <functional>
#include <optional>
#include <vector>

#include "app/RecordStore.h"
#include "ui/RecordCopy.h"
#include "ui/win/Dpi.h"
#include "ui/win/Window.h"

namespace tolvane {

class CRecordList : public CWnd {
 public:
  // Called after another cell has become the current one, and when the user asks for its whole value.
  struct SActions {
    std::function<void()> onCellChanged;
    std::function<void()> onCellOpened;
  };

  bool Create(HWND parent, UINT identifier, SActions actions);
  // Null while there is none. Must outlive its use here.
  void SetRecords(const CRecordStore* records) { m_records = records; }
  // Columns and rows that have come since; begins anew when the store was cleared.
  void Refresh();
  void Rescale(CDpi dpi);

  // The current cell; none without a focused row.
  [[nodiscard]] std::optional<CRecordStore::SPlace> GetPlace() const;
  [[nodiscard]] POINT GetCellPoint() const;  // below it, on the screen
  void GoTo(CRecordStore::SPlace place);
  [[nodiscard]] std::u16string GetHeading(size_t column) const;
  [[nodiscard]] size_t GetRowCount() const { return m_rows; }

  // The whole value of the current cell, to the clipboard.
  bool CopyCell() const;
  // Of the selected rows, columns separated by tabs.
  void BeginCopy(CRecordCopy& copy, bool hasHeadings) const;
  [[nodiscard]] size_t GetSelectedCount() const;
  void SelectAll() const;

  // From the parent's WM_NOTIFY.
  LRESULT OnNotify(NMHDR* header);

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

 private:
  class CPauseDrawing;

  void Reset();
  void AddColumns();
  void FitColumns(size_t rows);
  [[nodiscard]] LRESULT WidthOf(std::u16string_view text) const;
  void WidenLastColumn() const;
  [[nodiscard]] int GetFocusedRow() const;
  void SetColumn(size_t column);
  void ShowColumn() const;
  bool OnKey(WPARAM key);
  void OnGetDisplayInfo(NMLVDISPINFOW& info) const;
  void OnClick(const NMITEMACTIVATE& click);
  [[nodiscard]] LRESULT OnCustomDraw(NMLVCUSTOMDRAW& draw) const;
  [[nodiscard]] RECT GetCellArea(int row) const;
  void FrameCell(HDC context, int row) const;

  SActions m_actions;
  const CRecordStore* m_records = nullptr;
  uint32_t m_generation = 0;
  std::vector<CRecordStore::SColumn> m_columns;
  size_t m_rows = 0;
  size_t m_column = 0;  // of the current cell
  CDpi m_dpi;
};

}  // namespace tolvane
