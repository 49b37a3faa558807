#include "store/RowReader.h"

namespace tolvane {

bool CTableRowReader::Open(const SFilePart& part) {
  m_isIncomplete = m_isInRow = m_hasCount = false;
  return m_stream.Open(part);
}

bool CTableRowReader::BeginRow() {
  if (m_isInRow) PassRow();
  m_isInRow = false;
  if (m_columnCount == 0 || m_isIncomplete || m_stream.IsAtEnd()) return false;
  m_column = 0;
  m_isInRow = true;
  m_hasCount = BeginRecord(m_count);
  m_column = 0;
  m_isInRow = m_hasCount;
  return m_hasCount;
}

void CTableRowReader::MoveToRow(uint64_t position) {
  m_isInRow = m_hasCount = false;
  m_stream.MoveTo(position);
}

// A value that is there only in part is none, and what follows it cannot be told.
bool CTableRowReader::BeginRecord(uint32_t& count) {
  count = 0;
  if (!m_isInRow || m_isIncomplete || m_column >= m_columnCount) return false;
  ++m_column;
  if (m_hasCount) {
    m_hasCount = false;
    count = m_count;
    return true;
  }
  m_isIncomplete = !m_stream.ReadCount(count) || count > m_stream.GetBytesLeft();
  return !m_isIncomplete;
}

void CTableRowReader::ReadRecord(std::vector<uint8_t>& bytes) {
  uint32_t count = 0;
  bytes.clear();
  if (BeginRecord(count) && !m_stream.ReadRecord(count, bytes)) {
    bytes.clear();
    m_isIncomplete = true;
  }
}

void CTableRowReader::PassRow() {
  for (uint32_t count = 0; BeginRecord(count);) m_stream.Skip(count);
}

SFilePart KeepWholeRows(SFilePart part, size_t columnCount, uint32_t& rows) {
  rows = 0;
  CTableRowReader reader(columnCount);
  const bool isOpen = reader.Open(part);
  part.length = 0;
  while (isOpen && reader.BeginRow()) {
    for (uint32_t bytes = 0; reader.BeginRecord(bytes);) reader.GetStream().Skip(bytes);
    if (reader.IsIncomplete()) break;
    rows++;
    part.length = reader.GetStream().GetPosition();
  }
  return part;
}

}  // namespace tolvane
