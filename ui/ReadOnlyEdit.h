// A text to read, select and copy: an edit control that cannot be changed. Tab and Escape stay with the
// window.
#pragma once

#include "ui/win/Window.h"

namespace tolvane {

enum class EEditForm : uint8_t { Line, LineToType, Lines };

class CReadOnlyEdit : public CWnd {
 public:
  bool Create(HWND parent, UINT identifier, EEditForm form);
  void Attach(HWND control) { Subclass(control); }
  // The end of a long path is its file's name.
  void ShowEnd() const {
    // From the beginning: what was scrolled while the line had no width stays out of sight.
    Send(EM_SETSEL, 0, 0);
    Send(EM_SCROLLCARET);
    Send(EM_SETSEL, 0x7FFFFFFF, 0x7FFFFFFF);
    Send(EM_SCROLLCARET);
  }
  void SelectAll() const { Send(EM_SETSEL, 0, -1); }

 protected:
  LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};

// Fit for an edit control: lines end with "\r\n", and a zero unit, where the control would stop, becomes a
// blank.
std::u16string ToEditText(std::u16string_view text);

}  // namespace tolvane
