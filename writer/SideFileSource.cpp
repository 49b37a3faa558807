#include "writer/SideFileSource.h"

#include "platform/ErrorHandler.h"

namespace tolvane {

bool CSideFileSource::Open(std::u16string_view path) {
  m_problem.clear();
  m_length = 0;
  if (!m_file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting,
                   EFileFlags::Sequential)) {
    m_problem = u"its temporary file cannot be opened: " + SystemMessage(m_file.GetLastErrorCode());
    return false;
  }
  m_length = m_file.GetLength();
  return true;
}

bool CSideFileSource::Read(std::span<uint8_t> buffer, size_t& bytesRead) {
  CErrorHandler handler;
  bytesRead = m_file.Read(buffer, handler);
  if (!handler.HasError()) return true;
  m_problem = u"its temporary file cannot be read: " + handler.GetMessageText();
  return false;
}

}  // namespace tolvane
