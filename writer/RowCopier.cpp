#include "writer/RowCopier.h"

#include "status/Status.h"
#include "store/RowReader.h"
#include "writer/FieldValue.h"
#include "writer/SideFileSource.h"

namespace tolvane {

ESaveStep CRowCopier::Fail(const CDaoResult& result) {
  m_summary.failure = result.text;
  return ESaveStep::Failed;
}

ESaveStep CRowCopier::Copy() {
  const CDaoResult opened = m_database.OpenRecordset(u"SELECT * FROM [" + m_saved.name + u"]", m_recordset);
  if (!opened.IsOk()) {
    if (EndsSave(opened.code)) return Fail(opened);
    LoseRecords(m_saved, m_saved.table->header.rowCount, opened.text);
    return ESaveStep::Done;
  }
  const ESaveStep step = CopyRows();
  const ESaveStep closed = Close();
  return step == ESaveStep::Done ? closed : step;
}

ESaveStep CRowCopier::Close() {
  m_summary.charactersReplaced += m_recordset->GetReplacedCount();
  const CDaoResult result = m_recordset->Close();
  m_summary.indexesWeakened += m_recordset->GetChangedIndexCount();
  m_recordset.reset();
  // The table's maps or counters lack something then: no database to keep.
  if (!result.IsOk()) return Fail(result);
  // Text without a failure tells what the engine had to change, such as an index that is no longer unique.
  if (result.text.empty()) return ESaveStep::Done;
  m_summary.notes.push_back(u"Table \"" + m_saved.table->name + u"\": " + result.text);
  CRepairLog::Instance().Append(m_summary.notes.back());
  return ESaveStep::Done;
}

ESaveStep CRowCopier::CopyRows() {
  CTableRowReader reader(*m_saved.table);
  uint64_t rowsRead = 0;
  if (reader.Open()) {
    std::vector<std::u16string> cells;
    while (reader.ReadRow(cells)) {
      ++rowsRead;
      CProgressStatus::Instance().IncrementPos();
      const ESaveStep step = CopyRow(cells);
      if (step != ESaveStep::Done) return step;
    }
  }
  if (rowsRead < m_saved.table->header.rowCount)
    LoseRecords(m_saved, m_saved.table->header.rowCount - rowsRead,
                u"The table's temporary file ends early.");
  return ESaveStep::Done;
}

ESaveStep CRowCopier::CopyRow(std::vector<std::u16string>& cells) {
  SRow row;
  if (!m_hasNewRecord) {
    const CDaoResult added = m_recordset->AddNew();
    if (EndsSave(added.code)) return Fail(added);
    if (!added.IsOk()) {
      LoseRecords(m_saved, 1, added.text);
      return ESaveStep::Done;
    }
    m_hasNewRecord = true;
  }
  for (size_t i = 0; i < cells.size(); ++i) {
    const ESaveStep step = SetValue(i, cells[i], row);
    if (step != ESaveStep::Done) return step;
    if (!CSavingStatus::Instance().IsSaving()) return ESaveStep::Stopped;
  }
  return StoreRow(row);
}

ESaveStep CRowCopier::SetValue(size_t column, std::u16string& text, SRow& row) {
  if (text.empty()) return ESaveStep::Done;
  const size_t field = m_saved.fields[column];
  if (field == SSavedTable::kNoField)
    return NoteValue({EDaoError::ItemNotFound, u"Its column could not be created."}, row);
  switch (ConvertForField(m_saved.table->columns.GetAt(column)->type, m_rules, text)) {
    case EFieldValue::Dropped:
      ++m_summary.fieldsDropped;
      return ESaveStep::Done;
    case EFieldValue::File:
      return NoteValue(SetFromFile(field, text), row);
    default:
      return NoteValue(m_recordset->SetFieldValue(field, text), row);
  }
}

ESaveStep CRowCopier::NoteValue(const CDaoResult& result, SRow& row) {
  if (EndsSave(result.code)) return Fail(result);
  if (result.IsOk())
    row.hasValue = true;
  else if (row.failedFields++ == 0)
    row.reason = result.text;
  return ESaveStep::Done;
}

CDaoResult CRowCopier::SetFromFile(size_t field, const std::u16string& path) {
  CSideFileSource source;
  if (!source.Open(path)) return {EDaoError::NotFound, source.GetProblem()};
  const CDaoResult result = m_recordset->SetFieldValue(field, source);
  // A source that cannot be read costs this value, whatever the engine calls it.
  if (!result.IsOk() && !source.GetProblem().empty()) return {EDaoError::NotFound, source.GetProblem()};
  return result;
}

ESaveStep CRowCopier::StoreRow(SRow& row) {
  if (!row.hasValue && row.failedFields > 0) {
    LoseRecords(m_saved, 1, row.reason);
    return ESaveStep::Done;
  }
  if (!row.hasValue && m_rules.dropEmptyRows) {
    ++m_summary.emptyRowsDropped;
    return ESaveStep::Done;
  }
  const CDaoResult result = m_recordset->Update();
  m_hasNewRecord = false;
  if (EndsSave(result.code)) return Fail(result);
  if (!result.IsOk()) {
    LoseRecords(m_saved, 1, result.text);
    return ESaveStep::Done;
  }
  for (uint64_t i = 0; i < row.failedFields; ++i) LoseField(m_saved, row.reason);
  ++m_summary.recordsSaved;
  return ESaveStep::Done;
}

}  // namespace tolvane
