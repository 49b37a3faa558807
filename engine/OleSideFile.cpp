#include "engine/OleSideFile.h"

#include "format/Value.h"

namespace tolvane {

void COleSideFile::Begin() {
  if (m_file.IsOpen()) m_file.Close();  // left by a value whose disk was full
  m_path.clear();
}

void COleSideFile::Take(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return;
  if (!m_file.IsOpen()) {
    m_path = m_names.GetOleFilePath(m_number);
    if (!m_file.Open(m_path, EFileAccess::Write, EFileShare::None, EFileCreation::CreateAlways))
      throw CFileCustException(m_file.GetLastErrorCode());
    m_number++;
  }
  m_file.Write(bytes);
}

std::span<const uint8_t> COleSideFile::End() {
  if (m_file.IsOpen()) {
    m_file.Close();
    m_list.AppendOleFileName(m_path);
  }
  return UnitBytes(m_path);
}

}  // namespace tolvane
