#include "engine/DBFileReader.h"

#include <algorithm>

#include "engine/DatabaseStart.h"

namespace tolvane {

bool CDBFileReader::Open(CErrorHandler& handler) {
  Close();
  if (m_file.Open(m_path, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting)) {
    m_start = FindDatabaseStart(m_file);
    return true;
  }
  handler.ReportError(SystemMessage(m_file.GetLastErrorCode()), 1);
  return false;
}

bool CDBFileReader::Close() {
  if (m_file.IsOpen()) m_file.Close();
  m_start = 0;
  return true;
}

uint64_t CDBFileReader::GetLength() {
  const uint64_t length = m_file.GetLength();
  return length - std::min(m_start, length);
}

bool CDBFileReader::Seek(uint64_t offset, CErrorHandler& handler) {
  m_file.Seek(m_start + offset, ESeekOrigin::Begin, ESeekDirection::Forward, handler);
  return !handler.HasError();
}

bool CDBFileReader::Read(std::span<uint8_t> buffer, CErrorHandler& handler) {
  m_file.Read(buffer, handler);
  return !handler.HasError();
}

bool CDBFileReader::SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler) {
  return Seek(offset, handler) && Read(buffer, handler);
}

bool CDBFileReader::SeekFromEnd(uint64_t offset, CErrorHandler& handler) {
  m_file.Seek(offset, ESeekOrigin::End, ESeekDirection::Backward, handler);
  return !handler.HasError();
}

}  // namespace tolvane
