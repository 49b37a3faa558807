#include "engine/MovedRows.h"

#include "format/PageHead.h"

namespace tolvane {

namespace {

// Each moved row has one pointer in a sound file. Pointers that lie can make the same bytes come again and
// again: so many times the file's length is let through.
constexpr uint64_t kMovedYield = 8;
constexpr uint64_t kMovedBase = uint64_t{16} << 20;

constexpr uint64_t kNothingRead = ~uint64_t{0};

}  // namespace

CMovedRows::CMovedRows(CPageReader& reader, const SLayout& layout, const SRecoveryRules& rules)
    : m_reader(reader),
      m_layout(layout),
      m_rules(rules),
      m_page(layout.pageSize),
      m_offset(kNothingRead),
      m_bytesLeft(kMovedYield * reader.GetLength() + kMovedBase) {}

void CMovedRows::Begin(const CAccessTable& table) {
  m_table = &table;
  m_claimed.clear();
  m_claimedOffsets.clear();
  m_hidden.clear();
}

std::optional<CMovedRows::Bytes> CMovedRows::Follow(Bytes page, size_t start, const char*& fault) {
  fault = "its pointer lies outside the page";
  if (start + kRowPointerSize > page.size()) return std::nullopt;
  const auto pointer = SRowPointer::FromWord(GetLittle<uint32_t>(page, start));
  fault = "its pointer leads to no moved row of the table";
  const auto row = Read(pointer);
  if (!row || m_rules.skipHiddenRows) return row;
  // A second pointer to the same body is damage, not a second row.
  fault = "another row has the same pointer";
  if (!m_claimed.insert(pointer.ToWord()).second) return std::nullopt;
  m_claimedOffsets.insert(m_offset + static_cast<size_t>(row->data() - m_page.data()));
  return row;
}

void CMovedRows::NoteHidden(uint64_t page, uint32_t slot, uint16_t word) {
  if (m_rules.skipHiddenRows || (word & kSlotPointer) != 0 || slot >= kMaxSlots) return;
  m_hidden.push_back({slot, static_cast<uint32_t>(page)});
}

std::vector<SRowPointer> CMovedRows::ListUnclaimed() const {
  std::vector<SRowPointer> rows = m_hidden;
  std::erase_if(rows, [this](SRowPointer row) { return m_claimed.count(row.ToWord()) != 0; });
  return rows;
}

std::optional<CMovedRows::Bytes> CMovedRows::Read(SRowPointer pointer) {
  const auto row = Find(pointer);
  if (!row || row->size() > m_bytesLeft) return std::nullopt;
  m_bytesLeft -= row->size();
  return row;
}

std::optional<CMovedRows::Bytes> CMovedRows::Find(SRowPointer pointer) {
  if (!Load(uint64_t{pointer.page} * m_layout.pageSize) || m_page[0] != kPageData) return std::nullopt;
  if (!m_rules.trustOverflowTarget && !IsOfTable(pointer)) return std::nullopt;
  return FindRow(m_page, m_layout, pointer.slot, m_rules.rowStartMask);
}

bool CMovedRows::IsOfTable(SRowPointer pointer) const {
  if (uint64_t{OwnerOf(m_page)} * m_layout.pageSize != m_table->GetDefinitionOffset()) return false;
  if (pointer.slot >= GetLittle<uint16_t>(m_page, m_layout.data.slotCount)) return false;
  const auto word = ReadSlot(m_page, m_layout, pointer.slot);
  return word && (*word & (kSlotHidden | kSlotPointer)) == kSlotHidden;
}

// Rows that were moved together often lie on one page, so the page read last is kept.
bool CMovedRows::Load(uint64_t offset) {
  if (offset == m_offset) return true;
  const uint64_t length = m_reader.GetLength();
  if (length < m_layout.pageSize || offset > length - m_layout.pageSize) return false;
  m_offset = kNothingRead;
  if (!m_reader.ReadPage(offset, m_page)) return false;
  m_offset = offset;
  return true;
}

}  // namespace tolvane
