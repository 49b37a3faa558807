#include "engine/TableWalk.h"

#include <algorithm>
#include <utility>

#include "engine/DataReader.h"
#include "engine/RowLearning.h"
#include "engine/TornPages.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

// Rows of a sound page do not overlap. Offsets that lie can make them, so that a page would yield its own
// size for every slot; this many times the page size is let through.
constexpr size_t kPageYield = 8;

}  // namespace

CTableWalk::CTableWalk(CSource& source, const SRecoveryRules& rules, CJobContext& job, CAccessData& data,
                       CPageClaims& claims, CIndexWitness* witness)
    : m_layout(source.GetLayout()),
      m_rules(rules),
      m_job(job),
      m_reader(source.GetPages()),
      m_claims(claims),
      m_recorder(source, rules, job, data,
                 claims.GetLongValuePages().IsEmpty() ? nullptr : &claims.GetLongValuePages(), witness),
      m_pool(m_reader, m_layout, rules, job, job.GetThreads()),
      m_moved(m_reader, m_layout, rules),
      m_page(m_layout.pageSize) {}

bool CTableWalk::NoteLongValues(const CAccessTable& table) {
  for (const uint64_t offset : table.dataPages) {
    if (!IsRunning()) return false;
    if (!m_reader.ReadPage(offset, m_page) || !AreSlotsSound(m_page, m_layout)) continue;
    for (const SPageRow& row : RowsOfSlots(m_page, m_layout))
      if ((row.flags & kSlotPointer) == 0 && row.start < row.end) m_recorder.NoteRow(table, BytesOf(row));
  }
  return true;
}

bool CTableWalk::ParseTable(CAccessTable& table) {
  m_table = &table;
  m_moved.Begin(table);
  m_unsoundPages.clear();
  std::ranges::fill(m_page, uint8_t{0});
  return m_recorder.Record(table, [this] {
    return WalkPages() && AdoptPages() && RebuildPages() && DecodeUnclaimedRows() && TakeRowsToCome();
  });
}

bool CTableWalk::ReadPage(uint64_t offset) {
  m_offset = offset;
  m_recorder.SetPage(offset);
  return m_reader.ReadPage(offset, m_page);
}

bool CTableWalk::WalkPages() {
  const std::vector<uint64_t> pages(m_table->dataPages.begin(), m_table->dataPages.end());
  if (!WalkPages(pages)) return false;
  for (const uint32_t page : m_claims.DoubtfulPagesOf(*m_table)) {
    if (m_recorder.GetRowCount() >= m_table->promisedRows) return true;
    const bool isMissing =
        m_reader.ReadPage(OffsetOf(page), m_page) &&
        (!AreSlotsSound(m_page, m_layout) ||
         m_recorder.GetRowCount() + CountLiveSlots(m_page, m_layout) <= m_table->promisedRows);
    if (isMissing && !WalkPage(OffsetOf(page))) return false;
  }
  return WalkMisplacedPages();
}

// Stale pages look the same: only those with just the rows that are missing are believed.
bool CTableWalk::WalkMisplacedPages() {
  std::vector<uint32_t> pages = m_claims.MisplacedPagesOf(*m_table);
  if (pages.empty() || m_recorder.GetRowCount() >= m_table->promisedRows) return true;
  const uint32_t missing = m_table->promisedRows - m_recorder.GetRowCount();
  std::vector<uint32_t> complete;
  uint64_t rows = 0;
  for (const uint32_t page : pages) {
    const bool isSound = m_reader.ReadPage(OffsetOf(page), m_page) && AreSlotsSound(m_page, m_layout);
    const uint32_t count = isSound ? CountLiveSlots(m_page, m_layout) : 0;
    rows += count;
    if (count == missing) complete.push_back(page);
  }
  if (rows != missing) pages = complete.size() == 1 ? complete : std::vector<uint32_t>{};
  for (const uint32_t page : pages) {
    if (!WalkPage(OffsetOf(page))) return false;
    m_claims.Adopt(page);
    m_recorder.Count(EDamage::MovedPages, -1,
                     "it stands in the place of another page, and has the missing rows");
  }
  return true;
}

// In the table's order, whichever thread decoded them.
bool CTableWalk::WalkPages(std::span<const uint64_t> offsets) {
  if (CanDecodeAhead()) {
    CDecodePool::CTablePages decoded(m_pool, m_recorder.DescribeTable(), offsets);
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
bool CTableWalk::CanDecodeAhead() {
  return m_recorder.GetProfile() != nullptr && !m_rules.recordsHoldTexts &&
         !m_rules.unreadablePageKeepsPrevious && m_claims.GetLongValuePages().IsEmpty();
}

bool CTableWalk::TakeBatch(SDecodedBatch& batch) {
  SDecodedPage before;
  for (size_t i = 0; i < batch.offsets.size(); i++) {
    if (!IsRunning()) return false;
    const SDecodedPage page = i < batch.pages.size() ? batch.pages[i] : before;
    if (!m_recorder.TakePage(page, before, batch) && !WalkPage(batch.offsets[i])) return false;
    before = page;
    before.isPlain = false;
    m_job.pages.IncrementPos();
  }
  return true;
}

bool CTableWalk::WalkPage(uint64_t offset) {
  const uint64_t length = m_reader.GetLength();
  if (length < m_layout.pageSize || offset > length - m_layout.pageSize) return true;
  if (!ReadPage(offset)) {
    m_recorder.Count(EDamage::UnreadablePage, -1);
    if (!m_rules.unreadablePageKeepsPrevious) return true;
  }
  return CutPage();
}

bool CTableWalk::CutPage() {
  if (m_recorder.GetProfile() != nullptr) return CutExactPage();
  const uint32_t count = CDataReader::ReadUInt16(&m_page[m_layout.data.slotCount]);
  const auto slotsOnPage = m_layout.data.MaximumSlots(m_layout.pageSize);
  if (count > slotsOnPage) m_recorder.Count(EDamage::BrokenPage, -1, "more slots than it has room for");
  if (count > m_page.size()) return true;

  m_pageBytesLeft = kPageYield * m_page.size();
  size_t end = m_page.size();
  size_t previous = m_page.size();
  for (uint32_t slot = 0; slot < std::min(count, slotsOnPage); slot++) {
    if (!IsRunning()) return false;
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
        m_recorder.AddRow(*row, slot);
      } else {
        m_recorder.Count(EDamage::RejectedRow, slot, "its start cannot be true");
      }
    }
  }
  return true;
}

bool CTableWalk::CutExactPage() {
  if (!IsRunning()) return false;
  if (m_tornPagesLeft > 0 && m_reader.IsTorn(m_offset, m_page.size())) {
    m_tornPagesLeft--;
    if (MendTornPage(m_reader, m_offset, m_layout, *m_recorder.GetProfile(), m_recorder.GetFrame(), m_page))
      m_recorder.Count(EDamage::TornPage, -1, "bytes were put into it, or are missing in it");
  }
  if (!AreSlotsSound(m_page, m_layout)) {
    m_unsoundPages.push_back(m_offset);
    return true;
  }
  std::vector<SPageRow> contested;  // neighbours
  for (const SPageRow& row : RowsOfSlots(m_page, m_layout)) {
    const bool isPlain = row.flags == 0 && row.start < row.end;
    if (isPlain && m_recorder.TryRow(BytesOf(row), row.slot)) continue;
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
  const CRowProfile& profile = *m_recorder.GetProfile();
  std::vector<SPageRow> found;
  if (profile.IsConfirmed())
    found = FindRowsBetween(m_page, contested.back().start, contested.front().end, m_layout, profile,
                            m_recorder.GetFrame());
  bool isTold = false;
  size_t taken = 0;
  for (const SPageRow& row : found) {
    if (taken == contested.size() || IsRowOfSlots(BytesOf(row))) continue;
    if (!isTold)
      m_recorder.Count(EDamage::TornPage, -1,
                       "its slots contradict its rows; those are told by their frames");
    isTold = true;
    m_recorder.TryRow(BytesOf(row), contested[taken++].slot);
  }
  for (; taken < contested.size(); taken++)
    m_recorder.Count(EDamage::RejectedRow, contested[taken].slot, "its frame contradicts the definition");
}

bool CTableWalk::IsRowOfSlots(Bytes row) const {
  return std::ranges::any_of(RowsOfSlots(m_page, m_layout), [&](const SPageRow& other) {
    return other.start < other.end && std::ranges::equal(BytesOf(other), row);
  });
}

// Pages whose heads do not say that they are the table's.
bool CTableWalk::AdoptPages() {
  if (m_recorder.GetProfile() == nullptr) return true;
  for (const uint32_t page : m_claims.PagesOf(*m_table)) {
    if (!IsRunning()) return false;
    if (!ReadPage(OffsetOf(page))) continue;
    const bool isSound = m_page[0] == kPageData && AreSlotsSound(m_page, m_layout);
    const uint64_t rowsBefore = m_recorder.GetRowCount();
    if (isSound && !CutExactPage()) return false;
    const bool hasRows =
        isSound ? m_recorder.GetRowCount() > rowsBefore
                : !FindRows(m_page, m_layout, *m_recorder.GetProfile(), m_recorder.GetFrame()).empty();
    if (hasRows) m_claims.Adopt(page);
    if (hasRows && !isSound) m_unsoundPages.push_back(m_offset);
  }
  return true;
}

// Last, when the bodies of moved rows that were read through a pointer are known.
bool CTableWalk::RebuildPages() {
  if (m_unsoundPages.empty()) return true;
  CRowProfile& profile = *m_recorder.GetProfile();
  LearnRowsWithoutSlots(m_reader, m_unsoundPages, m_layout, profile);
  for (const uint64_t offset : m_unsoundPages) {
    if (!IsRunning()) return false;
    if (!ReadPage(offset)) continue;
    m_recorder.Count(EDamage::BrokenPage, -1, "slots cannot be true; rows are told by their frames");
    for (SPageRow row : FindRows(m_page, m_layout, profile, m_recorder.GetFrame())) {
      if ((row.flags & kSlotPointer) == 0) {
        if (m_moved.IsClaimed(m_offset + row.start)) continue;
        row.flags = 0;
      }
      if (!TakeRow(row)) return false;
    }
  }
  return true;
}

bool CTableWalk::TakeRow(const SPageRow& row) {
  if (!IsRunning()) return false;
  if ((row.flags & kSlotHidden) != 0)
    m_moved.NoteHidden(m_offset / m_layout.pageSize, row.slot, row.flags);
  else if ((row.flags & kSlotPointer) != 0)
    FollowPointer(row.slot, row.start);
  else if (row.start < row.end)
    m_recorder.AddRow(BytesOf(row), row.slot);
  else
    m_recorder.Count(EDamage::RejectedRow, row.slot, "it has no bytes");
  return true;
}

void CTableWalk::FollowPointer(uint32_t slot, size_t start) {
  const char* fault = nullptr;
  if (const auto row = m_moved.Follow(m_page, start, fault))
    m_recorder.AddRow(*row, slot);
  else
    m_recorder.Count(EDamage::BrokenOverflow, slot, fault);
}

// Moved rows whose pointers are lost.
bool CTableWalk::DecodeUnclaimedRows() {
  for (const SRowPointer& pointer : m_moved.ListUnclaimed()) {
    if (!IsRunning()) return false;
    m_recorder.SetPage(OffsetOf(pointer.page));
    if (const auto row = m_moved.Read(pointer))
      m_recorder.AddRow(*row, pointer.slot);
    else
      m_recorder.Count(EDamage::RejectedRow, pointer.slot, "a moved row that is not whole");
  }
  return true;
}

// Rows of torn pages that the slots do not name yet. Leftovers of deleted rows look the same: only just those
// that are missing are believed.
bool CTableWalk::TakeRowsToCome() {
  const CRowProfile* const profile = m_recorder.GetProfile();
  const uint32_t found = m_recorder.GetRowCount(), promised = m_table->promisedRows;
  if (profile == nullptr || !profile->IsConfirmed() || found >= promised) return true;
  std::vector<std::pair<uint64_t, SPageRow>> rows;
  for (const uint64_t offset : m_table->dataPages) {
    if (!IsRunning()) return false;
    if (rows.size() > promised - found || !ReadPage(offset) || !AreSlotsSound(m_page, m_layout)) continue;
    for (const SPageRow& row : FindRowsToCome(m_page, m_layout, *profile, m_recorder.GetFrame()))
      if (!IsRowOfSlots(BytesOf(row))) rows.emplace_back(offset, row);
  }
  if (rows.size() != promised - found) return true;
  for (const auto& [offset, row] : rows) {
    if (!ReadPage(offset)) continue;
    m_recorder.Count(EDamage::TornPage, static_cast<int32_t>(row.slot), "its slots do not name the row yet");
    m_recorder.TryRow(BytesOf(row), row.slot);
  }
  return true;
}

}  // namespace tolvane
