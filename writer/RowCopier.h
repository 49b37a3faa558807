// Copies the rows of one recovered table from its data file into the new database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "model/RecoveryRules.h"
#include "writer/SavedTable.h"

namespace tolvane {

// One object a table. Holds one row in memory; OLE values are handed over piece by piece.
class CRowCopier {
 public:
  CRowCopier(CDaoDatabase& database, const SRecoveryRules& rules, SSavedTable& saved, SSaveSummary& summary)
      : m_database(database), m_rules(rules), m_saved(saved), m_summary(summary) {}

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

  ESaveStep CopyRows();
  ESaveStep CopyRow(std::vector<std::u16string>& cells);
  ESaveStep SetValue(size_t column, std::u16string& text, SRow& row);
  ESaveStep NoteValue(const CDaoResult& result, SRow& row);
  CDaoResult SetFromFile(size_t field, const std::u16string& path);
  ESaveStep StoreRow(SRow& row);
  ESaveStep Close();
  ESaveStep Fail(const CDaoResult& result);

  CDaoDatabase& m_database;
  const SRecoveryRules& m_rules;
  SSavedTable& m_saved;
  SSaveSummary& m_summary;
  std::unique_ptr<CDaoRecordset> m_recordset;
  bool m_hasNewRecord = false;  // AddNew was called, Update not yet
};

}  // namespace tolvane
