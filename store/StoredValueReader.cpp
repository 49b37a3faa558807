#include "store/StoredValueReader.h"

namespace tolvane {

bool CStoredValueReader::Find(uint64_t place, size_t column, uint32_t& count) {
  m_stream.MoveTo(place);
  for (size_t i = 0; i < column; ++i) {
    if (!m_stream.ReadCount(count)) return false;
    m_stream.Skip(count);
  }
  return m_stream.ReadCount(count);
}

}  // namespace tolvane
