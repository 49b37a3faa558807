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
constexpr int kStepWidth = 140;  // the bar of one step, beside what is said about it
constexpr int kStepHeight = 12;
constexpr int kRecentLines = 4;
constexpr int kWidestForm = 820;
constexpr int kSummaryLines = 3;
constexpr int kFindWidth = 220;
constexpr int kNarrowestPane = 120;
constexpr int kNarrowestMap = 150;
constexpr int kWidestMap = 340;
constexpr int kMapNoteLines = 4;
// As long as notes of damaged files are.
constexpr wchar_t kMapNote[] =
    L"12,345 pages, damaged: 123, rows or values lost: 12, table definition: 123, rows: 1,234, long values: "
    L"123, usage map: 12, never written: 12";
constexpr int kLowestPane = 160;
// Where there is less than this, what stands below each other moves beside each other, and gaps shrink.
constexpr int kRoomyLines = 15;
constexpr int kRoomyPixels = 290;

constexpr UINT kSteps[] = {IDC_STEP_SAVE, IDC_STEP_REVIEW, IDC_STEP_REPAIR, IDC_STEP_CHOOSE};

}  // namespace

CViewLayout::CViewLayout(HWND view, CDpi dpi, const SFonts& fonts, const SLayoutState& state,
                         bool isPageTheSame)
    : m_view(view),
      m_dpi(dpi),
      m_fonts(fonts),
      m_state(state),
      m_mover(view, isPageTheSame),
      m_line(fonts.message.GetLineHeight()),
      m_isLow(CWnd(view).GetClientArea().bottom < kRoomyLines * m_line + dpi.Scale(kRoomyPixels)),
      m_margin(Px(m_isLow ? kMargin / 2 : kMargin)),
      m_gap(Px(m_isLow ? kGap / 2 : kGap)),
      m_sectionGap(Px(m_isLow ? kGap : kSectionGap)) {}

std::wstring CViewLayout::TextOf(UINT identifier) const {
  return ToWide(CWnd(m_view).GetItem(identifier).GetText());
}

void CViewLayout::Arrange() {
  CArea area(CWnd(m_view).GetClientArea());
  ArrangeCommands(area);
  area = area.Inset(m_margin, m_gap + m_gap / 2);
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
  CArea titleRow = area.CutTop(titleHeight, m_gap / 2);
  CArea steps = titleRow;
  steps.CutTop((titleHeight - Line()) / 2);
  for (const UINT step : kSteps) {
    const int width = m_fonts.bold.GetTextWidth(TextOf(step).c_str());
    m_mover.Place(step, steps.CutRight(width + m_gap, m_gap));
  }
  titleRow.CutRight(titleRow.GetWidth() - steps.GetWidth(), m_gap);
  m_mover.Place(IDC_TITLE, titleRow);
  const int hint = m_fonts.message.GetTextWidth(TextOf(IDC_HINT).c_str());
  const int hintLines = hint > area.GetWidth() ? 2 : 1;
  m_mover.Place(IDC_HINT, area.CutTop(hintLines * Line(), m_sectionGap));
}

void CViewLayout::PlaceButton(CArea& row, UINT identifier, bool isLeft) {
  const int text = m_fonts.message.GetTextWidth(TextOf(identifier).c_str());
  const int width = std::max(Px(kNarrowestButton), text + Px(kButtonPadding));
  m_mover.Place(identifier, isLeft ? row.CutLeft(width, m_gap) : row.CutRight(width, m_gap));
}

void CViewLayout::ArrangeCommands(CArea& area) {
  CArea bar = area.CutBottom(Px(kButtonHeight) + 3 * m_gap);
  m_commandTop = bar.GetRect().top;
  bar = bar.Inset(m_margin, m_gap + m_gap / 2);
  if (m_state.page == EPageState::Saved) {
    PlaceButton(bar, ID_OPEN_FOLDER, false);
    PlaceButton(bar, ID_NEW_REPAIR, false);
  } else {
    PlaceButton(
        bar, m_state.page == EPageState::Repairing || m_state.page == EPageState::Saving ? ID_STOP : ID_NEXT,
        false);
  }
  const bool isChoice = m_state.page <= EPageState::FileSelected;
  PlaceButton(bar, isChoice ? ID_FORWARD : ID_BACK, true);
}

void CViewLayout::ArrangePathLine(CArea& area, UINT label, UINT path, UINT button) {
  if (!m_isLow) m_mover.Place(label, area.CutTop(Line(), m_gap / 2));
  CArea row = area.CutTop(Px(kButtonHeight), m_gap);
  if (m_isLow) {
    const int width = m_fonts.message.GetTextWidth(TextOf(label).c_str());
    m_mover.Place(label, row.CutLeft(width, m_gap).Inset(0, (row.GetHeight() - Line()) / 2));
  }
  if (button != 0) PlaceButton(row, button, false);
  const int height = Line() + Px(kEditPadding);
  row.CutTop((row.GetHeight() - height) / 2);
  m_mover.Place(path, row.CutTop(height));
}

void CViewLayout::ArrangeMode(CArea& area, UINT button, UINT text) {
  CArea row = area.CutTop(Line() + Px(4), m_isLow ? m_gap : 0);
  if (m_isLow) {
    const int mode = m_fonts.message.GetTextWidth(TextOf(IDC_MODE_STANDARD).c_str()) + Px(2 * kIndent);
    m_mover.Place(button, row.CutLeft(mode));
    m_mover.Place(text, row.Inset(0, Px(2)));
  } else {
    m_mover.Place(button, row);
    m_mover.Place(text, area.CutTop(Line(), m_gap).Inset(Px(kIndent), 0));
  }
}

void CViewLayout::ArrangeChoice(CArea area) {
  area = area.CutLeft(std::min(area.GetWidth(), Px(kWidestForm)));
  m_mover.Place(IDC_FILE_HEADING, area.CutTop(Line(), m_gap));
  ArrangePathLine(area, IDC_FILE_LABEL, IDC_FILE, ID_CHOOSE_FILE);
  m_mover.Place(IDC_DROP_NOTE, area.CutTop(Line(), m_sectionGap));
  m_mover.Place(IDC_MODE_HEADING, area.CutTop(Line(), m_gap));
  ArrangeMode(area, IDC_MODE_STANDARD, IDC_MODE_STANDARD_TEXT);
  ArrangeMode(area, IDC_MODE_TEMPLATE, IDC_MODE_TEMPLATE_TEXT);
  if (m_state.isTemplateMode) {
    CArea indented = area;
    const int before = indented.GetHeight();
    indented.CutLeft(Px(kIndent));
    ArrangePathLine(indented, IDC_TEMPLATE_LABEL, IDC_TEMPLATE_FILE, ID_CHOOSE_TEMPLATE);
    area.CutTop(before - indented.GetHeight());
  }
  area.CutTop(m_sectionGap - m_gap);
  m_mover.Place(IDC_RECENT_LABEL, area.CutTop(Line(), m_gap));
  m_mover.Place(IDC_RECENT_LIST, area.CutTop(kRecentLines * Line() + Px(kEditPadding)));
}

void CViewLayout::ArrangeWork(CArea area) {
  if (m_state.page == EPageState::Saving)
    ArrangePathLine(area, IDC_OUTPUT_LABEL, IDC_OUTPUT, 0);
  else
    ArrangePathLine(area, IDC_FILE_LABEL, IDC_FILE, 0);
  area.CutTop(m_gap);
  m_mover.Place(IDC_OVERALL_NOTE, area.CutTop(Line(), m_gap / 2));
  m_mover.Place(IDC_OVERALL, area.CutTop(Px(kProgressHeight), m_gap));
  CArea step = area.CutTop(Line(), m_sectionGap);
  m_mover.Place(IDC_PROGRESS,
                step.CutRight(Px(kStepWidth), m_gap).Inset(0, std::max(0, (Line() - Px(kStepHeight)) / 2)));
  m_mover.Place(IDC_STATUS_LINE, step);
  ArrangeLog(area);
}

// As high as the user wants it, but never so high that the upper part cannot be used, nor lower than `least`.
CArea CViewLayout::CutLower(CArea& area, int wanted, int least) {
  const int tallest = area.GetHeight() - Px(kLowestPane);
  const CArea lower = area.CutBottom(std::max(std::min(Px(wanted), tallest), least));
  m_lowerSplitter = area.CutBottom(m_gap).GetRect();
  return lower;
}

void CViewLayout::ArrangeLog(CArea area) {
  CArea row = area.CutTop(Px(kButtonHeight), m_gap / 2);
  PlaceButton(row, ID_SAVE_LOG, false);
  PlaceButton(row, ID_COPY_LOG, false);
  m_mover.Place(IDC_LOG_LABEL, row.CutBottom(Line(), 0));
  m_mover.Place(IDC_LOG, area);
}

void CViewLayout::ArrangeReview(CArea area) {
  const int widest = std::max(area.GetWidth() - Px(2 * kNarrowestPane), Px(kNarrowestPane));
  CArea tree = area.CutLeft(std::clamp(Px(m_state.treeWidth), Px(kNarrowestPane), widest));
  m_treeSplitter = area.CutLeft(m_gap + m_gap / 2).GetRect();
  m_mover.Place(IDC_TREE_LABEL, tree.CutTop(Line(), m_gap / 2));
  m_mover.Place(IDC_TREE, tree);
  if (m_state.review == EReview::Overview) {
    const CArea log = CutLower(area, m_state.logHeight, Px(kButtonHeight) + m_gap + 2 * Line());
    ArrangeMap(area);
    m_mover.Place(IDC_SUMMARY_LABEL, area.CutTop(Line(), m_gap / 2));
    m_mover.Place(IDC_SUMMARY, area);
    ArrangeLog(log);
    return;
  }
  m_mover.Place(IDC_SUMMARY_LABEL, area.CutTop(Line(), m_gap / 2));
  if (m_state.review == EReview::Table) {
    ArrangeTable(area);
    return;
  }
  m_mover.Place(IDC_SUMMARY, area);
}

// Beside the summary.
void CViewLayout::ArrangeMap(CArea& area) {
  CArea map = area.CutRight(std::clamp(area.GetWidth() * 2 / 5, Px(kNarrowestMap), Px(kWidestMap)),
                            m_gap + m_gap / 2);
  m_mover.Place(IDC_MAP_LABEL, map.CutTop(Line(), m_gap / 2));
  // In a narrow column the words break early; the map gives way to them, down to half of the height.
  const int words = m_fonts.message.GetTextWidth(kMapNote) / std::max(map.GetWidth(), 1) + 2;
  const int most = std::max(map.GetHeight() / 2 / std::max(Line(), 1), 2);
  m_mover.Place(IDC_MAP_NOTE,
                map.CutBottom(std::min(std::max(words, kMapNoteLines), most) * Line(), m_gap / 2));
  m_mover.Place(IDC_MAP, map);
}

void CViewLayout::ArrangeTable(CArea area) {
  m_mover.Place(IDC_SUMMARY, area.CutTop(kSummaryLines * Line() + Px(kEditPadding), m_gap));
  CArea cell = CutLower(area, m_state.cellHeight, m_gap + 2 * Line() + Px(kEditPadding));
  m_mover.Place(IDC_CELL_LABEL, cell.CutTop(Line(), m_gap / 2));
  m_mover.Place(IDC_CELL, cell);

  CArea find = area.CutTop(Px(kButtonHeight), m_gap);
  PlaceButton(find, ID_FIND_NEXT, false);
  const int editHeight = Line() + Px(kEditPadding);
  const int textInset = (find.GetHeight() - Line()) / 2;
  CArea edit = find.CutRight(std::min(Px(kFindWidth), find.GetWidth() / 2), m_gap);
  edit.CutTop((edit.GetHeight() - editHeight) / 2);
  m_mover.Place(IDC_FIND, edit.CutTop(editHeight));
  find = find.Inset(0, textInset);
  m_mover.Place(IDC_FIND_LABEL, find.CutRight(m_fonts.message.GetTextWidth(L"Find:") + m_gap / 2, m_gap));
  m_mover.Place(IDC_RECORDS_LABEL, find);
  m_mover.Place(IDC_RECORDS, area);
}

void CViewLayout::ArrangeDone(CArea area) {
  ArrangePathLine(area, IDC_OUTPUT_LABEL, IDC_OUTPUT, 0);
  area.CutTop(m_gap);
  m_mover.Place(IDC_SUMMARY_LABEL, area.CutTop(Line(), m_gap / 2));
  const CArea log = CutLower(area, m_state.logHeight, Px(kButtonHeight) + m_gap + 2 * Line());
  m_mover.Place(IDC_SUMMARY, area);
  ArrangeLog(log);
}

}  // namespace tolvane
