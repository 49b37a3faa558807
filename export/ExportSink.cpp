#include "export/ExportSink.h"

#include "platform/Terminal.h"

namespace tolvane {

namespace {
constexpr size_t kBufferSize = 1 << 16;
}

bool CExportSink::Open(std::u16string_view path) {
  if (m_file.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways)) return true;
  m_problem = SystemMessage(m_file.GetLastErrorCode());
  return false;
}

bool CExportSink::Write(std::string_view text) {
  if (!m_problem.empty()) return false;
  m_buffer += text;
  return m_buffer.size() < kBufferSize || Flush();
}

bool CExportSink::Flush() {
  if (!m_problem.empty()) return false;
  if (!m_file.IsOpen()) {
    if (!WriteStream(EStream::Output, m_buffer)) m_problem = u"Standard output is closed or full.";
  } else {
    try {
      m_file.Write({reinterpret_cast<const uint8_t*>(m_buffer.data()), m_buffer.size()});
    } catch (const CFileCustException& error) {
      m_problem = error.GetMessageText();
    }
  }
  m_buffer.clear();
  return m_problem.empty();
}

bool CExportSink::Close() {
  const bool isWritten = Flush();
  m_file.Close();
  return isWritten;
}

}  // namespace tolvane
