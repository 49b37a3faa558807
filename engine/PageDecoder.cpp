#include "engine/PageDecoder.h"

#include <utility>

#include "format/PageSlots.h"

namespace tolvane {

namespace {

// Bytes of long values that a page may have here, so that batches stay small.
constexpr uint64_t kPageBudget = uint64_t{1} << 20;

}  // namespace

std::span<const uint8_t> CObjectBuffer::End() {
  m_reference = MakeObjectReference(m_start, m_bytes.size() - m_start);
  return m_reference;
}

void SDecodedBatch::Clear() {
  pages.clear();
  CutTo({});
}

void SDecodedBatch::MarkEnd(SDecodedPage& page) const {
  page.recordsEnd = records.GetSize();
  page.objectsEnd = objects.GetSize();
  page.referencesEnd = references.size();
}

void SDecodedBatch::CutTo(const SDecodedPage& end) {
  records.CutTo(end.recordsEnd);
  objects.CutTo(end.objectsEnd);
  references.resize(end.referencesEnd);
}

CPageDecoder::CPageDecoder(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
                           const CJobContext& job)
    : m_layout(layout),
      m_job(job),
      m_longValues(m_pages, layout, rules, job),
      m_fields(layout.text, rules, m_longValues, m_objects),
      m_frame(layout.row),
      m_page(layout.pageSize) {
  m_pages.ShareFile(pages);
}

void CPageDecoder::SetTable(const SDecodedTable& table) {
  m_table = table;
  m_fields.SetTable(*table.table, table.codePage);
  m_entries.reset();
  if (table.sumsEntries) m_entries.emplace(*table.table, m_layout);
}

void CPageDecoder::Decode(uint64_t offset, SDecodedBatch& batch) {
  const SDecodedPage before = batch.pages.empty() ? SDecodedPage{} : batch.pages.back();
  SDecodedPage page;
  std::swap(m_objects, batch.objects);
  page.isPlain = DecodePage(offset, page, batch);
  std::swap(m_objects, batch.objects);
  if (!page.isPlain) {
    batch.CutTo(before);
    page = {};
  }
  batch.MarkEnd(page);
  batch.pages.push_back(page);
}

bool CPageDecoder::DecodePage(uint64_t offset, SDecodedPage& page, SDecodedBatch& batch) {
  if (!m_job.repairing.IsRunning() || !m_pages.ReadPage(offset, m_page)) return false;
  if (!AreSlotsSound(m_page, m_layout)) return false;
  m_longValues.SetBudget(kPageBudget);
  const std::span<const uint8_t> bytes = m_page;
  const uint32_t count = GetLittle<uint16_t>(bytes, m_layout.data.slotCount);
  const auto number = static_cast<uint32_t>(offset / m_layout.pageSize);
  size_t end = bytes.size();
  for (uint32_t slot = 0; slot < count; slot++) {
    const uint16_t word = *ReadSlot(bytes, m_layout, slot);
    const size_t start = word & kSlotStart;
    const size_t size = end - start;
    end = start;
    // A deleted row is none.
    if ((word & kSlotDeleted) == kSlotDeleted) continue;
    if ((word & kSlotDeleted) != 0 || size == 0) return false;
    if (!DecodeRow(bytes.subspan(start, size), {slot, number}, page, batch)) return false;
  }
  page.longValueCost = kPageBudget - m_longValues.GetBudget();
  m_fields.ReleaseMemory();
  return true;
}

bool CPageDecoder::DecodeRow(std::span<const uint8_t> row, SRowPointer place, SDecodedPage& page,
                             SDecodedBatch& batch) {
  if (!m_table.profile->Accepts(m_frame, row) || !CRowProfile::IsFilled(m_frame)) return false;
  if (m_entries) page.entries += m_entries->SumOf(m_frame, place);
  for (size_t column = 0; column < m_fields.GetColumnCount(); column++) {
    const size_t position = batch.records.GetSize();
    if (m_fields.AppendRecord(m_frame, column, batch.records) != EFieldResult::Decoded) return false;
    if (m_fields.HasObject(m_frame, column)) batch.references.push_back(position + kCountBytes);
  }
  for (const uint32_t number : m_table.leftovers) page.leftoverValues += m_frame.IsPresent(number) ? 1 : 0;
  page.rows++;
  return true;
}

}  // namespace tolvane
