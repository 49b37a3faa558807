#include "writer/RowCopier.h"

#include <array>
#include <span>

#include "platform/Text.h"
#include "writer/AttachmentSource.h"
#include "writer/FieldValue.h"
#include "writer/RecordPreparer.h"
#include "writer/RecordSource.h"
#include "writer/SideFileSource.h"

namespace tolvane {

namespace {

// Bytes of a text that is handed over in pieces.
constexpr uint32_t kLongText = 64 * 1024;

}  // namespace

ESaveStep CRowCopier::Copy() {
  const CDaoResult opened = OpenRecords();
  if (!opened.IsOk()) {
    if (EndsSave(opened.code)) return FailSave(m_summary, opened);
    LoseRecords(m_saved, CountRows(), opened.text);
    return ESaveStep::Done;
  }
  const ESaveStep step = CopyRows();
  const ESaveStep closed = Close();
  return step == ESaveStep::Done ? closed : step;
}

CDaoResult CRowCopier::OpenRecords() {
  if (m_saved.rows != ERows::Attached)
    return m_database.OpenRecordset(u"SELECT * FROM [" + m_saved.name + u"]", m_recordset);
  const SComplexField& complex = m_owner->complex[m_saved.ownersColumn];
  const size_t field = complex.type == kDaoVersions ? complex.memo : complex.column;
  return m_database.OpenComplexRecordset(m_owner->name, m_owner->fieldNames[field], m_recordset);
}

uint64_t CRowCopier::CountRows() const {
  if (m_owner == nullptr) return m_saved.table->header.rowCount;
  const CComplexValues& values = *m_owner->complex[m_saved.ownersColumn].values;
  const uint64_t attached = values.Count(CComplexValues::EFate::Attached);
  return m_saved.rows == ERows::Attached ? attached
         : m_saved.rows == ERows::Loose  ? values.CountAll() - attached
                                         : m_saved.table->header.rowCount;
}

bool CRowCopier::TakesRow(uint64_t row) const {
  if (m_owner == nullptr || m_saved.rows == ERows::All) return true;
  const CComplexValues& values = *m_owner->complex[m_saved.ownersColumn].values;
  const bool isAttached = values.GetFate(static_cast<size_t>(row)) == CComplexValues::EFate::Attached;
  return isAttached == (m_saved.rows == ERows::Attached);
}

ESaveStep CRowCopier::Close() {
  m_summary.charactersReplaced += m_recordset->GetReplacedCount();
  const CDaoResult result = m_recordset->Close();
  m_summary.indexesWeakened += m_recordset->GetChangedIndexCount();
  m_summary.recordsMoved += m_recordset->GetMovedCount();
  m_recordset.reset();
  // The table's maps or counters lack something then: no database to keep.
  if (!result.IsOk()) return FailSave(m_summary, result);
  // Text without a failure tells what the engine had to change, such as an index that is no longer unique.
  if (result.text.empty()) return ESaveStep::Done;
  Remark(m_summary, m_job, u"Table \"" + m_saved.table->name + u"\": " + result.text);
  return ESaveStep::Done;
}

ESaveStep CRowCopier::CopyRows() {
  for (const CAccessColumn& column : m_saved.table->columns) m_kinds.push_back(KindOf(column));
  for (const SFieldType& field : m_saved.fieldTypes) m_fieldTypes.push_back(ColumnTypeOfField(field.type));
  m_complexOf.assign(m_kinds.size(), SSavedTable::kNoField);
  for (size_t i = 0; i < m_saved.complex.size(); ++i) m_complexOf[m_saved.complex[i].column] = i;
  const auto flat = m_rules.complexValuesAreData ? DescribeFlatTable(*m_saved.table) : std::nullopt;
  m_unwrapsFiles = flat && flat->kind == EFlatKind::Files && m_saved.rows != ERows::Attached;
  CTableRowReader reader(m_saved.table->columns.GetCount());
  const SFilePart& records = m_saved.table->GetRecords();
  uint64_t rowsRead = 0, rowsTaken = 0;
  if (reader.Open(records)) {
    CRecordPreparer preparer(*m_recordset, m_saved, m_job.GetThreads());
    if (CanPrepare() && preparer.Open(records)) {
      while (const SPreparedRows* const rows = preparer.Next())
        if (const ESaveStep step = CopyPrepared(*rows, reader, rowsTaken); step != ESaveStep::Done)
          return step;
    } else {
      while (reader.BeginRow()) {
        if (!TakesRow(rowsRead++)) continue;
        ++rowsTaken;
        m_job.progress.IncrementPos();
        if (const ESaveStep step = CopyRow(reader); step != ESaveStep::Done) return step;
      }
    }
  }
  if (const uint64_t rows = CountRows(); rowsTaken < rows)
    LoseRecords(m_saved, rows - rowsTaken, u"The table's temporary file ends early.");
  return ESaveStep::Done;
}

// Where what a record becomes follows from its values alone.
bool CRowCopier::CanPrepare() const {
  return !m_rules.recordsHoldTexts && m_owner == nullptr && m_saved.complex.empty() && !m_unwrapsFiles;
}

// In the order of the rows; the reader reads those that were not prepared.
ESaveStep CRowCopier::CopyPrepared(const SPreparedRows& prepared, CTableRowReader& reader,
                                   uint64_t& rowsTaken) {
  size_t record = 0;
  for (size_t i = 0; i < prepared.isPrepared.size(); ++i) {
    ESaveStep step = ESaveStep::Done;
    if (prepared.isPrepared[i] != 0) {
      step = NoteStored(m_recordset->StoreRecord(*prepared.batch, record++), {});
    } else {
      reader.MoveToRow(prepared.rows.position + prepared.rows.starts[i]);
      if (!reader.BeginRow()) break;
      step = CopyRow(reader);
    }
    ++rowsTaken;
    if (step != ESaveStep::Done) return step;
    if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
  }
  m_job.progress.Advance(static_cast<uint32_t>(prepared.isPrepared.size()));
  return ESaveStep::Done;
}

ESaveStep CRowCopier::CopyRow(CTableRowReader& reader) {
  SRow row;
  if (!m_hasNewRecord) {
    const CDaoResult added = m_recordset->AddNew();
    if (EndsSave(added.code)) return FailSave(m_summary, added);
    if (!added.IsOk()) {
      LoseRecords(m_saved, 1, added.text);
      return ESaveStep::Done;
    }
    m_hasNewRecord = true;
  }
  for (size_t i = 0; i < m_saved.fields.size(); ++i) {
    const ESaveStep step = SetValue(i, reader, row);
    if (step != ESaveStep::Done) return step;
    if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
  }
  return StoreRow(row);
}

ESaveStep CRowCopier::SetValue(size_t column, CTableRowReader& reader, SRow& row) {
  const SValueKind& kind = m_kinds[column];
  const bool isText = IsTextType(kind.type) && !kind.isResult;
  uint32_t count = 0;
  if (m_rules.recordsHoldTexts || isText) {
    if (!reader.BeginRecord(count) || count == 0) return ESaveStep::Done;
    if (count > kLongText && isText && IsMemo(column))
      return NoteValue(SetFromRecord(column, reader.GetStream(), count), row);
    if (!reader.GetStream().ReadText(count, m_text)) return ESaveStep::Done;
  }
  if (m_rules.recordsHoldTexts) return SetText(column, row);
  SValue value;
  if (isText) {
    value = {.type = kind.type, .isNull = false, .bytes = UnitBytes(m_text)};
  } else {
    reader.ReadRecord(m_record);
    if (!TakeValue(kind, m_record, value))
      return NoteValue({EDaoError::DataConversion, u"Its temporary record is damaged."}, row);
  }
  if (m_complexOf[column] != SSavedTable::kNoField) return SetComplexKey(m_complexOf[column], value, row);
  if (value.isNull || m_saved.fields[column] == SSavedTable::kSkippedField) return ESaveStep::Done;
  if (m_saved.fields[column] == SSavedTable::kNoField)
    return NoteValue({EDaoError::ItemNotFound, u"Its column could not be created."}, row);
  if (value.type == kTypeOle) {
    SObjectPlace place{.path = m_saved.table->GetObjectFilePath()};
    if (!TakeObjectReference(value.bytes, place))
      return NoteValue({EDaoError::DataConversion, u"Its temporary record is damaged."}, row);
    if (m_unwrapsFiles) return SetAttachment(m_saved.fields[column], place, row);
    return NoteValue(SetFromFile(m_saved.fields[column], place), row);
  }
  return NoteValue(SetTyped(column, value), row);
}

bool CRowCopier::IsMemo(size_t column) const {
  const size_t field = m_saved.fields[column];
  return field != SSavedTable::kNoField && field != SSavedTable::kSkippedField &&
         m_saved.fieldTypes[column].type == kDaoMemo && m_complexOf[column] == SSavedTable::kNoField;
}

CDaoResult CRowCopier::SetFromRecord(size_t column, CValueStream& stream, uint32_t count) {
  const uint64_t end = stream.GetPosition() + count;
  CRecordSource source(stream, (count - 1) / 2 * 2);
  CDaoResult result = m_recordset->SetFieldValue(m_saved.fields[column], source);
  stream.MoveTo(end);
  return result;
}

// Records without a key, or with that of an earlier one, get one of their own: they have no values.
ESaveStep CRowCopier::SetComplexKey(size_t entry, const SValue& value, SRow& row) {
  const SComplexField& complex = m_saved.complex[entry];
  const size_t field = m_saved.fields[complex.column];
  const int32_t key = value.isNull ? 0 : GetLittle<int32_t>(value.bytes, 0);
  row.hasValue = true;
  if (key <= 0 || field == SSavedTable::kNoField) return ESaveStep::Done;
  if (complex.HasValues() && complex.values->IsShared(key) && !m_sharedKeys.insert(key).second)
    return ESaveStep::Done;
  SValue number = value;
  number.type = kTypeLong;
  const ESaveStep step = NoteValue(m_recordset->SetFieldValue(field, number), row);
  if (step != ESaveStep::Done || m_saved.textFields[entry] == SSavedTable::kNoField) return step;
  complex.values->MakeText(key, m_text);
  if (m_text.empty()) return ESaveStep::Done;
  const SValue text{.type = kTypeMemo, .isNull = false, .bytes = UnitBytes(m_text)};
  return NoteValue(m_recordset->SetFieldValue(m_saved.textFields[entry], text), row);
}

CDaoResult CRowCopier::SetTyped(size_t column, SValue& value) {
  if (m_converter.ConvertForField(m_fieldTypes[column], m_saved.fieldTypes[column], value))
    return m_recordset->SetFieldValue(m_saved.fields[column], value);
  return {EDaoError::DataConversion, u"The value cannot be stored in field \"" + m_saved.fieldNames[column] +
                                         u"\": the field's type does not hold it."};
}

ESaveStep CRowCopier::SetText(size_t column, SRow& row) {
  if (m_text.empty()) return ESaveStep::Done;
  const size_t field = m_saved.fields[column];
  if (field == SSavedTable::kNoField)
    return NoteValue({EDaoError::ItemNotFound, u"Its column could not be created."}, row);
  int64_t number = 0;
  switch (ConvertForField(m_saved.table->columns.GetAt(column)->type, m_rules, m_text, number)) {
    case EFieldValue::Dropped:
      ++m_summary.fieldsDropped;
      return ESaveStep::Done;
    case EFieldValue::Number:
      return NoteValue(SetNumber(column, number), row);
    case EFieldValue::File:
      return NoteValue(SetFromFile(field, {.path = m_text}), row);
    default:
      return NoteValue(SetParsed(column), row);
  }
}

ESaveStep CRowCopier::NoteValue(const CDaoResult& result, SRow& row) {
  if (EndsSave(result.code)) return FailSave(m_summary, result);
  if (result.IsOk()) row.hasValue = true;
  // A value that was set may have lost something, too.
  if ((!result.IsOk() || !result.text.empty()) && row.failedFields++ == 0) row.reason = result.text;
  return ESaveStep::Done;
}

// The range of bytes that is stored reaches below zero; what such a number becomes is the engine's to say.
CDaoResult CRowCopier::SetNumber(size_t column, int64_t number) {
  const bool isNegativeByte = m_fieldTypes[column] == kTypeByte && number < 0;
  const uint8_t type = isNegativeByte ? uint8_t{kTypeInteger} : m_fieldTypes[column];
  if (m_saved.table->columns.GetAt(column)->type != m_fieldTypes[column] || m_recordset->ReadsTexts()) {
    m_text = ToDecimal(number);
    return SetParsed(column);
  }
  std::array<uint8_t, sizeof number> bytes{};
  PutLittle(std::span<uint8_t>(bytes), 0, number);
  return m_recordset->SetFieldValue(
      m_saved.fields[column],
      SValue{.type = type, .isNull = false, .bytes = std::span(bytes).first(LengthOfType(type))});
}

CDaoResult CRowCopier::SetParsed(size_t column) {
  SValue value{.type = m_fieldTypes[column], .isNull = false, .bytes = {}};
  if (IsTextType(value.type) || m_recordset->ReadsTexts())
    value = {.type = kTypeText, .isNull = false, .bytes = UnitBytes(m_text)};
  else if (!m_parser.Parse(value.type, m_text, value))
    return {EDaoError::DataConversion, u"The value cannot be stored in field \"" +
                                           m_saved.fieldNames[column] +
                                           u"\": the text is no value of the field's type."};
  return m_recordset->SetFieldValue(m_saved.fields[column], value);
}

CDaoResult CRowCopier::SetFromFile(size_t field, const SObjectPlace& place) {
  CSideFileSource source;
  if (!source.Open(place)) return {EDaoError::NotFound, source.GetProblem()};
  const CDaoResult result = m_recordset->SetFieldValue(field, source);
  // A source that cannot be read costs this value, whatever the engine calls it.
  if (!result.IsOk() && !source.GetProblem().empty()) return {EDaoError::NotFound, source.GetProblem()};
  return result;
}

ESaveStep CRowCopier::SetAttachment(size_t field, const SObjectPlace& place, SRow& row) {
  CAttachmentSource source;
  if (!source.Open(place)) return NoteValue({EDaoError::NotFound, source.GetProblem()}, row);
  CDaoResult result = m_recordset->SetFieldValue(field, source);
  if (!result.IsOk() && !source.GetProblem().empty()) result = {EDaoError::NotFound, source.GetProblem()};
  const ESaveStep step = NoteValue(result, row);
  if (step != ESaveStep::Done || !source.IsDamaged()) return step;
  return NoteValue(
      {EDaoError::DataConversion, u"The attached file is damaged; what is left of it was saved."}, row);
}

ESaveStep CRowCopier::StoreRow(SRow& row) {
  if (!row.hasValue && row.failedFields > 0 && m_rules.dropEmptyRows) {
    LoseRecords(m_saved, 1, row.reason);
    return ESaveStep::Done;
  }
  if (!row.hasValue && m_rules.dropEmptyRows) {
    ++m_summary.emptyRowsDropped;
    return ESaveStep::Done;
  }
  return NoteStored(m_recordset->Update(), row);
}

ESaveStep CRowCopier::NoteStored(const CDaoResult& result, const SRow& row) {
  m_hasNewRecord = false;
  if (EndsSave(result.code)) return FailSave(m_summary, result);
  if (!result.IsOk()) {
    LoseRecords(m_saved, 1, result.text);
    return ESaveStep::Done;
  }
  for (uint64_t i = 0; i < row.failedFields; ++i) LoseField(m_saved, row.reason);
  ++(m_saved.rows == ERows::Attached ? m_summary.valuesSaved : m_summary.recordsSaved);
  return ESaveStep::Done;
}

}  // namespace tolvane
