#include "ui/win/Fonts.h"

#include <cwchar>

namespace tolvane {

namespace {

// The log's own face, in pixels at 96 DPI.
constexpr int kLogHeight = 12;
constexpr int kLogWidth = 6;

LOGFONTW MakeBold(LOGFONTW font) {
  font.lfWeight = FW_BOLD;
  return font;
}

LOGFONTW MakeTitle(LOGFONTW font) {
  font.lfHeight = MulDiv(font.lfHeight, 3, 2);
  return font;
}

LOGFONTW MakeFixed(LOGFONTW font) {
  font.lfPitchAndFamily = FIXED_PITCH | FF_MODERN;
  std::wcscpy(font.lfFaceName, L"Consolas");
  return font;
}

LOGFONTW MakeLogFont(CDpi dpi) {
  LOGFONTW font{};
  font.lfHeight = dpi.Scale(kLogHeight);
  font.lfWidth = dpi.Scale(kLogWidth);
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfPitchAndFamily = DEFAULT_PITCH | FF_SWISS;
  wcscpy(font.lfFaceName, L"MS Sans Serif");
  return font;
}

template <class F>
void WithScreen(HFONT font, F measure) {
  const HDC screen = GetDC(nullptr);
  const HGDIOBJ previous = SelectObject(screen, font);
  measure(screen);
  SelectObject(screen, previous);
  ReleaseDC(nullptr, screen);
}

// Its width would distort the face that stands in where it is missing.
CFont MakeLog(CDpi dpi) {
  const LOGFONTW wanted = MakeLogFont(dpi);
  CFont font(wanted);
  wchar_t face[LF_FACESIZE] = L"";
  WithScreen(font.GetHandle(), [&](HDC screen) { GetTextFaceW(screen, LF_FACESIZE, face); });
  return std::wcscmp(face, wanted.lfFaceName) == 0 ? std::move(font) : CFont(dpi.GetMessageFont());
}

}  // namespace

int CFont::GetLineHeight() const {
  TEXTMETRICW metrics{};
  WithScreen(m_font, [&](HDC screen) { GetTextMetricsW(screen, &metrics); });
  return metrics.tmHeight;
}

int CFont::GetTextWidth(const wchar_t* text) const {
  SIZE size{};
  WithScreen(m_font, [&](HDC screen) {
    GetTextExtentPoint32W(screen, text, static_cast<int>(std::wcslen(text)), &size);
  });
  return size.cx;
}

SFonts::SFonts(CDpi dpi)
    : message(dpi.GetMessageFont()),
      bold(MakeBold(dpi.GetMessageFont())),
      title(MakeTitle(dpi.GetMessageFont())),
      log(MakeLog(dpi)),
      fixed(MakeFixed(dpi.GetMessageFont())) {}

}  // namespace tolvane
