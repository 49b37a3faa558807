#include "ui/ViewLayout.h"

#include <algorithm>

#include "platform/Wide_win.h"
#include "ui/Resource.h"
#include "ui/win/Window.h"

namespace tolvane {

namespace {

// Pixels at 96 DPI.
constexpr int kMargin = 20;
constexpr int kGap = 8;
constexpr int kSectionGap = 20;
constexpr int kIndent = 20;
constexpr int kButtonHeight = 28;
constexpr int kButtonPadding = 32;
constexpr int kNarrowestButton = 92;
constexpr int kEditPadding = 8;
constexpr int kProgressHeight = 18;
constexpr int kRecentLines = 4;
constexpr int kWidestForm = 820;
constexpr int kSummaryLines = 3;
constexpr int kFindWidth = 220;
constexpr int kNarrowestPane = 120;

constexpr UINT kSteps[] = {IDC_STEP_SAVE, IDC_STEP_REVIEW, IDC_STEP_REPAIR, IDC_STEP_CHOOSE};

}  // namespace

CViewLayout::CViewLayout(HWND view, CDpi dpi, const SFonts& fonts, const SLayoutState& state)
    : m_view(view),
      m_dpi(dpi),
      m_fonts(fonts),
      m_state(state),
      m_mover(view),
      m_line(fonts.message.GetLineHeight()) {}

std::wstring CViewLayout::TextOf(UINT identifier) const {
  return ToWide(CWnd(m_view).GetItem(identifier).GetText());
}

void CViewLayout::Arrange() {
  CArea area(CWnd(m_view).GetClientArea());
  ArrangeCommands(area);
  area = area.Inset(Px(kMargin), Px(kGap + kGap / 2));
  ArrangeHeader(area);
  switch (m_state.page) {
    case EPageState::ModeSelection:
    case EPageState::FileSelected:
      ArrangeChoice(area);
      break;
    case EPageState::Repairing:
    case EPageState::Saving:
      ArrangeWork(area);
      break;
    case EPageState::Repaired:
      ArrangeReview(area);
      break;
    case EPageState::Saved:
      ArrangeDone(area);
      break;
  }
}

void CViewLayout::ArrangeHeader(CArea& area) {
  const int titleHeight = m_fonts.title.GetLineHeight();
  CArea titleRow = area.CutTop(titleHeight, Px(kGap / 2));
  CArea steps = titleRow;
  steps.CutTop((titleHeight - Line()) / 2);
  for (const UINT step : kSteps) {
    const int width = m_fonts.bold.GetTextWidth(TextOf(step).c_str());
    m_mover.Place(step, steps.CutRight(width + Px(kGap), Px(kGap)));
  }
  titleRow.CutRight(titleRow.GetWidth() - steps.GetWidth(), Px(kGap));
  m_mover.Place(IDC_TITLE, titleRow);
  const int hint = m_fonts.message.GetTextWidth(TextOf(IDC_HINT).c_str());
  const int hintLines = hint > area.GetWidth() ? 2 : 1;
  m_mover.Place(IDC_HINT, area.CutTop(hintLines * Line(), Px(kSectionGap)));
}

void CViewLayout::PlaceButton(CArea& row, UINT identifier, bool isLeft) {
  const int text = m_fonts.message.GetTextWidth(TextOf(identifier).c_str());
  const int width = std::max(Px(kNarrowestButton), text + Px(kButtonPadding));
  m_mover.Place(identifier, isLeft ? row.CutLeft(width, Px(kGap)) : row.CutRight(width, Px(kGap)));
}

void CViewLayout::ArrangeCommands(CArea& area) {
  CArea bar = area.CutBottom(Px(kButtonHeight + 2 * kGap + kGap));
  m_commandTop = bar.GetRect().top;
  bar = bar.Inset(Px(kMargin), Px(kGap + kGap / 2));
  if (m_state.page == EPageState::Saved) {
    PlaceButton(bar, ID_OPEN_FOLDER, false);
    PlaceButton(bar, ID_NEW_REPAIR, false);
  } else {
    PlaceButton(
        bar, m_state.page == EPageState::Repairing || m_state.page == EPageState::Saving ? ID_STOP : ID_NEXT,
        false);
  }
  PlaceButton(bar, ID_BACK, true);
}

void CViewLayout::ArrangePathLine(CArea& area, UINT label, UINT path, UINT button) {
  m_mover.Place(label, area.CutTop(Line(), Px(kGap / 2)));
  CArea row = area.CutTop(Px(kButtonHeight), Px(kGap));
  if (button != 0) PlaceButton(row, button, false);
  const int height = Line() + Px(kEditPadding);
  row.CutTop((row.GetHeight() - height) / 2);
  m_mover.Place(path, row.CutTop(height));
}

void CViewLayout::ArrangeChoice(CArea area) {
  area = area.CutLeft(std::min(area.GetWidth(), Px(kWidestForm)));
  m_mover.Place(IDC_FILE_HEADING, area.CutTop(Line(), Px(kGap)));
  ArrangePathLine(area, IDC_FILE_LABEL, IDC_FILE, ID_CHOOSE_FILE);
  m_mover.Place(IDC_DROP_NOTE, area.CutTop(Line(), Px(kSectionGap)));
  m_mover.Place(IDC_MODE_HEADING, area.CutTop(Line(), Px(kGap)));
  const int buttonHeight = Line() + Px(4);
  m_mover.Place(IDC_MODE_STANDARD, area.CutTop(buttonHeight));
  m_mover.Place(IDC_MODE_STANDARD_TEXT, area.CutTop(Line(), Px(kGap)).Inset(Px(kIndent), 0));
  m_mover.Place(IDC_MODE_TEMPLATE, area.CutTop(buttonHeight));
  m_mover.Place(IDC_MODE_TEMPLATE_TEXT, area.CutTop(Line(), Px(kGap)).Inset(Px(kIndent), 0));
  if (m_state.isTemplateMode) {
    CArea indented = area;
    const int before = indented.GetHeight();
    indented.CutLeft(Px(kIndent));
    ArrangePathLine(indented, IDC_TEMPLATE_LABEL, IDC_TEMPLATE_FILE, ID_CHOOSE_TEMPLATE);
    area.CutTop(before - indented.GetHeight());
  }
  area.CutTop(Px(kSectionGap - kGap));
  m_mover.Place(IDC_RECENT_LABEL, area.CutTop(Line(), Px(kGap)));
  m_mover.Place(IDC_RECENT_LIST, area.CutTop(kRecentLines * Line() + Px(kEditPadding)));
}

void CViewLayout::ArrangeWork(CArea area) {
  if (m_state.page == EPageState::Saving)
    ArrangePathLine(area, IDC_OUTPUT_LABEL, IDC_OUTPUT, 0);
  else
    ArrangePathLine(area, IDC_FILE_LABEL, IDC_FILE, 0);
  area.CutTop(Px(kGap));
  m_mover.Place(IDC_STATUS_LINE, area.CutTop(Line(), Px(kGap)));
  m_mover.Place(IDC_PROGRESS, area.CutTop(Px(kProgressHeight), Px(kSectionGap)));
  ArrangeLog(area);
}

void CViewLayout::ArrangeLog(CArea area) {
  CArea row = area.CutTop(Px(kButtonHeight), Px(kGap / 2));
  PlaceButton(row, ID_SAVE_LOG, false);
  PlaceButton(row, ID_COPY_LOG, false);
  m_mover.Place(IDC_LOG_LABEL, row.CutBottom(Line(), 0));
  m_mover.Place(IDC_LOG, area);
}

void CViewLayout::ArrangeReview(CArea area) {
  const int widest = std::max(area.GetWidth() - Px(2 * kNarrowestPane), Px(kNarrowestPane));
  CArea tree = area.CutLeft(std::clamp(Px(m_state.treeWidth), Px(kNarrowestPane), widest));
  m_treeSplitter = area.CutLeft(Px(kGap + kGap / 2)).GetRect();
  m_mover.Place(IDC_TREE_LABEL, tree.CutTop(Line(), Px(kGap / 2)));
  m_mover.Place(IDC_TREE, tree);
  m_mover.Place(IDC_SUMMARY_LABEL, area.CutTop(Line(), Px(kGap / 2)));
  if (m_state.review == EReview::Table) {
    ArrangeTable(area);
    return;
  }
  const int tallest = std::max(area.GetHeight() - Px(kNarrowestPane), 0);
  const CArea log = area.CutBottom(std::clamp(Px(m_state.logHeight), 0, tallest));
  m_lowerSplitter = area.CutBottom(Px(kGap)).GetRect();
  m_mover.Place(IDC_SUMMARY, area);
  ArrangeLog(log);
}

void CViewLayout::ArrangeTable(CArea area) {
  m_mover.Place(IDC_SUMMARY, area.CutTop(kSummaryLines * Line() + Px(kEditPadding), Px(kGap)));
  const int tallest = std::max(area.GetHeight() - Px(kNarrowestPane), 0);
  CArea cell = area.CutBottom(std::clamp(Px(m_state.cellHeight), 0, tallest));
  m_lowerSplitter = area.CutBottom(Px(kGap)).GetRect();
  m_mover.Place(IDC_CELL_LABEL, cell.CutTop(Line(), Px(kGap / 2)));
  m_mover.Place(IDC_CELL, cell);

  CArea find = area.CutTop(Px(kButtonHeight), Px(kGap));
  PlaceButton(find, ID_FIND_NEXT, false);
  const int editHeight = Line() + Px(kEditPadding);
  const int textInset = (find.GetHeight() - Line()) / 2;
  CArea edit = find.CutRight(std::min(Px(kFindWidth), find.GetWidth() / 2), Px(kGap));
  edit.CutTop((edit.GetHeight() - editHeight) / 2);
  m_mover.Place(IDC_FIND, edit.CutTop(editHeight));
  find = find.Inset(0, textInset);
  m_mover.Place(IDC_FIND_LABEL,
                find.CutRight(m_fonts.message.GetTextWidth(L"Find:") + Px(kGap / 2), Px(kGap)));
  m_mover.Place(IDC_RECORDS_LABEL, find);
  m_mover.Place(IDC_RECORDS, area);
}

void CViewLayout::ArrangeDone(CArea area) {
  ArrangePathLine(area, IDC_OUTPUT_LABEL, IDC_OUTPUT, 0);
  area.CutTop(Px(kGap));
  m_mover.Place(IDC_SUMMARY_LABEL, area.CutTop(Line(), Px(kGap / 2)));
  const int tallest = std::max(area.GetHeight() - Px(kNarrowestPane), 0);
  const CArea log = area.CutBottom(std::clamp(Px(m_state.logHeight), 0, tallest));
  m_lowerSplitter = area.CutBottom(Px(kGap)).GetRect();
  m_mover.Place(IDC_SUMMARY, area);
  ArrangeLog(log);
}

}  // namespace tolvane
