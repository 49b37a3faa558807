#include "model/AccessData.h"

#include "store/AccessTableDataFile.h"

namespace tolvane {

CAccessData::~CAccessData() {
  m_tables.Clear();
  CAccessTableDataFile(m_workFolder).RemoveOleFiles();
}

}  // namespace tolvane
