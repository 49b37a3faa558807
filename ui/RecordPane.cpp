#include "ui/RecordPane.h"

#include "platform/Text.h"
#include "status/Status.h"
#include "ui/CellDialog.h"
#include "ui/Clipboard.h"
#include "ui/Resource.h"

namespace tolvane {

namespace {

// A piece of a search or a copying, and the pause for everything else after it; in milliseconds.
constexpr ULONGLONG kSlice = 80;
constexpr ULONGLONG kCopySlice = 120;
constexpr UINT kPause = 10;
// What the pane shows of a value; the whole of it opens in a window of its own.
constexpr size_t kPaneUnits = 32768;

// An ampersand is no access key.
std::u16string ToLabel(std::u16string_view text) {
  std::u16string label;
  for (const char16_t unit : text) label.append(unit == u'&' ? 2 : 1, unit);
  return label;
}

}  // namespace

bool CRecordPane::CreateControl(HWND view, UINT identifier) {
  m_view = view;
  switch (identifier) {
    case IDC_FIND:
      return m_find.Create(view, identifier, EEditForm::LineToType);
    case IDC_CELL:
      return m_cell.Create(view, identifier, EEditForm::Lines);
    default:
      return m_list.Create(view, identifier, {[this] { ShowCell(); }, [this] { ShowWholeCell(); }});
  }
}

void CRecordPane::SetWorkflow(CRepairWorkflow& workflow) {
  m_workflow = &workflow;
  m_list.SetRecords(&workflow.GetResultView().GetRecords());
}

void CRecordPane::SetFonts(const SFonts& fonts, CDpi dpi) {
  m_fonts = &fonts;
  m_list.Rescale(dpi);
}

void CRecordPane::SetLabel(UINT identifier, std::u16string_view text) const {
  CWnd(m_view).GetItem(identifier).SetText(text);
}

// --- rows and values ---

void CRecordPane::Refresh() {
  m_list.Refresh();
  UpdateCount();
}

void CRecordPane::UpdateCount() {
  if (!m_workflow) return;
  std::u16string text = u"Recor&ds";
  const size_t rows = m_list.GetRowCount();
  const std::u16string problem = m_workflow->GetResultView().GetRecords().GetProblem();
  if (CPreviewThreadStatus::Instance().IsBusy())
    text += u" - reading, " + ToGroupedDecimal(rows) + u" so far";
  else if (rows == 0)
    text += u" - this table has none";
  else
    text += u" - " + ToGroupedDecimal(rows) + (rows == 1 ? u" row" : u" rows");
  if (!problem.empty()) text += u", no more can be shown: " + ToLabel(problem);
  SetLabel(IDC_RECORDS_LABEL, text);
}

void CRecordPane::ShowCell() {
  const auto place = m_list.GetPlace();
  std::u16string label = u"&Value - select a row of the list to read its values in full";
  std::u16string value;
  if (m_workflow && place) {
    label = u"&Value - row " + ToGroupedDecimal(place->item + 1) + u", " +
            ToLabel(m_list.GetHeading(place->column));
    value = m_workflow->GetResultView().DescribeValue(*place, kPaneUnits + 1);
    if (value.size() > kPaneUnits) {
      value.resize(kPaneUnits);
      label += u" - its beginning; press Enter in the list for the whole value";
    }
  }
  SetLabel(IDC_CELL_LABEL, label);
  m_cell.SetFont(GetCellFont().GetHandle());
  m_cell.SetText(ToEditText(value));
}

void CRecordPane::ShowAgain() {
  if (!m_fonts) return;  // nothing is shown yet
  m_list.Invalidate();
  ShowCell();
}

// The bytes of an object stand below each other.
const CFont& CRecordPane::GetCellFont() const {
  const auto place = m_list.GetPlace();
  return m_workflow && place && m_workflow->GetResultView().IsObject(place->column) ? m_fonts->fixed
                                                                                    : m_fonts->message;
}

void CRecordPane::ShowWholeCell() {
  const auto place = m_list.GetPlace();
  if (!m_workflow || !place) return;
  CCellDialog dialog(m_list.GetHeading(place->column) + u" - row " + ToGroupedDecimal(place->item + 1),
                     m_workflow->GetResultView().DescribeValue(*place), GetCellFont());
  dialog.DoModal(GetParent(m_view));
}

void CRecordPane::SaveValue() {
  const auto place = m_list.GetPlace();
  if (!m_workflow || !place || !m_workflow->SaveValue(*place))
    Say(u"This value is no object and no attached file; copy it instead.");
}

// --- search ---

void CRecordPane::BeginFind() {
  SetFocus(m_find.GetHandle());
  m_find.SelectAll();
}

void CRecordPane::FindNext() {
  const std::u16string text = m_find.GetText();
  if (text.empty()) return BeginFind();
  m_search.Begin(text, m_list.GetPlace());
  Say(u"Searching...");
  ContinueFind();
}

bool CRecordPane::Cancel() {
  const bool isCopying = m_copy.GetState() == CRecordCopy::EState::Copying;
  if (!isCopying && m_search.GetState() != CRecordSearch::EState::Searching) return false;
  m_search.Cancel();
  m_copy.Cancel();
  KillTimer(m_view, kCopyTimer);
  Say(isCopying ? u"Nothing was copied." : u"");
  return true;
}

void CRecordPane::ContinueFind() {
  if (!m_workflow) return;
  const ULONGLONG end = GetTickCount64() + kSlice;
  do {
    m_search.Continue(m_workflow->GetResultView().GetRecords());
  } while (m_search.GetState() == CRecordSearch::EState::Searching && GetTickCount64() < end);
  switch (m_search.GetState()) {
    case CRecordSearch::EState::Searching:
      SetTimer(m_view, kFindTimer, kPause, nullptr);
      return;
    case CRecordSearch::EState::Found:
      m_list.GoTo(m_search.GetPlace());
      Say(u"Found \"" + m_search.GetText() + u"\" in row " + ToGroupedDecimal(m_search.GetPlace().item + 1) +
          u".");
      break;
    case CRecordSearch::EState::NotFound:
      Say(u"\"" + m_search.GetText() + u"\" is not in this table.");
      MessageBeep(MB_OK);
      break;
    case CRecordSearch::EState::Idle:
      break;
  }
  KillTimer(m_view, kFindTimer);
}

// --- copying ---

void CRecordPane::Copy() {
  if (m_list.GetSelectedCount() > 1) return CopyRows(false);
  Say(m_list.CopyCell() ? u"The value was copied." : u"Nothing was copied: select a row first.");
}

void CRecordPane::CopyRows(bool hasHeadings) {
  if (!m_workflow) return;
  if (m_list.GetSelectedCount() == 0) return Say(u"Nothing was copied: select a row first.");
  m_list.BeginCopy(m_copy, hasHeadings);
  ContinueCopy();
}

void CRecordPane::ContinueCopy() {
  switch (m_copy.Continue(GetTickCount64() + kCopySlice)) {
    case CRecordCopy::EState::Copying:
      Say(u"Copying rows: " + ToGroupedDecimal(m_copy.GetRowCount()) + u" of " +
          ToGroupedDecimal(m_list.GetSelectedCount()) + u". Esc stops it.");
      SetTimer(m_view, kCopyTimer, kPause, nullptr);
      return;
    case CRecordCopy::EState::Done:
    case CRecordCopy::EState::PartDone:
      FinishCopy();
      break;
    case CRecordCopy::EState::Idle:
      break;
  }
  KillTimer(m_view, kCopyTimer);
}

void CRecordPane::FinishCopy() {
  const bool isPart = m_copy.GetState() == CRecordCopy::EState::PartDone;
  const bool isCopied = CopyTextToClipboard(m_view, m_copy.GetText());
  const size_t rows = m_copy.GetRowCount();
  m_copy = {};
  if (!isCopied) return Say(u"Nothing was copied: another program uses the clipboard, or memory is short.");
  if (!isPart) return Say(u"The selected rows were copied.");
  Say(u"Only the first " + ToGroupedDecimal(rows) +
      u" of the selected rows were copied: all of them are too much for the clipboard.");
}

// --- messages ---

void CRecordPane::Say(std::u16string_view text) const {
  if (m_notice) m_notice(text);
}

}  // namespace tolvane
