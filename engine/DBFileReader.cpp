#include "engine/DBFileReader.h"

namespace tolvane {

bool CDBFileReader::Open(CErrorHandler& handler) {
  Close();
  if (m_file.Open(m_path, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting)) return true;
  handler.ReportError(SystemMessage(m_file.GetLastErrorCode()), 1);
  return false;
}

bool CDBFileReader::Close() {
  if (m_file.IsOpen()) m_file.Close();
  return true;
}

bool CDBFileReader::Seek(uint64_t offset, CErrorHandler& handler) {
  m_file.Seek(offset, ESeekOrigin::Begin, ESeekDirection::Forward, handler);
  return !handler.HasError();
}

bool CDBFileReader::Read(std::span<uint8_t> buffer, CErrorHandler& handler) {
  m_file.Read(buffer, handler);
  return !handler.HasError();
}

bool CDBFileReader::SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler) {
  return Seek(offset, handler) && Read(buffer, handler);
}

}  // namespace tolvane
