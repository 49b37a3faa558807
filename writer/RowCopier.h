// Copies the rows of one recovered table from its data file into the new database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "dao/dao.h"
#include "model/RecoveryRules.h"
#include "render/RecordText.h"
#include "render/ValueParser.h"
#include "status/JobContext.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"
#include "writer/FieldConverter.h"
#include "writer/SavedTable.h"

namespace tolvane {

struct SPreparedRows;

// One object a table. Holds one value in memory; OLE values are handed over piece by piece.
class CRowCopier {
 public:
  // All outlive the copier. `owner` is the saved table whose column's values these are; null for records of
  // the table itself.
  CRowCopier(CDaoDatabase& database, const SRecoveryRules& rules, SSavedTable& saved, SSaveSummary& summary,
             CJobContext& job, const SSavedTable* owner = nullptr)
      : m_database(database),
        m_rules(rules),
        m_saved(saved),
        m_summary(summary),
        m_job(job),
        m_owner(owner) {}

  // What cannot be stored is counted in the table's loss; every row read is stored, dropped by a rule or
  // lost.
  ESaveStep Copy();

 private:
  // What became of the values of the current row.
  struct SRow {
    bool hasValue = false;  // at least one was set
    uint64_t failedFields = 0;
    std::u16string reason;
  };

  CDaoResult OpenRecords();
  [[nodiscard]] uint64_t CountRows() const;
  [[nodiscard]] bool TakesRow(uint64_t row) const;
  ESaveStep CopyRows();
  [[nodiscard]] bool CanPrepare() const;
  ESaveStep CopyPrepared(const SPreparedRows& prepared, CTableRowReader& reader, uint64_t& rowsTaken);
  ESaveStep CopyRow(CTableRowReader& reader);
  ESaveStep SetValue(size_t column, CTableRowReader& reader, SRow& row);
  CDaoResult SetTyped(size_t column, SValue& value);
  ESaveStep SetComplexKey(size_t entry, const SValue& value, SRow& row);
  ESaveStep SetText(size_t column, SRow& row);
  [[nodiscard]] bool IsMemo(size_t column) const;
  CDaoResult SetFromRecord(size_t column, CValueStream& stream, uint32_t count);
  CDaoResult SetNumber(size_t column, int64_t number);
  CDaoResult SetParsed(size_t column);
  ESaveStep NoteValue(const CDaoResult& result, SRow& row);
  CDaoResult SetFromFile(size_t field, const SObjectPlace& place);
  ESaveStep SetAttachment(size_t field, const SObjectPlace& place, SRow& row);
  ESaveStep StoreRow(SRow& row);
  ESaveStep NoteStored(const CDaoResult& result, const SRow& row);
  ESaveStep Close();

  CDaoDatabase& m_database;
  const SRecoveryRules& m_rules;
  SSavedTable& m_saved;
  SSaveSummary& m_summary;
  CJobContext& m_job;
  const SSavedTable* m_owner;
  bool m_unwrapsFiles = false;
  std::vector<size_t> m_complexOf;           // by column: its entry of SSavedTable::complex, or kNoField
  std::unordered_set<int32_t> m_sharedKeys;  // of records that several have: those that were met
  std::unique_ptr<CDaoRecordset> m_recordset;
  CValueParser m_parser;
  CFieldConverter m_converter;
  std::vector<SValueKind> m_kinds;    // by column
  std::vector<uint8_t> m_fieldTypes;  // by column: the type of the column that its field is
  std::vector<uint8_t> m_record;
  std::u16string m_text;        // of the present value
  bool m_hasNewRecord = false;  // AddNew was called, Update not yet
};

}  // namespace tolvane
