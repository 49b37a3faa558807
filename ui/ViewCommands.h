// What the view does with what it shows, wherever the keyboard is: copy, select, and the menus about it.
#pragma once

#include <windows.h>

#include <functional>
#include <string_view>
#include <utility>

#include "ui/ViewParts.h"

namespace tolvane {

class CViewCommands {
 public:
  // The parts must outlive this object.
  explicit CViewCommands(SViewParts& parts) : m_parts(parts) {}
  void Attach(HWND view) { m_view = view; }
  // Takes short messages about what was copied.
  void SetNotice(std::function<void(std::u16string_view)> notice) { m_notice = std::move(notice); }

  void Copy();
  void CopyLog();
  void SelectAll() const;
  // Of tree and list; the point is on the screen, or -1, -1 by the keyboard. False for other controls.
  bool ShowMenu(HWND control, POINT point);

 private:
  SViewParts& m_parts;
  HWND m_view = nullptr;
  std::function<void(std::u16string_view)> m_notice;
};

}  // namespace tolvane
