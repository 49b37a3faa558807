#include "engine/AccessProcessFile.h"

#include <algorithm>
#include <map>
#include <optional>

#include "engine/AccessVersionHandler.h"
#include "engine/DefinitionDecoder.h"
#include "engine/FreePageMap.h"
#include "engine/PageReader.h"
#include "engine/RecordParser.h"
#include "engine/TableScanner.h"
#include "platform/CodePage.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "status/Status.h"
#include "store/AccessTableDataFileParser.h"
#include "store/FileNameManager.h"
#include "store/MSysComplexColumns.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kComplexColumnsTable = u"MSysComplexColumns";

// Columns name the code page over and over; the header, which breaks first, only once. The catalogue's
// columns, and with them the names of the tables, follow it.
void TakeCodePageOfColumns(CAccessData& data) {
  std::map<uint16_t, size_t> votes;
  for (const auto& table : data.GetTables())
    for (const CAccessColumn& column : table->columns)
      if (column.codePage != 0 && IsCodePageKnown(column.codePage)) votes[column.codePage]++;
  const auto most = std::max_element(votes.begin(), votes.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  if (most != votes.end()) data.source.codePage = most->first;
}

// A user's table may stand where a system table usually does, and goes by its name while the catalogue is
// lost.
std::optional<EDamage> DoubtOfName(const CAccessTable& table) {
  if (table.nameSource == ENameSource::Generated) return EDamage::UnnamedTable;
  const bool isUsers = table.header.tableType == kUserTable && table.header.rowCount > 0;
  if (table.nameSource == ENameSource::Place && isUsers) return EDamage::MistakableTable;
  return std::nullopt;
}

}  // namespace

void CAccessProcessFile::ParseComplexColumns(CAccessData& /*data*/) {}
void CAccessProcessFile::DropContinuationDefinitions(CAccessData& /*data*/) {}
void CAccessProcessFile::SetScanPath(std::u16string /*path*/) {}
void CAccessProcessFile::ParseTableNames(CAccessData& /*data*/) {}
void CAccessProcessFile::ParseRecords(CAccessData& /*data*/) {}
void CAccessProcessFile::ParseTableDefinitions(CAccessData& /*data*/) {}
void CAccessProcessFile::SortColumns(CAccessData& /*data*/) {}
void CAccessProcessFile::ScanDataPages(CAccessData& /*data*/) {}
void CAccessProcessFile::ScanTableDefinitions(CAccessData& /*data*/) {}
void CAccessProcessFile::SetSourcePath(std::u16string /*path*/) {}

CAccessPageParser::CAccessPageParser(const SJetLayout& layout, const SRecoveryRules& rules)
    : m_layout(layout), m_rules(rules) {}

void CAccessPageParser::ScanTableDefinitions(CAccessData& data) {
  CTableScanner(m_layout, m_rules).ScanTableDefinitions(data, m_scanPath);
}

void CAccessPageParser::DropContinuationDefinitions(CAccessData& data) {
  CTableScanner(m_layout, m_rules).DropContinuationDefinitions(data, m_scanPath);
}

void CAccessPageParser::ScanDataPages(CAccessData& data) {
  CTableScanner(m_layout, m_rules).ScanDataPages(data, m_sourcePath);
}

void CAccessPageParser::ParseTableDefinitions(CAccessData& data) {
  CDefinitionDecoder(m_layout, m_rules, data.source.codePage).ParseTableDefinitions(data, m_scanPath);
  TakeCodePageOfColumns(data);
}

void CAccessPageParser::SortColumns(CAccessData& data) {
  for (const auto& table : data.GetTables()) table->columns.SortByNumber();
}

void CAccessPageParser::ParseRecords(CAccessData& data) {
  CRecordParser(m_layout, m_rules).ParseRecords(data, m_sourcePath);
  CountMissingRows(data);
}

// The row counts of a template say nothing about the damaged file. A count that the file could not hold is
// not a promise either.
void CAccessPageParser::CountMissingRows(CAccessData& data) const {
  if (m_scanPath != m_sourcePath && !IsSameFile(m_scanPath, m_sourcePath)) return;
  const uint64_t mostRows = data.source.pageCount * m_layout.data.MaximumSlots(m_layout.pageSize);
  for (const auto& table : data.GetTables()) {
    const uint32_t promised = table->promisedRows;
    if (promised <= table->header.rowCount || promised > mostRows) continue;
    data.GetLedger().Add(EDamage::MissingRows, {.page = table->GetPage(m_layout.pageSize),
                                                .definition = table->GetDefinitionOffset(),
                                                .row = -1,
                                                .amount = promised - table->header.rowCount});
  }
}

void CAccessPageParser::ParseTableNames(CAccessData& data) {
  CAccessTableDataFileParser parser;
  parser.ScanTableNames(data, m_layout.pageSize);
  parser.NameUnnamedTables(data.GetTables(), CAccessVersionHandler::IsJet4Flag());
  CPageReader reader;
  CFreePageMap freePages;
  if (reader.Open(m_scanPath)) freePages.Load(reader, m_layout);
  for (const auto& table : data.GetTables()) {
    const uint32_t page = table->GetPage(m_layout.pageSize);
    const std::optional<EDamage> doubt = DoubtOfName(*table);
    if (!doubt || freePages.IsFree(page)) continue;
    data.GetLedger().Add(*doubt,
                         {.page = page, .definition = table->GetDefinitionOffset(), .row = -1, .amount = 1});
  }
}

void CAccessProcessFileJet4::ParseComplexColumns(CAccessData& data) {
  if (!CRepairingFileStatus::Instance().IsRunning()) return;
  const auto& tables = data.GetTables();
  const auto found = std::find_if(tables.begin(), tables.end(), [](const auto& table) {
    return EqualsIgnoreCase(table->name, kComplexColumnsTable);
  });
  if (found == tables.end()) return;
  CMSysComplexColumns records;
  if (!records.Load(CFileNameManager().GetDataFilePath((*found)->GetDefinitionOffset())))
    CRepairLog::Instance().Append(records.GetProblem());
  records.AttachTo(data.GetTables(), GetLayout().pageSize);
}

}  // namespace tolvane
