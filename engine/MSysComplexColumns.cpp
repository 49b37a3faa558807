#include "engine/MSysComplexColumns.h"

#include <memory>
#include <unordered_map>

#include "platform/Text.h"

namespace tolvane {

namespace {

using ColumnsById = std::unordered_map<uint32_t, CAccessColumn*>;

// The first complex column of each id.
ColumnsById ComplexColumnsOf(CAccessTable& table) {
  ColumnsById columns;
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    CAccessColumn* const column = table.columns.GetAt(i);
    if (column->type == kTypeComplex) columns.try_emplace(column->misc, column);
  }
  return columns;
}

}  // namespace

bool CMSysComplexColumns::Load(const SFilePart& records, CRecordDecoder* decoder) {
  m_records.clear();
  m_problem.clear();
  CDataFileReader reader;
  reader.SetPath(records);
  reader.SetDecoder(decoder);
  reader.Open();
  std::u16string name, type, flat, conceptual, id;
  while (reader.ReadNext(name) && reader.ReadNext(type) && reader.ReadNext(flat) &&
         reader.ReadNext(conceptual) && reader.ReadNext(id)) {
    if (m_records.size() == kMaximumRecords) {
      m_problem = u"list too long";
      return false;
    }
    m_records.emplace_back(name, type, flat, conceptual, id);
  }
  return true;
}

size_t CMSysComplexColumns::AttachTo(CAccessTableList& tables, uint32_t pageSize) const {
  size_t attached = 0;
  std::unordered_map<CAccessTable*, ColumnsById> columnsOfTables;
  for (const CMSysComplexColumnsData& record : m_records) {
    const int64_t page = LeadingInteger(record.conceptualTable);
    if (page <= 0 || page > UINT32_MAX || record.complexId.empty()) continue;
    CAccessTable* const table = tables.FindTable(static_cast<uint64_t>(page) * pageSize);
    if (table == nullptr) continue;
    const auto [entry, isNew] = columnsOfTables.try_emplace(table);
    if (isNew) entry->second = ComplexColumnsOf(*table);
    const auto column = entry->second.find(static_cast<uint32_t>(LeadingInteger(record.complexId)));
    if (column == entry->second.end()) continue;
    column->second->SetComplexData(std::make_unique<CMSysComplexColumnsData>(record));
    ++attached;
  }
  return attached;
}

}  // namespace tolvane
