#include "export/SqlRows.h"

namespace tolvane {

bool CSqlRows::ReadRow() {
  while (m_reader.ReadRow()) {
    const auto row = static_cast<size_t>(m_rowsRead++);
    if (!m_table.values || m_table.values->GetFate(row) == CComplexValues::EFate::Attached) return true;
  }
  return false;
}

}  // namespace tolvane
