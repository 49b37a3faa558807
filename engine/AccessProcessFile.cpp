#include "engine/AccessProcessFile.h"

#include <algorithm>

#include "engine/AccessTableDataFileParser.h"
#include "engine/CatalogueObjects.h"
#include "engine/ColumnNames.h"
#include "engine/DefinitionDecoder.h"
#include "engine/FlatTables.h"
#include "engine/Judgements.h"
#include "engine/LostNames.h"
#include "engine/MSysComplexColumns.h"
#include "engine/PagePlaces.h"
#include "engine/RecordParser.h"
#include "engine/RowCounts.h"
#include "engine/TableScanner.h"
#include "format/SystemObjects.h"
#include "platform/Text.h"

namespace tolvane {

void CAccessProcessFile::ScanTableDefinitions(CAccessData& data) {
  m_notes = m_definitions == m_source ? m_source->TakeNotes() : PageNotes();
  CTableScanner(m_rules, m_job)
      .ScanTableDefinitions(data, *m_definitions, m_definitions == m_source ? &m_notes : nullptr);
}

void CAccessProcessFile::DropContinuationDefinitions(CAccessData& data) {
  CTableScanner(m_rules, m_job).DropContinuationDefinitions(data, *m_definitions);
}

void CAccessProcessFile::ScanDataPages(CAccessData& data) {
  const bool hasTemplate = m_definitions != m_source;
  if (hasTemplate && m_rules.templateMatchesByName)
    m_match = CTemplateMatch(*m_source, *m_definitions, m_rules, m_job, data.GetWorkFolder());
  m_homeless = CTableScanner(m_rules, m_job)
                   .ScanDataPages(data, *m_source, m_match,
                                  m_rules.adoptOrphanPages && !hasTemplate ? &m_twins : nullptr, m_notes);
  PageNotes().swap(m_notes);
  if (m_rules.mendDefinitions) CTableScanner::DropGuesses(data);
}

// The catalogue's columns, and with them the names of the tables, follow the code page of the others.
void CAccessProcessFile::ParseTableDefinitions(CAccessData& data) {
  CDefinitionDecoder(GetLayout(), m_rules, data.source.codePage)
      .ParseTableDefinitions(data, *m_definitions, m_job);
  data.source.codePage = VoteCodePage(data.GetTables()).value_or(data.source.codePage);
  if (!GetLayout().isJet3)
    data.source.sortOrder = VoteSortOrder(data.GetTables()).value_or(data.source.sortOrder);
}

void CAccessProcessFile::SortColumns(CAccessData& data) {
  for (const auto& table : data.GetTables()) table->columns.SortByNumber();
}

void CAccessProcessFile::ParseRecords(CAccessData& data) {
  CPageClaims claims(*m_source, data.GetTables(), m_homeless, m_job);
  // Maps and row counts of a template say nothing about the damaged file.
  if (m_rules.adoptOrphanPages && m_definitions == m_source)
    SettlePages(data, *m_source, m_twins, claims, m_job);
  CIndexWitness witness(*m_source, m_job);
  CRecordParser(m_rules, m_job)
      .ParseRecords(data, *m_source, claims, m_definitions == m_source ? &witness : nullptr);
  CountHomelessPages(data, m_homeless, claims);
  if (m_definitions == m_source) CountMissingRows(data, *m_source, claims, m_job);
}

void CAccessProcessFile::ParseTableNames(CAccessData& data) {
  CAccessTableDataFileParser parser(m_rules, m_job);
  parser.ScanTableNames(data, GetLayout().pageSize);
  ExplainLostTables(data, *m_source);
  if (m_rules.mendDefinitions) RestoreColumnNames(data, GetLayout().pageSize);
  m_match.NameTables(data.GetTables(), GetLayout().pageSize);
  if (m_rules.otherPlacesTellNames && m_definitions == m_source) RestoreLostNames(data, *m_source, m_job);
  ReadCatalogueObjects(data, GetLayout().pageSize, m_match, m_job);
  parser.NameUnnamedTables(data.GetTables(), !GetLayout().isJet3);
  CountDoubtfulNames(data, *m_definitions);
  if (m_definitions != m_source) CountUnfitPages(data, m_homeless);
  for (const auto& table : data.GetTables())
    if (table->leftoverValues > 0 && !IsSystemTable(*table))
      m_job.log.Append(u"Table " + table->name + u": " + ToDecimal(table->leftoverValues) +
                       u" values of deleted columns, which its rows still hold, are not brought back.");
}

void CAccessProcessFileJet4::ParseComplexColumns(CAccessData& data) {
  if (!m_job.repairing.IsRunning()) return;
  ReadComplexColumns(data);
  if (data.GetRules().complexValuesAreData) SettleFlatTables(data, GetLayout().pageSize, m_job);
}

void CAccessProcessFileJet4::ReadComplexColumns(CAccessData& data) const {
  const auto& tables = data.GetTables();
  const auto found = std::ranges::find_if(
      tables, [](const auto& table) { return EqualsIgnoreCase(table->name, kMSysComplexColumns); });
  if (found == tables.end()) return;
  CMSysComplexColumns records;
  CRecordText texts((*found)->columns, data.GetRules());
  if (!records.Load((*found)->GetRecords(), &texts)) m_job.log.Append(records.GetProblem());
  records.AttachTo(data.GetTables(), GetLayout().pageSize);
}

}  // namespace tolvane
