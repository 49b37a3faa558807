// A modal dialog made from a template of the resources.
#pragma once

#include "ui/win/Window.h"

namespace tolvane {

class CDialog : public CWnd {
 public:
  explicit CDialog(UINT templateIdentifier) : m_template(templateIdentifier) {}
  // IDOK or IDCANCEL.
  INT_PTR DoModal(HWND parent);

 protected:
  virtual void OnInitDialog() {}
  virtual void OnSize() {}
  // A control other than the two below.
  virtual void OnCommand([[maybe_unused]] UINT identifier, [[maybe_unused]] UINT notification) {}
  virtual void OnOk() { EndDialog(m_window, IDOK); }
  virtual void OnCancel() { EndDialog(m_window, IDCANCEL); }
  void ShowMessage(std::u16string_view text) const;  // with the information icon

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static INT_PTR OnControlColour(HDC context, HWND control);
  void ApplyTheme() const;
  INT_PTR OnDialogMessage(UINT message, WPARAM wParam, LPARAM lParam);

  UINT m_template;
};

// The caption of every message box.
extern const wchar_t* const kProgramName;

}  // namespace tolvane
