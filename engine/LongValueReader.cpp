#include "engine/LongValueReader.h"

#include <algorithm>

#include "engine/DataReader.h"
#include "format/LongValue.h"
#include "format/PageHead.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr uint64_t kNoPage = ~uint64_t{0};

// Sound files read each long-value byte once; freed pages may be read again.
constexpr uint64_t kBudgetPerByte = 8;
constexpr uint64_t kBudgetBase = uint64_t{16} << 20;
constexpr size_t kCostPerHop = 64;

// An emptied set keeps its buckets, and clearing walks them.
constexpr size_t kBucketsKept = 1024;

}  // namespace

CLongValueReader::CLongValueReader(CPageReader& reader, const SLayout& layout, const SRecoveryRules& rules,
                                   const CJobContext& job)
    : m_reader(reader),
      m_layout(layout),
      m_rules(rules),
      m_job(job),
      m_stampOffset(layout.data.stamp),
      m_page(layout.pageSize),
      m_loadedOffset(kNoPage),
      m_budget(kBudgetPerByte * reader.GetLength() + kBudgetBase) {}

bool CLongValueReader::Read(std::span<const uint8_t> field, CLongValueSink& sink) {
  if (field.empty()) return true;
  m_fault = "fewer bytes are there than its field states";
  const std::optional<SLongValue> value = DecodeLongValue(field);
  if (!value) return Fail("its field is cut");
  const size_t length = value->length;
  if (length == 0) return true;
  const SRowPointer pointer = SRowPointer::FromWord(value->pointer);
  switch (value->kind) {
    case kLongValueInline:
      sink.Take(value->rest.first(std::min(length, value->rest.size())));
      return value->rest.size() >= length;
    case kLongValueSingle:
      return ReadSingle(pointer, length, sink);
    case kLongValueChain:
      return ReadChain(pointer, length, value->stamp, sink);
    default:
      return Fail("its field is of no known kind");
  }
}

void CLongValueReader::Note(std::span<const uint8_t> field) {
  const std::optional<SLongValue> value = DecodeLongValue(field);
  if (m_brokenPages != nullptr && value && value->kind == kLongValueSingle)
    m_brokenPages->Note(SRowPointer::FromWord(value->pointer), value->length);
}

bool CLongValueReader::ReadSingle(SRowPointer pointer, size_t length, CLongValueSink& sink) {
  const auto row = FindLiveRow(pointer, length);
  if (!row || !SpendBudget(std::min(length, row->size()))) return false;
  sink.Take(row->first(std::min(length, row->size())));
  return row->size() >= length || Fail("its row is shorter than its field states");
}

bool CLongValueReader::ReadChain(SRowPointer pointer, size_t length, uint32_t stamp, CLongValueSink& sink) {
  m_visited.clear();
  if (m_visited.bucket_count() > kBucketsKept) std::unordered_set<uint32_t>().swap(m_visited);
  bool isHead = true;
  while (length > 0) {
    if (pointer.ToWord() == 0) return Fail("its chain ends early");
    if (IsVisited(pointer)) return Fail("its chain leads back into itself");
    if (!m_job.repairing.IsRunning()) return false;
    const auto row = FindLiveRow(pointer, length + kChainPointerSize);
    const auto piece = row ? DecodeChainPiece(*row) : std::nullopt;
    if (!piece || piece->data.empty()) return false;
    // Two stamps that differ: the page now starts another value's chain.
    const uint32_t pageStamp = m_stampOffset != kAbsent ? CDataReader::ReadUInt32(&m_page[m_stampOffset]) : 0;
    if (isHead && stamp != 0 && pageStamp != 0 && pageStamp != stamp)
      return Fail("its first page starts another value");
    isHead = false;

    const size_t count = std::min(length, piece->data.size());
    if (!SpendBudget(count)) return false;
    sink.Take(piece->data.first(count));
    length -= count;
    pointer = SRowPointer::FromWord(piece->next);
  }
  return true;
}

std::optional<std::span<const uint8_t>> CLongValueReader::FindLiveRow(SRowPointer pointer, size_t length) {
  if (!LoadPage(pointer.page)) {
    m_fault = "a page of it is gone";
    return std::nullopt;
  }
  m_fault = "a row of it is gone";
  if (m_brokenPages != nullptr && m_brokenPages->IsBroken(pointer.page))
    return m_brokenPages->FindRow(m_page, pointer, length);
  if (pointer.slot >= CDataReader::ReadUInt16(&m_page[m_layout.data.slotCount])) return std::nullopt;
  const auto word = ReadSlot(m_page, m_layout, pointer.slot);
  if (!word || (*word & (kSlotHidden | kSlotPointer)) != 0) return std::nullopt;
  return FindRow(m_page, m_layout, pointer.slot, m_rules.rowStartMask);
}

// Values that share a page usually follow one another, so the page read last is kept.
bool CLongValueReader::LoadPage(uint32_t page) {
  const uint64_t offset = uint64_t{page} * m_layout.pageSize;
  if (offset != m_loadedOffset) {
    m_loadedOffset = kNoPage;
    if (!m_reader.ReadPage(offset, m_page)) return false;
    m_loadedOffset = offset;
  }
  const bool hasLostHead =
      m_brokenPages != nullptr && m_brokenPages->IsBroken(page) && m_brokenPages->IsHeadless(m_page);
  return hasLostHead || (m_page[0] == kPageData && OwnerOf(m_page) == kOwnerLongValues);
}

bool CLongValueReader::IsVisited(SRowPointer pointer) {
  return !m_visited.insert(pointer.ToWord()).second;
}

bool CLongValueReader::Fail(const char* fault) {
  m_fault = fault;
  return false;
}

bool CLongValueReader::SpendBudget(size_t bytes) {
  return Spend(uint64_t{bytes} + kCostPerHop);
}

bool CLongValueReader::Spend(uint64_t cost) {
  if (cost > m_budget) return false;
  m_budget -= cost;
  return true;
}

}  // namespace tolvane
