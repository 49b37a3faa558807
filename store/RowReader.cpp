#include "store/RowReader.h"

#include "store/FileNameManager.h"

namespace tolvane {

bool CTableRowReader::Open() {
  m_isIncomplete = false;
  return m_stream.Open(CFileNameManager().GetDataFilePath(m_table.GetDefinitionOffset()));
}

bool CTableRowReader::ReadRow(std::vector<std::u16string>& cells) {
  cells.resize(m_table.columns.GetCount());
  if (cells.empty() || m_isIncomplete || m_stream.IsAtEnd()) return false;
  size_t read = 0;
  while (read < cells.size() && ReadCell(cells[read])) ++read;
  m_isIncomplete = read < cells.size();
  for (size_t i = read; i < cells.size(); ++i) cells[i].clear();
  return read > 0;
}

// A value that is there only in part is none.
bool CTableRowReader::ReadCell(std::u16string& cell) {
  uint32_t count = 0;
  return m_stream.ReadCount(count) && count <= m_stream.GetBytesLeft() && m_stream.ReadText(count, cell);
}

}  // namespace tolvane
