#include "ui/win/Window.h"

#include <windows.h>
// After windows.h, whose types these need.
#include <commctrl.h>

#include "platform/Wide_win.h"

namespace tolvane {

CWnd::~CWnd() {
  if (m_isSubclassed && IsWindow(m_window)) RemoveWindowSubclass(m_window, ControlProcedure, 0);
}

void CWnd::SetText(std::u16string_view text) const {
  if (GetText() == text) return;
  SetWindowTextW(m_window, ToWide(text).c_str());
}

std::u16string CWnd::GetText() const {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(m_window)) + 1, L'\0');
  text.resize(static_cast<size_t>(GetWindowTextW(m_window, text.data(), static_cast<int>(text.size()))));
  return FromWide(text);
}

void CWnd::Enable(bool isEnabled) const {
  if (!isEnabled && GetFocus() == m_window) SendMessageW(GetParent(m_window), WM_NEXTDLGCTL, 0, FALSE);
  if ((IsWindowEnabled(m_window) != FALSE) != isEnabled) EnableWindow(m_window, isEnabled);
}

RECT CWnd::GetClientArea() const {
  RECT area{};
  GetClientRect(m_window, &area);
  return area;
}

bool CWnd::RegisterWindowClass(const wchar_t* name, int background, UINT icon) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = OwnProcedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = GetSysColorBrush(background);
  windowClass.lpszClassName = name;
  if (icon != 0) {
    const auto load = [&](int size) {
      return static_cast<HICON>(LoadImageW(windowClass.hInstance, MAKEINTRESOURCEW(icon), IMAGE_ICON,
                                           GetSystemMetrics(size), GetSystemMetrics(size), LR_SHARED));
    };
    windowClass.hIcon = load(SM_CXICON);
    windowClass.hIconSm = load(SM_CXSMICON);
  }
  return RegisterClassExW(&windowClass) != 0;
}

bool CWnd::CreateOwn(const wchar_t* className, const wchar_t* title, SStyle style, HWND parent,
                     HMENU menuOrIdentifier) {
  const int place = (style.style & WS_CHILD) != 0 ? 0 : CW_USEDEFAULT;
  return CreateWindowExW(style.exStyle, className, title, style.style, place, place, place, place, parent,
                         menuOrIdentifier, GetModuleHandleW(nullptr), this) != nullptr;
}

bool CWnd::CreateControl(const wchar_t* className, const wchar_t* text, SStyle style, HWND parent,
                         UINT identifier) {
  const HWND control = CreateWindowExW(style.exStyle, className, text, style.style | WS_CHILD, 0, 0, 0, 0,
                                       parent, reinterpret_cast<HMENU>(static_cast<UINT_PTR>(identifier)),
                                       GetModuleHandleW(nullptr), nullptr);
  if (!control) return false;
  Subclass(control);
  return true;
}

void CWnd::Subclass(HWND control) {
  m_window = control;
  m_isSubclassed =
      SetWindowSubclass(control, ControlProcedure, 0, reinterpret_cast<DWORD_PTR>(this)) != FALSE;
}

LRESULT CWnd::Default(UINT message, WPARAM wParam, LPARAM lParam) const {
  return m_isSubclassed ? DefSubclassProc(m_window, message, wParam, lParam)
                        : DefWindowProcW(m_window, message, wParam, lParam);
}

LRESULT CALLBACK CWnd::OwnProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* const created = static_cast<CWnd*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    created->m_window = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
  }
  auto* const self = reinterpret_cast<CWnd*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return self ? self->OnMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CALLBACK CWnd::ControlProcedure(HWND, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                        DWORD_PTR self) {
  return reinterpret_cast<CWnd*>(self)->OnMessage(message, wParam, lParam);
}

void DispatchPaintMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE)) DispatchMessageW(&message);
}

}  // namespace tolvane
