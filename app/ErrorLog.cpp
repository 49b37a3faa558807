#include "app/ErrorLog.h"

#include <cstdint>

#include "platform/FileCust.h"

namespace tolvane {

bool CErrorLog::Write(std::u16string_view text) const {
  CFileCust file;
  if (!file.Open(m_path, EFileAccess::Write, EFileShare::Read, EFileCreation::OpenAlways)) return true;
  try {
    file.WriteAt(file.GetLength(), {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  } catch (const CFileCustException&) {
    return true;
  }
  return true;
}

}  // namespace tolvane
