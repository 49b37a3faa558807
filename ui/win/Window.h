// Windows by their handles. A handle is not owned here: the system destroys a window with its parent. Every
// window belongs to the main thread.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace tolvane {

class CWnd {
 public:
  CWnd() = default;
  explicit CWnd(HWND window) : m_window(window) {}
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  virtual ~CWnd();

  [[nodiscard]] HWND GetHandle() const { return m_window; }
  [[nodiscard]] CWnd GetItem(UINT identifier) const {
    return CWnd(GetDlgItem(m_window, static_cast<int>(identifier)));
  }

  // The same text again is no change, so that nothing flickers and no screen reader speaks twice.
  void SetText(std::u16string_view text) const;
  [[nodiscard]] std::u16string GetText() const;
  void Show(bool isShown) const { ShowWindow(m_window, isShown ? SW_SHOWNA : SW_HIDE); }
  // A focus that would be lost with the control moves on to the next one.
  void Enable(bool isEnabled) const;
  void Invalidate() const { InvalidateRect(m_window, nullptr, TRUE); }
  void SetFont(HFONT font) const { Send(WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE); }
  [[nodiscard]] RECT GetClientArea() const;
  LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
    return SendMessageW(m_window, message, wParam, lParam);
  }

 protected:
  struct SStyle {
    DWORD style = 0;
    DWORD exStyle = 0;
  };
  // A window of a class of our own, whose messages go to OnMessage.
  static bool RegisterWindowClass(const wchar_t* name, int background, UINT icon);
  bool CreateOwn(const wchar_t* className, const wchar_t* title, SStyle style, HWND parent,
                 HMENU menuOrIdentifier);
  // A control of the system, whose messages pass through OnMessage.
  bool CreateControl(const wchar_t* className, const wchar_t* text, SStyle style, HWND parent,
                     UINT identifier);
  // A control that a dialog has created.
  void Subclass(HWND control);

  virtual LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return Default(message, wParam, lParam);
  }
  LRESULT Default(UINT message, WPARAM wParam, LPARAM lParam) const;

  HWND m_window = nullptr;

 private:
  static LRESULT CALLBACK OwnProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                           UINT_PTR identifier, DWORD_PTR self);
  bool m_isSubclassed = false;
};

// Dispatches the paint messages that wait and no others.
void DispatchPaintMessages();

}  // namespace tolvane
