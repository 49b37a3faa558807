#include "writer/RecordPreparer.h"

#include <algorithm>
#include <new>

#include "format/Bytes.h"
#include "render/RecordText.h"
#include "store/ValueStream.h"

namespace tolvane {

namespace {

// Storing is one thread's, and more than that many are faster than it.
constexpr uint32_t kMostPreparers = 8;
// Starting threads is not worth the while for fewer.
constexpr uint64_t kBlocksForThreads = 4;

}  // namespace

CRecordPreparer::CRecordPreparer(CDaoRecordset& recordset, const SSavedTable& saved, uint32_t threads)
    : m_recordset(recordset),
      m_saved(saved),
      m_reader(saved.table->columns.GetCount()),
      m_team(*this, std::clamp<uint32_t>(threads, 1, kMostPreparers)),
      m_slots(m_team.GetSlotCount()),
      m_converters(m_team.GetThreadCount()) {
  for (const CAccessColumn& column : saved.table->columns) m_kinds.push_back(KindOf(column));
  for (const SFieldType& field : saved.fieldTypes) m_fieldTypes.push_back(ColumnTypeOfField(field.type));
}

bool CRecordPreparer::Open(const SFilePart& records) {
  if (!m_reader.Open(records) || m_reader.GetLength() < CRowBlockReader::kBlockBytes) return false;
  for (SPreparedRows& slot : m_slots) {
    slot.batch = m_recordset.MakeBatch();
    if (!slot.batch) return false;
  }
  m_team.Start(m_reader.GetLength() < kBlocksForThreads * CRowBlockReader::kBlockBytes);
  return true;
}

SPreparedRows* CRecordPreparer::Next() {
  const std::optional<size_t> slot = m_team.Next();
  return slot ? &m_slots[*slot] : nullptr;
}

bool CRecordPreparer::BeginStep(size_t slot) {
  return m_reader.Next(m_slots[slot].rows);
}

void CRecordPreparer::DoStep(size_t slot, size_t worker) {
  SPreparedRows& prepared = m_slots[slot];
  prepared.batch->Clear();
  prepared.isPrepared.assign(prepared.rows.starts.size(), 0);
  if (!prepared.rows.HasBytes()) return;
  try {
    for (size_t row = 0; row < prepared.isPrepared.size(); ++row)
      prepared.isPrepared[row] =
          Prepare(prepared.rows.GetRow(row), m_converters[worker], *prepared.batch) ? 1 : 0;
  } catch (const std::bad_alloc&) {
    // The copier reads the other rows itself.
  }
}

bool CRecordPreparer::Prepare(std::span<const uint8_t> row, CFieldConverter& converter,
                              CDaoRecordBatch& batch) const {
  batch.AddNew();
  bool hasValue = false;
  size_t start = 0;
  for (size_t column = 0; column < m_kinds.size(); ++column) {
    const size_t count = GetLittle<uint32_t>(row.subspan(start), 0);  // `start` may happen to be kAbsent
    start += kCountBytes;
    if (count != 0) {
      if (m_saved.fields[column] == SSavedTable::kNoField) return false;
      if (!PrepareValue(column, row.subspan(start, count), converter, batch)) return false;
      hasValue = true;
    }
    start += count;
  }
  return hasValue && batch.Update();
}

bool CRecordPreparer::PrepareValue(size_t column, std::span<const uint8_t> record, CFieldConverter& converter,
                                   CDaoRecordBatch& batch) const {
  SValue value;
  if (!TakeValue(m_kinds[column], record, value) || value.type == kTypeOle) return false;
  return converter.ConvertForField(m_fieldTypes[column], m_saved.fieldTypes[column], value) &&
         batch.SetFieldValue(m_saved.fields[column], value);
}

}  // namespace tolvane
