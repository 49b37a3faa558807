#include "checker/ComplexCheck.h"

#include <algorithm>

#include "checker/SystemRow.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

constexpr size_t kMostOfEach = 100'000;

}  // namespace

bool CComplexCheck::IsComplexColumns(const SCheckedObject& object) {
  return object.name == kMSysComplexColumns && (object.flags & kSystemObjectFlag) != 0;
}

bool CComplexCheck::HasRoom(size_t count) {
  if (count < kMostOfEach) return true;
  m_isComplete = false;
  m_context.findings.Note(u"Complex columns beyond the first ", kMostOfEach, u" were not looked at.");
  return false;
}

void CComplexCheck::AddRow(const CRowView& row, SPlace place) {
  if (!HasRoom(m_entries.size())) return;
  const CSystemRow values(m_context.file, row);
  m_entries.push_back({place, values.GetText(kComplexColumnsName),
                       values.GetNumber<uint32_t>(kComplexColumnsKind).value_or(0),
                       values.GetNumber<uint32_t>(kComplexColumnsFlatTable).value_or(0),
                       values.GetNumber<uint32_t>(kComplexColumnsTable).value_or(0),
                       values.GetNumber<uint32_t>(kComplexColumnsId).value_or(0)});
}

void CComplexCheck::AddTable(const SCheckedObject& object, const SCheckedTable& table) {
  for (const SCheckedColumn& column : table.columns) {
    if (column.type != kTypeComplex || !HasRoom(m_columns.size())) continue;
    if (!m_columns.insert({{table.page, column.complexId}, {column.name, object.name}}).second)
      m_context.findings.Error("K2", {table.page}, u"another column has the complex number of ", column.name,
                               u", ", column.complexId);
  }
  if ((object.flags & kSystemObjectFlag) == 0 || !HasRoom(m_hiddenTables.size())) return;
  SHiddenTable& hidden = m_hiddenTables[table.page];
  hidden.name = object.name;
  for (const SCheckedColumn& column : table.columns) {
    const bool isKey = (column.extendedFlags & kColumnFlatKey) != 0,
               isRowNumber = (column.extendedFlags & kColumnFlatRowId) != 0;
    if (isKey) hidden.keys++;
    if (isRowNumber) hidden.rowNumbers++;
    if (!isKey && !isRowNumber)
      hidden.columns.push_back(column.nameKey + ' ' + ToUtf8(Say(column.type, u" ", column.length)));
  }
  std::ranges::sort(hidden.columns);
}

void CComplexCheck::Finish(const CCatalogueCheck& catalogue) {
  if (!m_isComplete || !catalogue.IsComplete()) return;
  for (const SEntry& entry : m_entries) CheckEntry(entry);
  for (const auto& [key, column] : m_columns)
    if (!column.isListed)
      m_context.findings.Error("K2", {key.first},
                               u"MSysComplexColumns does not tell where the values of column ", column.name,
                               u" of ", column.table, u" are");
}

void CComplexCheck::CheckEntry(const SEntry& entry) {
  const auto column = m_columns.find({entry.table, entry.number});
  if (column == m_columns.end() || column->second.isListed)
    m_context.findings.Error("K2", entry.place, u"no column with complex number ", entry.number, u" at page ",
                             entry.table, u" is left for ", entry.column);
  else
    column->second.isListed = true;
  CheckFlatTable(entry);
}

void CComplexCheck::CheckFlatTable(const SEntry& entry) {
  CFindings& findings = m_context.findings;
  const auto flat = m_hiddenTables.find(entry.flatTable), kind = m_hiddenTables.find(entry.kind);
  if (flat == m_hiddenTables.end() || kind == m_hiddenTables.end()) {
    const bool isFlat = flat == m_hiddenTables.end();
    findings.Error("K1", entry.place,
                   isFlat ? u"the flat table of " : u"the table that lays down the kind of ", entry.column,
                   u", page ", isFlat ? entry.flatTable : entry.kind, u", does not exist");
    return;
  }
  if (flat->second.isUsed)
    findings.Error("K1", entry.place, u"flat table ", flat->second.name,
                   u" belongs to another complex column as well");
  flat->second.isUsed = true;
  if (flat->second.keys != 1 || flat->second.rowNumbers != 1 || flat->second.columns != kind->second.columns)
    findings.Error("K3", {entry.flatTable}, u"flat table ", flat->second.name,
                   u" does not have the columns of its kind, ", kind->second.name,
                   u", a key and a row number");
}

}  // namespace tolvane
