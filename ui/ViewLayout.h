// Where the controls of each page lie.
#pragma once

#include <windows.h>

#include <string>

#include "app/ShowPageState.h"
#include "ui/win/Area.h"
#include "ui/win/Dpi.h"
#include "ui/win/Fonts.h"

namespace tolvane {

// What of the last but one page is seen.
enum class EReview : uint8_t { Overview, Table, Object };

struct SLayoutState {
  EPageState page = EPageState::ModeSelection;
  bool isTemplateMode = false;
  EReview review = EReview::Overview;
  int treeWidth = 270;  // pixels at 96 DPI, as all sizes here; the user moves the splitters
  int cellHeight = 96;
  int logHeight = 190;
};

class CViewLayout {
 public:
  // `isPageTheSame`: no control was shown or hidden since the last time.
  CViewLayout(HWND view, CDpi dpi, const SFonts& fonts, const SLayoutState& state, bool isPageTheSame);
  // Moves every control of the page.
  void Arrange();

  // The gaps that the user can drag; empty where the page has none.
  [[nodiscard]] const RECT& GetTreeSplitter() const { return m_treeSplitter; }
  [[nodiscard]] const RECT& GetLowerSplitter() const { return m_lowerSplitter; }
  // Left of everything.
  [[nodiscard]] int GetMargin() const { return m_margin; }
  // Below it lie the buttons, on another background.
  [[nodiscard]] int GetCommandTop() const { return m_commandTop; }

 private:
  void ArrangeHeader(CArea& area);
  void ArrangeCommands(CArea& area);
  void ArrangeChoice(CArea area);
  void ArrangeWork(CArea area);
  void ArrangeReview(CArea area);
  void ArrangeTable(CArea area);
  void ArrangeMap(CArea& area);
  void ArrangeDone(CArea area);
  void ArrangeLog(CArea area);
  void ArrangeMode(CArea& area, UINT button, UINT text);
  CArea CutLower(CArea& area, int wanted, int least);
  void ArrangePathLine(CArea& area, UINT label, UINT path, UINT button);
  void PlaceButton(CArea& row, UINT identifier, bool isLeft);
  [[nodiscard]] std::wstring TextOf(UINT identifier) const;
  [[nodiscard]] int Line() const { return m_line; }
  [[nodiscard]] int Px(int pixels) const { return m_dpi.Scale(pixels); }

  HWND m_view;
  CDpi m_dpi;
  const SFonts& m_fonts;
  const SLayoutState& m_state;
  CMover m_mover;
  int m_line;    // height of a line of text
  bool m_isLow;  // little room from top to bottom
  int m_margin;
  int m_gap;
  int m_sectionGap;
  RECT m_treeSplitter{};
  RECT m_lowerSplitter{};
  int m_commandTop = 0;
};

}  // namespace tolvane
