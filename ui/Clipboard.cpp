#include "ui/Clipboard.h"

#include <algorithm>

namespace tolvane {

namespace {

class COpenClipboard {
 public:
  explicit COpenClipboard(HWND owner) : m_isOpen(OpenClipboard(owner) != FALSE) {}
  COpenClipboard(const COpenClipboard&) = delete;
  COpenClipboard& operator=(const COpenClipboard&) = delete;
  ~COpenClipboard() {
    if (m_isOpen) CloseClipboard();
  }
  [[nodiscard]] bool IsOpen() const { return m_isOpen; }

 private:
  bool m_isOpen;
};

}  // namespace

bool CopyTextToClipboard(HWND owner, std::u16string_view text) {
  const COpenClipboard clipboard(owner);
  if (!clipboard.IsOpen()) return false;
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(char16_t));
  if (!memory) return false;
  auto* const units = static_cast<char16_t*>(GlobalLock(memory));
  std::ranges::copy(text, units);
  units[text.size()] = u'\0';
  GlobalUnlock(memory);
  EmptyClipboard();
  if (SetClipboardData(CF_UNICODETEXT, memory)) return true;  // the system owns the memory now
  GlobalFree(memory);
  return false;
}

}  // namespace tolvane
