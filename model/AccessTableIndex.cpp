#include "model/AccessTableIndex.h"

#include "platform/Text.h"

namespace tolvane {

void CAccessTableIndexList::Add(const CAccessTableIndex& index) {
  m_indexes.push_back(index);
  std::u16string& name = m_indexes.back().name;
  if (name.empty()) name = u"Index_" + ToDecimal(uint64_t{m_indexes.size() - 1});
}

bool CAccessTableIndexList::MarkPrimary(size_t position, uint8_t flag) {
  if (position >= m_indexes.size()) return false;
  m_indexes[position].primary = flag;
  m_indexes[position].name = u"Primary Key";
  return true;
}

const CAccessTableIndex* CAccessTableIndexList::GetAt(size_t position) const {
  return position < m_indexes.size() ? &m_indexes[position] : nullptr;
}

}  // namespace tolvane
