#include "ui/win/Dpi.h"

namespace tolvane {

namespace {

// The functions for single displays came with Windows 10; older systems have one DPI for all.
template <class T>
T FindSystemFunction(const char* name) {
  return reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), name)));
}

UINT GetSystemDpi() {
  const HDC screen = GetDC(nullptr);
  const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return static_cast<UINT>(dpi);
}

}  // namespace

CDpi CDpi::Of(HWND window) {
  static const auto ask = FindSystemFunction<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
  const UINT dpi = ask ? ask(window) : 0;
  return CDpi(dpi != 0 ? dpi : GetSystemDpi());
}

LOGFONTW CDpi::GetMessageFont() const {
  static const auto ask =
      FindSystemFunction<BOOL(WINAPI*)(UINT, UINT, PVOID, UINT, UINT)>("SystemParametersInfoForDpi");
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof(metrics);
  if (ask && ask(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0, m_dpi)) return metrics.lfMessageFont;
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
  metrics.lfMessageFont.lfHeight =
      MulDiv(metrics.lfMessageFont.lfHeight, static_cast<int>(m_dpi), static_cast<int>(GetSystemDpi()));
  return metrics.lfMessageFont;
}

}  // namespace tolvane
