#include "engine/TableWalk.h"

#include <algorithm>

#include "engine/DataReader.h"
#include "format/Layout.h"
#include "platform/FileCust.h"
#include "status/Status.h"

namespace tolvane {

namespace {

// Rows of a sound page do not overlap. Offsets that lie can make them, so that a page would yield its own
// size for every slot; this many times the page size is let through.
constexpr size_t kPageYield = 8;
// Likewise for moved rows, each of which has one pointer in a sound file.
constexpr uint64_t kMovedYield = 8;
constexpr uint64_t kMovedBase = uint64_t{16} << 20;

constexpr uint64_t kNoPage = ~uint64_t{0};

}  // namespace

CTableWalk::CTableWalk(CSource& source, const SRecoveryRules& rules, CAccessData& data)
    : m_layout(source.GetLayout()),
      m_rules(rules),
      m_reader(source.GetPages()),
      m_data(data),
      m_dataFile(data.GetWorkFolder()),
      m_sideFile(data.GetWorkFolder(), m_dataFile),
      m_longValues(m_reader, m_layout, rules),
      m_fields(m_layout.text, rules, m_longValues,
               rules.recordsHoldTexts ? static_cast<CObjectSink&>(m_sideFile) : m_objectFile),
      m_records(rules, m_dataFile),
      m_frame(m_layout.row),
      m_page(m_layout.pageSize),
      m_target(m_layout.pageSize),
      m_targetOffset(kNoPage),
      m_movedBytesLeft(kMovedYield * m_reader.GetLength() + kMovedBase) {}

bool CTableWalk::ParseTable(CAccessTable& table) {
  m_table = &table;
  m_rows = 0;
  m_claimed.clear();
  m_hidden.clear();
  std::fill(m_page.begin(), m_page.end(), uint8_t{0});
  m_fields.SetTable(table, m_data.source.codePage);
  table.promisedRows = table.header.rowCount;

  bool isRunning = true;
  m_objectFile.Start(table.GetObjectFilePath());
  try {
    if (m_dataFile.CreateDataFile(table.GetDefinitionOffset()))
      isRunning = WalkPages() && DecodeUnclaimedRows();
    else
      GiveUp(SystemMessage(m_dataFile.GetLastErrorCode()));
    m_dataFile.CloseDataFile();
  } catch (const CFileCustException& error) {
    GiveUp(error.GetMessageText());
    CloseQuietly();
  }
  m_objectFile.Close();
  table.header.rowCount = m_rows;
  return isRunning;
}

bool CTableWalk::WalkPages() {
  const uint64_t length = m_reader.GetLength();
  for (const uint64_t offset : m_table->dataPages) {
    if (length < m_layout.pageSize || offset > length - m_layout.pageSize) return true;
    m_offset = offset;
    if (!m_reader.ReadPage(offset, m_page)) {
      Count(EDamage::UnreadablePage, -1);
      if (!m_rules.unreadablePageKeepsPrevious) continue;
    }
    if (!CutPage()) return false;
  }
  return true;
}

// False: the run was stopped.
bool CTableWalk::CutPage() {
  const uint32_t count = CDataReader::ReadUInt16(&m_page[m_layout.data.slotCount]);
  const auto slotsOnPage = m_layout.data.MaximumSlots(m_layout.pageSize);
  if (count > slotsOnPage) Count(EDamage::BrokenPage, -1);
  if (count > m_page.size()) return true;

  m_pageBytesLeft = kPageYield * m_page.size();
  size_t end = m_page.size();
  size_t previous = m_page.size();
  for (uint32_t slot = 0; slot < std::min(count, slotsOnPage); slot++) {
    if (!CRepairingFileStatus::Instance().IsRunning()) return false;
    if (previous > m_layout.data.slots && previous < m_page.size()) end = previous;
    const uint16_t word = *ReadSlot(m_page, m_layout, slot);
    const size_t start = word & m_rules.rowStartMask;
    previous = start;
    if ((word & kSlotHidden) != 0) {
      NoteHidden(slot, word);
    } else if ((word & kSlotPointer) != 0) {
      FollowPointer(slot, start);
    } else {
      const auto row = RowBetween(m_page, m_layout, slot, start, end);
      if (row && row->size() <= m_pageBytesLeft) {
        m_pageBytesLeft -= row->size();
        DecodeRow(*row, slot);
      } else {
        Count(EDamage::RejectedRow, slot);
      }
    }
  }
  return true;
}

void CTableWalk::FollowPointer(uint32_t slot, size_t start) {
  if (start + kRowPointerSize > m_page.size()) {
    Count(EDamage::BrokenOverflow, slot);
    return;
  }
  const SRowPointer pointer = SRowPointer::FromWord(CDataReader::ReadUInt32(&m_page[start]));
  const auto row = FindMovedRow(pointer);
  if (!row || row->size() > m_movedBytesLeft) {
    Count(EDamage::BrokenOverflow, slot);
    return;
  }
  m_movedBytesLeft -= row->size();
  if (!m_rules.skipHiddenRows) m_claimed.insert(pointer.ToWord());
  DecodeRow(*row, slot);
}

std::optional<CTableWalk::Bytes> CTableWalk::FindMovedRow(SRowPointer pointer) {
  if (!LoadTarget(uint64_t{pointer.page} * m_layout.pageSize)) return std::nullopt;
  if (m_target[0] != kPageData) return std::nullopt;
  if (!m_rules.trustOverflowTarget && !IsMovedRowOfTable(pointer)) return std::nullopt;
  return FindRow(m_target, m_layout, pointer.slot, m_rules.rowStartMask);
}

bool CTableWalk::IsMovedRowOfTable(SRowPointer pointer) const {
  const uint64_t owner = CDataReader::ReadUInt32(&m_target[kOwnerOffset]);
  if (owner * m_layout.pageSize != m_table->GetDefinitionOffset()) return false;
  if (pointer.slot >= CDataReader::ReadUInt16(&m_target[m_layout.data.slotCount])) return false;
  const auto word = ReadSlot(m_target, m_layout, pointer.slot);
  return word && (*word & (kSlotHidden | kSlotPointer)) == kSlotHidden;
}

// Rows that were moved together often lie on one page, so the page read last is kept.
bool CTableWalk::LoadTarget(uint64_t offset) {
  if (offset == m_targetOffset) return true;
  const uint64_t length = m_reader.GetLength();
  if (length < m_layout.pageSize || offset > length - m_layout.pageSize) return false;
  m_targetOffset = kNoPage;
  if (!m_reader.ReadPage(offset, m_target)) return false;
  m_targetOffset = offset;
  return true;
}

void CTableWalk::NoteHidden(uint32_t slot, uint16_t word) {
  if (m_rules.skipHiddenRows || (word & kSlotPointer) != 0 || slot > 0xFF) return;
  m_hidden.push_back({slot, static_cast<uint32_t>(m_offset / m_layout.pageSize)});
}

// Moved rows whose pointers are lost. False: the run was stopped.
bool CTableWalk::DecodeUnclaimedRows() {
  for (const SRowPointer& pointer : m_hidden) {
    if (!CRepairingFileStatus::Instance().IsRunning()) return false;
    if (m_claimed.count(pointer.ToWord()) != 0) continue;
    m_offset = uint64_t{pointer.page} * m_layout.pageSize;
    const auto row = FindMovedRow(pointer);
    if (row && row->size() <= m_movedBytesLeft) {
      m_movedBytesLeft -= row->size();
      DecodeRow(*row, pointer.slot);
    } else {
      Count(EDamage::RejectedRow, pointer.slot);
    }
  }
  return true;
}

void CTableWalk::DecodeRow(Bytes row, uint32_t slot) {
  if (!m_frame.Cut(row, m_fields.GetShape())) {
    Count(EDamage::RejectedRow, slot);
    return;
  }
  for (size_t column = 0; column < m_fields.GetColumnCount(); column++) {
    SValue value;
    const EFieldResult result = m_fields.Decode(m_frame, column, value);
    const bool isWritten = m_records.Write(value);
    if (result == EFieldResult::Broken || !isWritten) Count(EDamage::BrokenValue, slot);
    if (result == EFieldResult::CutShort) Count(EDamage::BrokenLongValue, slot);
  }
  m_rows++;
  CProgressStatus::Instance().IncrementPos();
  m_fields.ReleaseMemory();
}

void CTableWalk::Count(EDamage kind, int64_t slot) {
  m_data.GetLedger().Add(kind, {.page = m_offset / m_layout.pageSize,
                                .definition = m_table->GetDefinitionOffset(),
                                .row = static_cast<int32_t>(slot),
                                .amount = 1});
}

void CTableWalk::GiveUp(std::u16string_view reason) {
  m_data.GetLedger().Add(EDamage::SkippedTable, {.page = m_table->GetDefinitionOffset() / m_layout.pageSize,
                                                 .definition = m_table->GetDefinitionOffset(),
                                                 .row = -1,
                                                 .amount = 1});
  std::u16string line = u"Records of table " + m_table->GetPageText(m_layout.pageSize);
  line += u" could not be stored: ";
  line += reason;
  CRepairLog::Instance().Append(line);
}

void CTableWalk::CloseQuietly() {
  try {
    m_dataFile.CloseDataFile();
  } catch (const CFileCustException&) {
    // The table was given up for the same reason already.
  }
}

}  // namespace tolvane
