#include "model/AccessTable.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/Text.h"
#include "store/FileNameManager.h"

namespace tolvane {

namespace {

constexpr uint64_t kKeyTextUnit = 4096;  // for both page sizes

}  // namespace

CAccessTable::CAccessTable(uint64_t definitionOffset, const std::u16string& workFolder)
    : m_definitionOffset(definitionOffset),
      m_dataFilePath(CFileNameManager(workFolder).GetDataFilePath(definitionOffset)),
      m_records(m_dataFilePath),
      m_keyText(ToDecimal(int64_t{static_cast<int32_t>(definitionOffset / kKeyTextUnit)})) {}

CAccessTable::~CAccessTable() {
  for (const std::u16string& path : {m_dataFilePath, GetObjectFilePath()})
    if (CanWrite(path)) RemoveFile(path);
}

uint32_t CAccessTable::GetPage(uint32_t pageSize) const {
  return pageSize == 0 ? 0 : static_cast<uint32_t>(m_definitionOffset / pageSize);
}

std::u16string CAccessTable::GetPageText(uint32_t pageSize) const {
  return ToDecimal(uint64_t{GetPage(pageSize)});
}

CAccessTable& CAccessTableList::AddTable(uint64_t definitionOffset) {
  m_tables.push_back(std::make_unique<CAccessTable>(definitionOffset, m_workFolder));
  CAccessTable& table = *m_tables.back();
  m_byOffset.try_emplace(definitionOffset, &table);
  return table;
}

void CAccessTableList::Clear() {
  m_byOffset.clear();
  m_tables.clear();
}

CAccessTable* CAccessTableList::FindTable(uint64_t definitionOffset) const {
  const auto found = m_byOffset.find(definitionOffset);
  return found != m_byOffset.end() ? found->second : nullptr;
}

CAccessTable* CAccessTableList::FindTable(std::u16string_view name) const {
  for (const auto& table : m_tables)
    if (table->name == name) return table.get();
  return nullptr;
}

bool CAccessTableList::CreditDataPage(uint64_t dataPageOffset, uint64_t definitionOffset) {
  CAccessTable* const table = FindTable(definitionOffset);
  if (table != nullptr) table->dataPages.Add(dataPageOffset);
  return table != nullptr;
}

void CAccessTableList::RemoveUnmarked() {
  m_byOffset.clear();
  std::erase_if(m_tables, [](const auto& table) { return table->keepFlag == 0; });
  IndexTables();
}

bool CAccessTableList::Mark(uint64_t definitionOffset, uint8_t keepFlag) {
  CAccessTable* const table = FindTable(definitionOffset);
  if (table != nullptr) table->keepFlag = keepFlag;
  return table != nullptr;
}

bool CAccessTableList::SetNameByKey(std::u16string_view keyText, std::u16string_view name) {
  const auto found =
      std::ranges::find_if(m_tables, [keyText](const auto& table) { return table->GetKeyText() == keyText; });
  if (found == m_tables.end()) return false;
  (*found)->name = name;
  return true;
}

CAccessTable* CAccessTableList::GetAt(size_t position) const {
  return position < m_tables.size() ? m_tables[position].get() : nullptr;
}

void CAccessTableList::IndexTables() {
  m_byOffset.clear();
  for (const auto& table : m_tables) m_byOffset.try_emplace(table->GetDefinitionOffset(), table.get());
}

}  // namespace tolvane
