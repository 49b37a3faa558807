#include "engine/TableWalk.h"

#include <algorithm>
#include <utility>

#include "engine/DataReader.h"
#include "engine/RowLearning.h"
#include "format/PageHead.h"
#include "model/FlatTable.h"
#include "platform/FileCust.h"
#include "store/RowReader.h"

namespace tolvane {

namespace {

// Rows of a sound page do not overlap. Offsets that lie can make them, so that a page would yield its own
// size for every slot; this many times the page size is let through.
constexpr size_t kPageYield = 8;

// Pages of a table whose rows are kept whoever wants them.
constexpr size_t kPagesAlwaysKept = 1024;
}  // namespace

CTableWalk::CTableWalk(CSource& source, const SRecoveryRules& rules, CJobContext& job, CAccessData& data,
                       CPageClaims& claims, CIndexWitness* witness)
    : m_layout(source.GetLayout()),
      m_rules(rules),
      m_job(job),
      m_reader(source.GetPages()),
      m_data(data),
      m_claims(claims),
      m_witness(witness),
      m_dataFile(data.GetWorkFolder()),
      m_sideFile(data.GetWorkFolder(), m_dataFile),
      m_longValues(m_reader, m_layout, rules, job),
      m_fields(m_layout.text, rules, m_longValues,
               rules.recordsHoldTexts ? static_cast<CObjectSink&>(m_sideFile) : m_objectFile),
      m_records(rules, m_dataFile),
      m_frame(m_layout.row),
      m_pool(m_reader, m_layout, rules, job, job.GetThreads()),
      m_moved(m_reader, m_layout, rules),
      m_page(m_layout.pageSize) {
  m_fields.UseTextSink(m_records);
  if (!claims.GetLongValuePages().IsEmpty()) m_longValues.UseBrokenPages(claims.GetLongValuePages());
}

bool CTableWalk::NoteLongValues(const CAccessTable& table) {
  m_fields.SetTable(table, m_data.source.codePage);
  for (const uint64_t offset : table.dataPages) {
    if (!m_job.repairing.IsRunning()) return false;
    if (!m_reader.ReadPage(offset, m_page) || !AreSlotsSound(m_page, m_layout)) continue;
    for (const SPageRow& row : RowsOfSlots(m_page, m_layout)) {
      const bool isRow = (row.flags & kSlotPointer) == 0 && row.start < row.end;
      if (isRow && m_frame.Cut(Bytes(m_page).subspan(row.start, row.end - row.start), m_fields.GetShape()))
        m_fields.NoteLongValues(m_frame);
    }
  }
  return true;
}

bool CTableWalk::ParseTable(CAccessTable& table) {
  m_table = &table;
  m_rows = 0;
  m_moved.Begin(table);
  m_unsoundPages.clear();
  std::fill(m_page.begin(), m_page.end(), uint8_t{0});
  m_fields.SetTable(table, m_data.source.codePage);
  table.promisedRows = table.header.rowCount;
  PrepareProfile();

  bool isRunning = true, isStored = true;
  try {
    isStored = StartFiles();
    if (isStored)
      isRunning = WalkPages() && AdoptPages() && RebuildPages() && DecodeUnclaimedRows();
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

// The rows of a user's table may be wanted by nobody. Others tell names and queries, or belong to the values
// of complex columns; and where a table is small nobody needs to be sure.
bool CTableWalk::KeepsRows() const {
  const auto& columns = m_table->columns;
  return m_job.WantsRows() || m_rules.recordsHoldTexts || m_table->header.tableType != kUserTable ||
         m_table->dataPages.GetCount() < kPagesAlwaysKept || DescribeFlatTable(*m_table) ||
         std::any_of(columns.begin(), columns.end(),
                     [](const CAccessColumn& column) { return column.type == kTypeComplex; });
}

bool CTableWalk::StartFiles() {
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

bool CTableWalk::WalkPages() {
  const std::vector<uint64_t> pages(m_table->dataPages.begin(), m_table->dataPages.end());
  if (!WalkPages(pages)) return false;
  for (const uint32_t page : m_claims.DoubtfulPagesOf(*m_table)) {
    if (m_rows >= m_table->promisedRows) return true;
    const uint64_t offset = uint64_t{page} * m_layout.pageSize;
    const bool isMissing = m_reader.ReadPage(offset, m_page) &&
                           (!AreSlotsSound(m_page, m_layout) ||
                            m_rows + CountLiveSlots(m_page, m_layout) <= m_table->promisedRows);
    if (isMissing && !WalkPage(offset)) return false;
  }
  return WalkMisplacedPages();
}

// Stale pages look the same: only those with just the rows that are missing are believed.
bool CTableWalk::WalkMisplacedPages() {
  std::vector<uint32_t> pages = m_claims.MisplacedPagesOf(*m_table);
  if (pages.empty() || m_rows >= m_table->promisedRows) return true;
  const uint32_t missing = m_table->promisedRows - m_rows;
  std::vector<uint32_t> complete;
  uint64_t rows = 0;
  for (const uint32_t page : pages) {
    const bool isSound =
        m_reader.ReadPage(uint64_t{page} * m_layout.pageSize, m_page) && AreSlotsSound(m_page, m_layout);
    const uint32_t count = isSound ? CountLiveSlots(m_page, m_layout) : 0;
    rows += count;
    if (count == missing) complete.push_back(page);
  }
  if (rows != missing) pages = complete.size() == 1 ? complete : std::vector<uint32_t>{};
  for (const uint32_t page : pages) {
    if (!WalkPage(uint64_t{page} * m_layout.pageSize)) return false;
    m_claims.Adopt(page);
    Count(EDamage::MovedPages, -1, "it stands in the place of another page, and has the missing rows");
  }
  return true;
}

// In the table's order, whichever thread decoded them.
bool CTableWalk::WalkPages(std::span<const uint64_t> offsets) {
  if (CanDecodeAhead()) {
    CDecodePool::CTablePages decoded(m_pool,
                                     {.table = m_table,
                                      .profile = &*m_profile,
                                      .leftovers = m_leftovers,
                                      .codePage = m_data.source.codePage,
                                      .sumsEntries = m_entries.has_value()},
                                     offsets);
    while (SDecodedBatch* const batch = decoded.Next())
      if (!TakeBatch(*batch)) return false;
    return true;
  }
  for (const uint64_t offset : offsets) {
    if (!WalkPage(offset)) return false;
    m_job.pages.IncrementPos();
  }
  return true;
}

// Decoders know rows by the table's profile and write values, and the lengths of long values on broken pages
// are found in the order of the rows.
bool CTableWalk::CanDecodeAhead() const {
  return m_profile && !m_rules.recordsHoldTexts && !m_rules.unreadablePageKeepsPrevious &&
         m_claims.GetLongValuePages().IsEmpty();
}

// False: the run was stopped.
bool CTableWalk::TakeBatch(SDecodedBatch& batch) {
  SDecodedPage before;
  for (size_t i = 0; i < batch.offsets.size(); i++) {
    if (!m_job.repairing.IsRunning()) return false;
    const SDecodedPage page = i < batch.pages.size() ? batch.pages[i] : before;
    if (page.isPlain && m_longValues.Spend(page.longValueCost))
      TakePage(page, before, batch);
    else if (!WalkPage(batch.offsets[i]))
      return false;
    before = page;
    before.isPlain = false;
    m_job.pages.IncrementPos();
  }
  return true;
}

void CTableWalk::TakePage(const SDecodedPage& page, const SDecodedPage& before, SDecodedBatch& batch) {
  const uint64_t place = m_objectFile.GetLength() - before.objectsEnd;
  for (size_t i = before.referencesEnd; i < page.referencesEnd; i++)
    MoveObjectReference(batch.records.GetBytes(batch.references[i]), place);
  m_objectFile.Take(batch.objects.GetBytes(before.objectsEnd, page.objectsEnd));
  m_dataFile.WriteRecords(batch.records.GetBytes(before.recordsEnd, page.recordsEnd));
  m_table->leftoverValues += page.leftoverValues;
  m_entrySum += page.entries;
  m_rows += page.rows;
  m_job.progress.Advance(page.rows);
}

bool CTableWalk::WalkPage(uint64_t offset) {
  const uint64_t length = m_reader.GetLength();
  if (length < m_layout.pageSize || offset > length - m_layout.pageSize) return true;
  m_offset = offset;
  if (!m_reader.ReadPage(offset, m_page)) {
    Count(EDamage::UnreadablePage, -1);
    if (!m_rules.unreadablePageKeepsPrevious) return true;
  }
  return CutPage();
}

// False: the run was stopped.
bool CTableWalk::CutPage() {
  if (m_profile) return CutExactPage();
  const uint32_t count = CDataReader::ReadUInt16(&m_page[m_layout.data.slotCount]);
  const auto slotsOnPage = m_layout.data.MaximumSlots(m_layout.pageSize);
  if (count > slotsOnPage) Count(EDamage::BrokenPage, -1, "more slots than it has room for");
  if (count > m_page.size()) return true;

  m_pageBytesLeft = kPageYield * m_page.size();
  size_t end = m_page.size();
  size_t previous = m_page.size();
  for (uint32_t slot = 0; slot < std::min(count, slotsOnPage); slot++) {
    if (!m_job.repairing.IsRunning()) return false;
    if (previous > m_layout.data.slots && previous < m_page.size()) end = previous;
    const uint16_t word = *ReadSlot(m_page, m_layout, slot);
    const size_t start = word & m_rules.rowStartMask;
    previous = start;
    if ((word & kSlotHidden) != 0) {
      m_moved.NoteHidden(m_offset / m_layout.pageSize, slot, word);
    } else if ((word & kSlotPointer) != 0) {
      FollowPointer(slot, start);
    } else {
      const auto row = RowBetween(m_page, m_layout, slot, start, end);
      if (row && row->size() <= m_pageBytesLeft) {
        m_pageBytesLeft -= row->size();
        DecodeRow(*row, slot);
      } else {
        Count(EDamage::RejectedRow, slot, "its start cannot be true");
      }
    }
  }
  return true;
}

void CTableWalk::PrepareProfile() {
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

bool CTableWalk::CutExactPage() {
  if (!m_job.repairing.IsRunning()) return false;
  if (!AreSlotsSound(m_page, m_layout)) {
    m_unsoundPages.push_back(m_offset);
    return true;
  }
  std::vector<SPageRow> contested;  // neighbours
  for (const SPageRow& row : RowsOfSlots(m_page, m_layout)) {
    const bool isPlain = row.flags == 0 && row.start < row.end;
    if (isPlain && TryRow(Bytes(m_page).subspan(row.start, row.end - row.start), row.slot)) continue;
    if (!contested.empty() && (!isPlain || contested.back().start != row.end)) {
      CutContestedRows(contested);
      contested.clear();
    }
    if (isPlain)
      contested.push_back(row);
    else if (!TakeRow(row))
      return false;
  }
  if (!contested.empty()) CutContestedRows(contested);
  return true;
}

// Neighbours whose frames contradict the definition, although their slots agree with the head of the page:
// rows that begin and end elsewhere are there where slots were overwritten, or where the page is torn, its
// sectors being of different states. A row that stands in both states is read once.
void CTableWalk::CutContestedRows(const std::vector<SPageRow>& contested) {
  std::vector<SPageRow> found;
  if (m_profile->IsConfirmed())
    found =
        FindRowsBetween(m_page, contested.back().start, contested.front().end, m_layout, *m_profile, m_frame);
  bool isTold = false;
  size_t taken = 0;
  for (const SPageRow& row : found) {
    const Bytes bytes = Bytes(m_page).subspan(row.start, row.end - row.start);
    if (taken == contested.size() || IsRowOfSlots(bytes)) continue;
    if (!isTold)
      Count(EDamage::TornPage, -1, "its slots contradict its rows; those are told by their frames");
    isTold = true;
    TryRow(bytes, contested[taken++].slot);
  }
  for (; taken < contested.size(); taken++)
    Count(EDamage::RejectedRow, contested[taken].slot, "its frame contradicts the definition");
}

bool CTableWalk::IsRowOfSlots(Bytes row) const {
  const Bytes page = m_page;
  for (const SPageRow& other : RowsOfSlots(page, m_layout))
    if (other.end - other.start == row.size() &&
        std::equal(row.begin(), row.end(), page.begin() + static_cast<ptrdiff_t>(other.start)))
      return true;
  return false;
}

// Pages whose heads do not say that they are the table's. False: the run was stopped.
bool CTableWalk::AdoptPages() {
  if (!m_profile) return true;
  for (const uint32_t page : m_claims.PagesOf(*m_table)) {
    if (!m_job.repairing.IsRunning()) return false;
    m_offset = uint64_t{page} * m_layout.pageSize;
    if (!m_reader.ReadPage(m_offset, m_page)) continue;
    const bool isSound = m_page[0] == kPageData && AreSlotsSound(m_page, m_layout);
    const uint64_t rowsBefore = m_rows;
    if (isSound && !CutExactPage()) return false;
    const bool hasRows =
        isSound ? m_rows > rowsBefore : !FindRows(m_page, m_layout, *m_profile, m_frame).empty();
    if (hasRows) m_claims.Adopt(page);
    if (hasRows && !isSound) m_unsoundPages.push_back(m_offset);
  }
  return true;
}

// Last, when the bodies of moved rows that were read through a pointer are known. False: the run was stopped.
bool CTableWalk::RebuildPages() {
  LearnRowsWithoutSlots(m_reader, m_unsoundPages, m_layout, *m_profile);
  for (const uint64_t offset : m_unsoundPages) {
    if (!m_job.repairing.IsRunning()) return false;
    m_offset = offset;
    if (!m_reader.ReadPage(offset, m_page)) continue;
    Count(EDamage::BrokenPage, -1, "slots cannot be true; rows are told by their frames");
    for (SPageRow row : FindRows(m_page, m_layout, *m_profile, m_frame)) {
      if ((row.flags & kSlotPointer) == 0) {
        if (m_moved.IsClaimed(m_offset + row.start)) continue;
        row.flags = 0;
      }
      if (!TakeRow(row)) return false;
    }
  }
  return true;
}

// False: the run was stopped.
bool CTableWalk::TakeRow(const SPageRow& row) {
  if (!m_job.repairing.IsRunning()) return false;
  const bool isHidden = (row.flags & kSlotHidden) != 0;
  const bool isPointer = (row.flags & kSlotPointer) != 0;
  if (isHidden) {
    m_moved.NoteHidden(m_offset / m_layout.pageSize, row.slot, row.flags);
  } else if (isPointer) {
    FollowPointer(row.slot, row.start);
  } else if (row.start < row.end) {
    DecodeRow(Bytes(m_page).subspan(row.start, row.end - row.start), row.slot);
  } else {
    Count(EDamage::RejectedRow, row.slot, "it has no bytes");
  }
  return true;
}

void CTableWalk::FollowPointer(uint32_t slot, size_t start) {
  const char* fault = nullptr;
  if (const auto row = m_moved.Follow(m_page, start, fault))
    DecodeRow(*row, slot);
  else
    Count(EDamage::BrokenOverflow, slot, fault);
}

// Moved rows whose pointers are lost. False: the run was stopped.
bool CTableWalk::DecodeUnclaimedRows() {
  for (const SRowPointer& pointer : m_moved.ListUnclaimed()) {
    if (!m_job.repairing.IsRunning()) return false;
    m_offset = uint64_t{pointer.page} * m_layout.pageSize;
    if (const auto row = m_moved.Read(pointer))
      DecodeRow(*row, pointer.slot);
    else
      Count(EDamage::RejectedRow, pointer.slot, "a moved row that is not whole");
  }
  return true;
}

void CTableWalk::DecodeRow(Bytes row, uint32_t slot) {
  if (!TryRow(row, slot)) Count(EDamage::RejectedRow, slot, "its frame contradicts the definition");
}

bool CTableWalk::TryRow(Bytes row, uint32_t slot) {
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

void CTableWalk::Count(EDamage kind, int64_t slot, const char* reason, std::optional<size_t> column) {
  m_data.GetLedger().Add(kind, {.page = m_offset / m_layout.pageSize,
                                .definition = m_table->GetDefinitionOffset(),
                                .row = static_cast<int32_t>(slot),
                                .amount = 1,
                                .column = column ? static_cast<int32_t>(*column) : -1,
                                .reason = reason});
}

void CTableWalk::GiveUp(std::u16string_view reason) {
  m_data.GetLedger().Add(EDamage::SkippedTable, {.page = m_table->GetDefinitionOffset() / m_layout.pageSize,
                                                 .definition = m_table->GetDefinitionOffset(),
                                                 .row = -1,
                                                 .amount = 1});
  std::u16string line = u"Records of table " + m_table->GetPageText(m_layout.pageSize);
  line += u" could not be stored: ";
  line += reason;
  m_job.log.Append(line);
}

void CTableWalk::CloseQuietly() {
  try {
    m_dataFile.CloseDataFile();
  } catch (const CFileCustException&) {
    // The table was given up for the same reason already.
  }
}

}  // namespace tolvane
