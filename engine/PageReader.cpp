#include "engine/PageReader.h"

#include <algorithm>

#include "format/PageHead.h"

namespace tolvane {

namespace {

constexpr size_t kFirstBlockPages = 4;
// A request so little beyond the last one still goes on in the same direction.
constexpr uint64_t kGapPages = 4;
constexpr size_t kUnreadableKept = 65536;

}  // namespace

bool CPageReader::Open(const std::u16string& path, CErrorHandler& handler) {
  Close();
  m_file->SetPath(path);
  if (!m_file->Open(handler)) return false;
  m_stamp = m_file->GetStamp();
  m_fileLength = m_file->GetLength();
  SetStart(0);
  return true;
}

bool CPageReader::Open(const std::u16string& path) {
  CErrorHandler handler;
  return Open(path, handler);
}

bool CPageReader::LeaveOutAddedReturns() {
  if (!m_file->LeaveOutAddedReturns()) return false;
  m_fileLength = m_file->GetLength();
  SetStart(0);
  return true;
}

void CPageReader::SwapPairs(bool swaps) {
  m_file->SwapPairs(swaps);
  SetStart(0);
}

void CPageReader::ShareFile(const CPageReader& other) {
  m_file = other.m_file;
  m_holes = other.m_holes;
  m_fileLength = other.m_fileLength;
  m_start = other.m_start;
  m_length = other.m_length;
  m_contentLength = other.m_contentLength;
  m_stretches = other.m_stretches;
  m_mended = other.m_mended;
  Forget();
}

void CPageReader::Close() {
  m_file->Close();
  m_fileLength = 0;
  SetStart(0);
}

void CPageReader::SetHoles(std::vector<SFileRange> holes) {
  Forget();
  m_holes = std::move(holes);
}

void CPageReader::SetStart(uint64_t start) {
  Forget();
  m_start = std::min(start, m_fileLength);
  m_length = m_contentLength = m_fileLength - m_start;
  m_stretches = {{.offset = 0, .place = m_start, .length = m_length}};
}

void CPageReader::SetStretches(std::span<const SPageStretch> stretches, uint32_t pageSize) {
  if (stretches.empty()) return;
  Forget();
  m_stretches.clear();
  for (const SPageStretch& stretch : stretches)
    m_stretches.push_back(
        {.offset = stretch.page * pageSize, .place = stretch.place, .length = stretch.length});
  m_start = m_stretches.front().place;
  m_length = m_contentLength = m_stretches.back().offset + m_stretches.back().length;
}

void CPageReader::CompleteLastPage(uint32_t pageSize) {
  Forget();
  m_length = (m_contentLength + pageSize - 1) / pageSize * pageSize;
}

const CPageReader::SStretch* CPageReader::FindStretch(uint64_t offset) const {
  const auto behind = std::ranges::upper_bound(m_stretches, offset, {}, &SStretch::offset);
  if (behind == m_stretches.begin()) return nullptr;
  const SStretch& stretch = *(behind - 1);
  return offset - stretch.offset < stretch.length ? &stretch : nullptr;
}

size_t CPageReader::ReadStretch(uint64_t offset, std::span<uint8_t> bytes) {
  const SStretch* const stretch = FindStretch(offset);
  if (stretch == nullptr) return 0;
  const uint64_t into = offset - stretch->offset;
  const auto size = static_cast<size_t>(std::min<uint64_t>(bytes.size(), stretch->length - into));
  return ReadFile(stretch->place + into, bytes.first(size));
}

uint64_t CPageReader::RoomAt(uint64_t fileOffset) const {
  // The first hole that ends behind the place.
  const auto hole = std::ranges::partition_point(
      m_holes, [&](const SFileRange& range) { return range.offset + range.length <= fileOffset; });
  if (hole == m_holes.end()) return ~uint64_t{0};
  return hole->offset > fileOffset ? hole->offset - fileOffset : 0;
}

bool CPageReader::HoldsAll(uint64_t fileOffset, uint64_t length) const {
  return RoomAt(fileOffset) >= length;
}

size_t CPageReader::ReadFile(uint64_t fileOffset, std::span<uint8_t> bytes) {
  bytes = bytes.first(static_cast<size_t>(std::min<uint64_t>(bytes.size(), RoomAt(fileOffset))));
  CErrorHandler handler;
  return m_file->ReadAt(fileOffset, bytes, handler);
}

void CPageReader::Forget() {
  m_blockStart = m_lastSingleEnd = m_singlesFrom = m_singlesUntil = 0;
  m_blockSize = 0;
  for (SCachedPage& cached : m_cache) cached = {};
  m_unreadable.clear();
}

bool CPageReader::ReadPage(uint64_t offset, std::span<uint8_t> page) {
  if (!FetchPage(offset, page)) return false;
  if (m_mended != nullptr && offset > 0 && page.size() == m_mended->pageSize) MendPageType(page, *m_mended);
  return true;
}

bool CPageReader::FetchPage(uint64_t offset, std::span<uint8_t> page) {
  if (page.size() > m_length || offset > m_length - page.size()) return false;
  const auto isInBlock = [&] {
    return offset >= m_blockStart && offset - m_blockStart < m_blockSize &&
           page.size() <= m_blockSize - (offset - m_blockStart);
  };
  if (!isInBlock()) {
    if (const SCachedPage* const cached = FindCached(offset, page.size()); cached != nullptr) {
      std::ranges::copy(cached->bytes, page.begin());
      return true;
    }
    const size_t blockSize = NextBlockSize(offset, page.size());
    if (blockSize <= page.size() || !ReadBlock(offset, blockSize)) return ReadSingle(offset, page);
  }
  std::copy_n(m_block.begin() + static_cast<ptrdiff_t>(offset - m_blockStart), page.size(), page.begin());
  return true;
}

std::optional<uint64_t> CPageReader::PlaceBehind(uint64_t offset, size_t pageSize) const {
  const SStretch* const stretch = FindStretch(offset);
  if (stretch == nullptr) return std::nullopt;
  const bool isLast = stretch == &m_stretches.back();
  const uint64_t place = isLast ? stretch->place + stretch->length : (stretch + 1)->place;
  const bool isNext = isLast ? m_length - offset < 2 * pageSize : offset + pageSize == (stretch + 1)->offset;
  const bool isInStep = (place - stretch->place) % pageSize == 0;
  return isNext && !isInStep && place >= pageSize ? std::optional(place - pageSize) : std::nullopt;
}

bool CPageReader::ReadTornPage(uint64_t offset, size_t cut, std::span<uint8_t> page) {
  const auto placeBehind = PlaceBehind(offset, page.size());
  if (!placeBehind || cut > page.size() || !FetchPage(offset, page)) return false;
  const SStretch& stretch = *FindStretch(offset);
  const uint64_t place = stretch.place + (offset - stretch.offset);
  // Where bytes were lost those behind the cut stand in front of where they would.
  const uint64_t lost = place > *placeBehind ? place - *placeBehind : 0;
  const auto gap = static_cast<size_t>(std::min<uint64_t>(lost, page.size() - cut));
  std::ranges::fill(page.subspan(cut, gap), uint8_t{0});
  const std::span<uint8_t> rest = page.subspan(cut + gap);
  return ReadFile(*placeBehind + cut + gap, rest) == rest.size();
}

size_t CPageReader::ReadPartialPage(uint64_t offset, std::span<uint8_t> page) {
  if (offset >= m_length) return 0;
  const auto size = static_cast<size_t>(std::min<uint64_t>(page.size(), m_length - offset));
  return ReadStretch(offset, page.first(size));
}

// One page or less: no reading ahead.
size_t CPageReader::NextBlockSize(uint64_t offset, size_t pageSize) const {
  if (offset >= m_singlesFrom && offset < m_singlesUntil) return 0;
  const auto goesOnFrom = [&](uint64_t end) { return offset >= end && offset - end <= kGapPages * pageSize; };
  size_t size = 0;
  if (m_blockSize != 0 && goesOnFrom(m_blockStart + m_blockSize))
    size = std::min(2 * m_blockSize, kLargestBlock);
  else if (goesOnFrom(m_lastSingleEnd))
    size = kFirstBlockPages * pageSize;
  const SStretch* const stretch = FindStretch(offset);
  const uint64_t left = stretch != nullptr ? stretch->offset + stretch->length - offset : 0;
  return static_cast<size_t>(std::min<uint64_t>(size, left / pageSize * pageSize));
}

bool CPageReader::ReadBlock(uint64_t offset, size_t size) {
  if (m_block.size() < size) m_block.resize(size);
  if (ReadStretch(offset, std::span(m_block).first(size)) == size) {
    m_blockStart = offset;
    m_blockSize = size;
    return true;
  }
  m_blockSize = 0;
  m_singlesFrom = offset;
  m_singlesUntil = offset + size;
  return false;
}

bool CPageReader::ReadSingle(uint64_t offset, std::span<uint8_t> page) {
  m_lastSingleEnd = offset + page.size();
  if (m_unreadable.count(offset) != 0) return false;
  SCachedPage& slot = *std::ranges::min_element(m_cache, {}, &SCachedPage::lastUse);
  slot.offset = ~uint64_t{0};
  slot.bytes.resize(page.size());
  size_t size = ReadStretch(offset, slot.bytes);
  if (size == m_contentLength - offset && page.size() > size) {
    std::fill(slot.bytes.begin() + static_cast<ptrdiff_t>(size), slot.bytes.end(), uint8_t{0});
    size = page.size();
  }
  if (size != page.size()) {
    if (m_unreadable.size() < kUnreadableKept) m_unreadable.insert(offset);
    return false;
  }
  slot.offset = offset;
  slot.lastUse = ++m_useCount;
  std::ranges::copy(slot.bytes, page.begin());
  return true;
}

const CPageReader::SCachedPage* CPageReader::FindCached(uint64_t offset, size_t size) {
  for (SCachedPage& cached : m_cache) {
    if (cached.offset != offset || cached.bytes.size() != size) continue;
    cached.lastUse = ++m_useCount;
    return &cached;
  }
  return nullptr;
}

}  // namespace tolvane
