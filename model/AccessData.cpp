#include "model/AccessData.h"

#include "store/AccessTableDataFile.h"

namespace tolvane {

CAccessData::~CAccessData() {
  m_tables.Clear();
  const CAccessTableDataFile files(m_workFolder);
  files.RemoveOleFiles();
  files.RemoveSharedFile();
}

void CAccessData::NoteOtherObject(EOtherObject kind, std::u16string_view name) {
  constexpr size_t kMostObjects = 32'768;  // of a database
  if (m_otherObjects.size() >= kMostObjects || !m_knownObjects.emplace(kind, name).second) return;
  m_otherObjects.push_back({kind, std::u16string(name)});
}

void CAccessData::NoteLostTable(uint64_t page, std::u16string_view name) {
  if (m_rules.tellReasons && !name.empty() && m_lostTables.size() < CDamageLedger::kPlacesKept)
    m_lostTables.try_emplace(page, name);
}

}  // namespace tolvane
