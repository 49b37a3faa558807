#include "export/SqlRows.h"

namespace tolvane {

bool CSqlRows::ReadRow() {
  while (m_reader.ReadRow()) {
    const auto row = static_cast<size_t>(m_rowsRead++);
    if (!m_table.values || m_table.values->GetFate(row) == CComplexValues::EFate::Attached) return true;
  }
  return false;
}

void CSqlRows::AddLosses(SSqlCount& count) const {
  count.lostValues += m_reader.GetLostValues();
  const uint64_t recovered = m_table.source->header.rowCount;
  count.lostRows = m_rowsRead < recovered ? recovered - m_rowsRead : 0;
}

bool CStoredBytes::Open(const CSqlRows& rows, const SSqlTable& table, size_t column) {
  m_isFile = table.columns[column].isFile;
  SObjectPlace place;
  if (!rows.GetPlace(column, place)) return false;
  if (m_isFile) return m_file.Open(place);
  const bool isOpen = m_object.Open(place);
  m_isCut = isOpen && place.length != SObjectPlace::kToTheEnd && m_object.GetLength() != place.length;
  return isOpen;
}

}  // namespace tolvane
