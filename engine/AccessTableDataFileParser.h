// Reads table data files back for the preview, and the catalogue's data file to name the recovered tables.
//
// One object for one preview or one naming step, on one thread. It may read a file that another thread is
// still appending to: it never reads past the length that the file had when it was opened.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "model/AccessData.h"
#include "render/RecordText.h"
#include "status/JobContext.h"
#include "store/PreviewList.h"
#include "store/ValueStream.h"

namespace tolvane {

class CPreviewText;

class CAccessTableDataFileParser {
 public:
  virtual ~CAccessTableDataFileParser() = default;

  // The job outlives the parser.
  CAccessTableDataFileParser(const SRecoveryRules& rules, CJobContext& job) : m_rules(rules), m_job(job) {}

  // Opens the records of a table at their start. False when they cannot be opened.
  bool OpenDataFile(const CAccessTable& table) { return m_file.Open(table.GetRecords()); }

  // For a later FillPreview without arguments. Neither is owned.
  void SetPreviewTarget(const CAccessTable* table, CPreviewList* list);
  // Where the flat tables of multi-value columns are found; not owned. Without it their cells stay empty.
  void SetPreviewTables(const CAccessTableList* tables, uint32_t pageSize);
  // Fills the list with the table's columns and rows. Leaves as soon as the job's preview is aborted.
  void FillPreview(const CAccessTable* table = nullptr, CPreviewList* list = nullptr);

  // Names the tables after the catalogue, the table defined on page 2, and collects its saved queries. Counts
  // each local table of the catalogue that was not recovered as EDamage::LostTable. False when there is no
  // catalogue to read or the repair was stopped.
  bool ScanTableNames(CAccessData& parseData, uint32_t pageSize);
  // Names system tables after the page of their definition, and all others that have no name
  // "RecoveredTable###<n>".
  void NameUnnamedTables(CAccessTableList& tables, bool isJet4Pages);
  // The first table whose definition page in decimal is `idText` takes the name and is kept. False when there
  // is none.
  bool AssignTableName(CAccessTableList& tables, std::u16string_view name, std::u16string_view idText,
                       uint32_t pageSize);

 private:
  struct SCatalogueRow;
  class CTablesByPage;
  enum class ERowEnd : uint8_t { Complete, EndOfFile, Stopped };

  bool FillRow(CPreviewText& previewText, size_t columnCount, CPreviewList& list);
  bool PassRow(size_t columnCount, CPreviewList& list);
  ERowEnd ReadCatalogueRow(CRecordText& recordText, size_t columnCount, const CTablesByPage& tables,
                           SCatalogueRow& row, CAccessData& parseData);
  void NameSystemTable(CAccessTable& table, bool isJet4Pages) const;
  void UseCatalogueRow(const CTablesByPage& tables, const SCatalogueRow& row, CAccessData& parseData) const;

  SRecoveryRules m_rules;
  CJobContext& m_job;
  CPreviewList* m_pList = nullptr;
  const CAccessTable* m_pTable = nullptr;
  const CAccessTableList* m_previewTables = nullptr;
  uint32_t m_previewPageSize = 0;
  CValueStream m_file;
  std::u16string m_strQueryType = u"5";  // the catalogue's type of a saved query
};

}  // namespace tolvane
