// The rows of a recovered table on their way into the new database, prepared ahead of their turn:
//
//   data file -> blocks of rows, in order -> records of a batch, on all processors -> the copier, in order
//
// A record on which anything is unusual (a value that does not fit its field, a long value, no value at all)
// is left to the copier, which tells what becomes of it. So what is stored, counted and told is the same for
// any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "dao/dao.h"
#include "platform/OrderedTeam.h"
#include "store/RowBlocks.h"
#include "store/ValueRecord.h"
#include "writer/FieldConverter.h"
#include "writer/SavedTable.h"

namespace tolvane {

// Rows of one block and what could be prepared of them.
struct SPreparedRows {
  SRowBlock rows;
  std::unique_ptr<CDaoRecordBatch> batch;
  std::vector<uint8_t> isPrepared;  // by row: it is the batch's next record
};

class CRecordPreparer : private COrderedSteps {
 public:
  // Both outlive the preparer, and the table's fields are settled. `threads`: all that work, the caller's
  // among them.
  CRecordPreparer(CDaoRecordset& recordset, const SSavedTable& saved, uint32_t threads);
  // Waits for the threads, wherever the file was left.
  ~CRecordPreparer() override { m_team.End(); }

  // False: the engine has no batches for this table, or its data file is not there or so short that
  // preparing it is not worth the while.
  bool Open(const SFilePart& records);
  // The next rows of the file; they stay until the next call. Null behind the last ones.
  SPreparedRows* Next();

 private:
  bool BeginStep(size_t slot) override;
  void DoStep(size_t slot, size_t worker) override;
  bool Prepare(std::span<const uint8_t> row, CFieldConverter& converter, CDaoRecordBatch& batch) const;
  bool PrepareValue(size_t column, std::span<const uint8_t> record, CFieldConverter& converter,
                    CDaoRecordBatch& batch) const;

  CDaoRecordset& m_recordset;
  const SSavedTable& m_saved;
  std::vector<SValueKind> m_kinds;    // by column
  std::vector<uint8_t> m_fieldTypes;  // by column: the type of the column that its field is
  CRowBlockReader m_reader;
  COrderedTeam m_team;
  std::vector<SPreparedRows> m_slots;
  std::vector<CFieldConverter> m_converters;  // by worker
};

}  // namespace tolvane
