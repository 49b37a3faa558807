#include "ui/LogEdit.h"

#include "platform/FileCust.h"
#include "platform/Text.h"
#include "platform/Wide_win.h"
#include "ui/Clipboard.h"

namespace tolvane {

void CLogEdit::SetLogText(std::u16string_view text) {
  if (!m_text.Set(text)) return;
  SetWindowTextW(m_window, ToWide(ToEditText(text)).c_str());
  Send(EM_LINESCROLL, 0, Send(EM_GETLINECOUNT));
}

void CLogEdit::ClearLog() {
  m_text.Clear();
  SetWindowTextW(m_window, L"");
}

bool CLogEditView::CopyLog() const {
  return CopyTextToClipboard(m_window, GetLogText());
}

std::u16string CLogEditView::SaveLog(std::u16string_view path, std::u16string_view more) const {
  std::string text = "\xEF\xBB\xBF" + ToUtf8(GetLogText()) + "\r\n";
  if (!more.empty()) text += "\r\n" + ToUtf8(more) + "\r\n";
  return WriteWholeFile(path, EFileShare::Read, EFileCreation::CreateAlways,
                        {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

}  // namespace tolvane
