#include "store/StoredValueReader.h"

#include "store/FileNameManager.h"

namespace tolvane {

bool CStoredValueReader::Open(uint64_t key) {
  return m_stream.Open(CFileNameManager().GetDataFilePath(key));
}

std::u16string CStoredValueReader::Read(uint64_t place, size_t column, size_t maximumUnits) {
  m_stream.MoveTo(place);
  uint32_t count = 0;
  for (size_t i = 0; i < column; ++i) {
    if (!m_stream.ReadCount(count)) return {};
    m_stream.Skip(count);
  }
  std::u16string text;
  if (m_stream.ReadCount(count)) m_stream.ReadText(count, text, maximumUnits);
  return text;
}

}  // namespace tolvane
