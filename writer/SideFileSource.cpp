#include "writer/SideFileSource.h"

#include <algorithm>

#include "platform/ErrorHandler.h"

namespace tolvane {

bool CSideFileSource::Open(const SObjectPlace& place) {
  m_problem.clear();
  m_length = m_left = 0;
  if (place.length == 0) return true;
  if (!m_file.Open(place.path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting,
                   EFileFlags::Sequential)) {
    m_problem = u"its temporary file cannot be opened: " + SystemMessage(m_file.GetLastErrorCode());
    return false;
  }
  const uint64_t length = m_file.GetLength();
  m_position = std::min(place.offset, length);
  m_length = m_left = std::min(place.length, length - m_position);
  return true;
}

bool CSideFileSource::Read(std::span<uint8_t> buffer, size_t& bytesRead) {
  bytesRead = 0;
  if (m_left == 0) return true;
  CErrorHandler handler;
  const auto wanted = static_cast<size_t>(std::min<uint64_t>(buffer.size(), m_left));
  bytesRead = m_file.ReadAt(m_position, buffer.first(wanted), handler);
  m_position += bytesRead;
  m_left = bytesRead == 0 ? 0 : m_left - bytesRead;
  if (!handler.HasError()) return true;
  m_problem = u"its temporary file cannot be read: " + handler.GetMessageText();
  return false;
}

}  // namespace tolvane
