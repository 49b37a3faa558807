// What the log pane shows, so that the same text twice neither repaints nor scrolls it.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

class CLogText {
 public:
  // False when the pane shows that text already.
  bool Set(std::u16string_view text);
  void Clear() { m_text.clear(); }
  [[nodiscard]] const std::u16string& Get() const { return m_text; }

 private:
  std::u16string m_text;
};

}  // namespace tolvane
