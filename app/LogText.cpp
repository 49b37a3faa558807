#include "app/LogText.h"

namespace tolvane {

bool CLogText::Set(std::u16string_view text) {
  if (text == m_text) return false;
  m_text = text;
  return true;
}

}  // namespace tolvane
