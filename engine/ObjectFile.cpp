#include "engine/ObjectFile.h"

namespace tolvane {

void CObjectFile::Start(const std::u16string& path) {
  Close();
  m_path = path;
  m_length = m_start = 0;
}

void CObjectFile::Close() {
  if (m_file.IsOpen()) m_file.Close();
}

void CObjectFile::Begin() {
  m_start = m_length;
}

void CObjectFile::Take(std::span<const uint8_t> bytes) {
  m_length += bytes.size();
  if (bytes.empty() || m_path.empty()) return;
  if (!m_file.IsOpen() &&
      !m_file.Open(m_path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways))
    throw CFileCustException(m_file.GetLastErrorCode());
  m_file.Write(bytes);
}

std::span<const uint8_t> CObjectFile::End() {
  m_reference = MakeObjectReference(m_start, m_length - m_start);
  return m_reference;
}

}  // namespace tolvane
