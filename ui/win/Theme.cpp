#include "ui/win/Theme.h"

#include <array>
#include <utility>

namespace tolvane {

namespace {

constexpr wchar_t kPersonalise[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
constexpr wchar_t kLightPrograms[] = L"AppsUseLightTheme";
// Of the window manager's attributes: the caption follows the dark colours.
constexpr DWORD kDarkCaption = 20;

// The colours of dark windows, by the system's numbers.
constexpr std::array<std::pair<int, COLORREF>, 12> kDarkColours{{
    {COLOR_WINDOW, RGB(32, 32, 32)},
    {COLOR_WINDOWTEXT, RGB(240, 240, 240)},
    {COLOR_BTNFACE, RGB(45, 45, 45)},
    {COLOR_BTNTEXT, RGB(240, 240, 240)},
    {COLOR_BTNSHADOW, RGB(96, 96, 96)},
    {COLOR_BTNHIGHLIGHT, RGB(64, 64, 64)},
    {COLOR_GRAYTEXT, RGB(165, 165, 165)},
    {COLOR_HIGHLIGHT, RGB(0, 99, 177)},
    {COLOR_HIGHLIGHTTEXT, RGB(255, 255, 255)},
    {COLOR_MENU, RGB(45, 45, 45)},
    {COLOR_MENUTEXT, RGB(240, 240, 240)},
    {COLOR_3DLIGHT, RGB(70, 70, 70)},
}};

struct SBrushes {
  std::array<HBRUSH, kDarkColours.size()> dark{};
  SBrushes() {
    for (size_t i = 0; i < dark.size(); ++i) dark[i] = CreateSolidBrush(kDarkColours[i].second);
  }
  SBrushes(const SBrushes&) = delete;
  SBrushes& operator=(const SBrushes&) = delete;
  ~SBrushes() {
    for (const HBRUSH brush : dark) DeleteObject(brush);
  }
};

// A function of a library that older systems do not have.
template <class F>
F FindFunction(const wchar_t* library, const char* name) {
  const HMODULE module = LoadLibraryW(library);
  return module ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}

bool HasHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof(contrast);
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0) &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

bool WantsDark() {
  DWORD isLight = 1;
  DWORD size = sizeof(isLight);
  RegGetValueW(HKEY_CURRENT_USER, kPersonalise, kLightPrograms, RRF_RT_REG_DWORD, nullptr, &isLight, &size);
  return isLight == 0;
}

size_t FindDark(int index) {
  size_t at = 0;
  while (at < kDarkColours.size() && kDarkColours[at].first != index) ++at;
  return at;
}

}  // namespace

CTheme& CTheme::Get() {
  static CTheme theme;
  return theme;
}

bool CTheme::Refresh() {
  const bool wasDark = m_isDark, wasHighContrast = m_isHighContrast;
  m_isHighContrast = HasHighContrast();
  m_isDark = !m_isHighContrast && WantsDark();
  return wasDark != m_isDark || wasHighContrast != m_isHighContrast;
}

COLORREF CTheme::GetColour(int index) const {
  const size_t at = m_isDark ? FindDark(index) : kDarkColours.size();
  return at < kDarkColours.size() ? kDarkColours[at].second : GetSysColor(index);
}

HBRUSH CTheme::GetBrush(int index) const {
  static const SBrushes brushes;
  const size_t at = m_isDark ? FindDark(index) : kDarkColours.size();
  return at < kDarkColours.size() ? brushes.dark[at] : GetSysColorBrush(index);
}

void CTheme::ApplyToFrame(HWND window) const {
  using SetAttribute = HRESULT(WINAPI*)(HWND, DWORD, LPCVOID, DWORD);
  static const auto set = FindFunction<SetAttribute>(L"dwmapi.dll", "DwmSetWindowAttribute");
  const BOOL isDark = m_isDark ? TRUE : FALSE;
  if (set) set(window, kDarkCaption, &isDark, sizeof(isDark));
}

// Buttons with a mark beside their text are drawn by the system's theme in black; without a theme they ask
// for their colours.
void CTheme::ApplyToControl(HWND control) const {
  using SetTheme = HRESULT(WINAPI*)(HWND, LPCWSTR, LPCWSTR);
  static const auto set = FindFunction<SetTheme>(L"uxtheme.dll", "SetWindowTheme");
  if (!set) return;
  wchar_t name[32] = L"";
  GetClassNameW(control, name, 32);
  const LONG_PTR kind = GetWindowLongPtrW(control, GWL_STYLE) & BS_TYPEMASK;
  const bool isMarked = lstrcmpiW(name, L"Button") == 0 && kind != BS_PUSHBUTTON && kind != BS_DEFPUSHBUTTON;
  const bool isPlain = isMarked || lstrcmpiW(name, L"msctls_progress32") == 0;
  const bool isList = lstrcmpiW(name, L"ComboBox") == 0;
  if (!m_isDark)
    set(control, nullptr, nullptr);
  else if (isPlain)
    set(control, L"", L"");
  else
    set(control, isList ? L"DarkMode_CFD" : L"DarkMode_Explorer", nullptr);
}

LRESULT CTheme::ColourControl(HDC context, int background, int text) const {
  SetTextColor(context, GetColour(text));
  SetBkColor(context, GetColour(background));
  return reinterpret_cast<LRESULT>(GetBrush(background));
}

}  // namespace tolvane
