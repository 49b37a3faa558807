#include "engine/TableRecorder.h"

#include <algorithm>
#include <string>

#include "engine/RowLearning.h"
#include "model/FlatTable.h"
#include "platform/FileCust.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

// Pages of a table whose rows are kept whoever wants them.
constexpr size_t kPagesAlwaysKept = 1024;

}  // namespace

CTableRecorder::CTableRecorder(CSource& source, const SRecoveryRules& rules, CJobContext& job,
                               CAccessData& data, CLongValuePages* brokenPages, CIndexWitness* witness)
    : m_layout(source.GetLayout()),
      m_rules(rules),
      m_job(job),
      m_reader(source.GetPages()),
      m_data(data),
      m_witness(witness),
      m_dataFile(data.GetWorkFolder()),
      m_sideFile(data.GetWorkFolder(), m_dataFile),
      m_longValues(m_reader, m_layout, rules, job),
      m_fields(m_layout.text, rules, m_longValues,
               rules.recordsHoldTexts ? static_cast<CObjectSink&>(m_sideFile) : m_objectFile),
      m_records(rules, m_dataFile),
      m_frame(m_layout.row) {
  m_fields.UseTextSink(m_records);
  if (brokenPages != nullptr) m_longValues.UseBrokenPages(*brokenPages);
}

void CTableRecorder::NoteRow(const CAccessTable& table, std::span<const uint8_t> row) {
  if (m_noted != &table) m_fields.SetTable(table, m_data.source.codePage);
  m_noted = &table;
  if (m_frame.Cut(row, m_fields.GetShape())) m_fields.NoteLongValues(m_frame);
}

bool CTableRecorder::Record(CAccessTable& table, const std::function<bool()>& walk) {
  Begin(table);
  bool isRunning = true, isStored = true;
  try {
    isStored = StartFiles();
    if (isStored)
      isRunning = walk();
    else
      GiveUp(SystemMessage(m_dataFile.GetLastErrorCode()));
    m_dataFile.CloseDataFile();
    table.SetRecords(m_dataFile.GetPart());
  } catch (const CFileCustException& error) {
    isStored = false;
    GiveUp(error.GetMessageText());
    CloseQuietly();
  }
  m_objectFile.Close();
  if (!isStored) table.SetRecords(KeepWholeRows(m_dataFile.GetPart(), table.columns.GetCount(), m_rows));
  table.header.rowCount = m_rows;
  if (m_entries && isRunning && isStored) m_witness->Hear(m_data, table, *m_profile, *m_entries, m_entrySum);
  return isRunning;
}

void CTableRecorder::Begin(CAccessTable& table) {
  m_table = &table;
  m_rows = 0;
  m_fields.SetTable(table, m_data.source.codePage);
  table.promisedRows = table.header.rowCount;
  PrepareProfile();
}

void CTableRecorder::PrepareProfile() {
  m_profile.reset();
  m_entries.reset();
  m_entrySum = 0;
  if (!m_rules.rowsMatchDefinition) return;
  if (m_witness != nullptr) m_entries.emplace(*m_table, m_layout);
  if (m_entries && m_entries->GetIndexes().empty()) m_entries.reset();
  if (m_entries) m_witness->Begin(*m_table, *m_entries);
  m_profile.emplace(*m_table, m_layout, m_fields.GetShape());
  LearnRows(m_reader, *m_table, m_layout, *m_profile);
  m_leftovers.clear();
  const uint32_t numbers = m_fields.GetShape().columnsEver;
  // Whoever overwrote the counts took no column away.
  for (uint32_t number = 0; number < numbers && !m_table->hasMendedCounts; number++)
    if (m_table->columns.FindByNumber(static_cast<uint16_t>(number)) == nullptr)
      m_leftovers.push_back(number);
}

// The rows of a user's table may be wanted by nobody. Others tell names and queries, or belong to the values
// of complex columns; and where a table is small nobody needs to be sure.
bool CTableRecorder::KeepsRows() const {
  return m_job.WantsRows() || m_rules.recordsHoldTexts || m_table->header.tableType != kUserTable ||
         m_table->dataPages.GetCount() < kPagesAlwaysKept || DescribeFlatTable(*m_table) ||
         std::ranges::count(m_table->columns, kTypeComplex, &CAccessColumn::type) > 0;
}

bool CTableRecorder::StartFiles() {
  const bool keeps = KeepsRows();
  m_objectFile.Start(keeps ? m_table->GetObjectFilePath() : std::u16string());
  // Whoever reads texts takes each table's file by its name.
  if (keeps && m_rules.recordsHoldTexts) return m_dataFile.CreateDataFile(m_table->GetDefinitionOffset());
  if (keeps)
    m_dataFile.StartDataFile(m_table->GetDefinitionOffset());
  else
    m_dataFile.StartWithoutFile();
  return true;
}

SDecodedTable CTableRecorder::DescribeTable() const {
  return {.table = m_table,
          .profile = &*m_profile,
          .leftovers = m_leftovers,
          .codePage = m_data.source.codePage,
          .sumsEntries = m_entries.has_value()};
}

bool CTableRecorder::TakePage(const SDecodedPage& page, const SDecodedPage& before, SDecodedBatch& batch) {
  if (!page.isPlain || !m_longValues.Spend(page.longValueCost)) return false;
  const uint64_t place = m_objectFile.GetLength() - before.objectsEnd;
  for (size_t i = before.referencesEnd; i < page.referencesEnd; i++)
    MoveObjectReference(batch.records.GetBytes(batch.references[i]), place);
  m_objectFile.Take(batch.objects.GetBytes(before.objectsEnd, page.objectsEnd));
  m_dataFile.WriteRecords(batch.records.GetBytes(before.recordsEnd, page.recordsEnd));
  m_table->leftoverValues += page.leftoverValues;
  m_entrySum += page.entries;
  m_rows += page.rows;
  m_job.progress.Advance(page.rows);
  return true;
}

void CTableRecorder::AddRow(std::span<const uint8_t> row, uint32_t slot) {
  if (!TryRow(row, slot)) Count(EDamage::RejectedRow, slot, "its frame contradicts the definition");
}

bool CTableRecorder::TryRow(std::span<const uint8_t> row, uint32_t slot) {
  const bool isRow = m_profile ? m_profile->Accepts(m_frame, row) : m_frame.Cut(row, m_fields.GetShape());
  if (!isRow) return false;
  if (m_profile && !CRowProfile::IsFilled(m_frame))
    Count(EDamage::TornPage, slot, "the row is longer than its values: it may be put together from two");
  if (m_entries)
    m_entrySum += m_entries->SumOf(m_frame, {slot, static_cast<uint32_t>(m_offset / m_layout.pageSize)});
  for (size_t column = 0; column < m_fields.GetColumnCount(); column++) {
    SValue value;
    const EFieldResult result = m_fields.Decode(m_frame, column, value);
    const bool isWritten = m_records.Write(value);
    if (result == EFieldResult::Broken || !isWritten)
      Count(EDamage::BrokenValue, slot, "the row has no such bytes", column);
    if (result == EFieldResult::Contradicted)
      Count(EDamage::BrokenValue, slot, "null by its row, which has bytes for it", column);
    if (result == EFieldResult::Unfit)
      Count(EDamage::BrokenValue, slot, "longer than its column has room for, or half a letter", column);
    if (result == EFieldResult::CutShort)
      Count(EDamage::BrokenLongValue, slot, m_longValues.GetFault(), column);
  }
  for (const uint32_t number : m_leftovers) m_table->leftoverValues += m_frame.IsPresent(number) ? 1 : 0;
  m_rows++;
  m_job.progress.IncrementPos();
  m_fields.ReleaseMemory();
  return true;
}

void CTableRecorder::Count(EDamage kind, int64_t slot, const char* reason, std::optional<size_t> column) {
  m_data.GetLedger().Add(kind, {.page = m_offset / m_layout.pageSize,
                                .definition = m_table->GetDefinitionOffset(),
                                .row = static_cast<int32_t>(slot),
                                .column = column ? static_cast<int32_t>(*column) : -1,
                                .reason = reason});
}

void CTableRecorder::GiveUp(std::u16string_view reason) {
  m_data.GetLedger().Add(EDamage::SkippedTable, {.page = m_table->GetDefinitionOffset() / m_layout.pageSize,
                                                 .definition = m_table->GetDefinitionOffset()});
  std::u16string line = u"Records of table " + m_table->GetPageText(m_layout.pageSize);
  line += u" could not be stored: ";
  line += reason;
  m_job.log.Append(line);
}

void CTableRecorder::CloseQuietly() {
  try {
    m_dataFile.CloseDataFile();
  } catch (const CFileCustException&) {
    // The table was given up for the same reason already.
  }
}

}  // namespace tolvane
