#include "engine/DBFileReader.h"

#include <algorithm>
#include <utility>

namespace tolvane {

namespace {

constexpr uint8_t kReturn = '\r', kLineFeed = '\n';
constexpr size_t kBlock = size_t{1} << 16;
// Every database has many bytes of that value, and hardly any behind the other one. Memory is bounded.
constexpr size_t kLeastReturns = 8, kMostReturns = size_t{1} << 22;
// Further damage may leave one in so many line feeds alone.
constexpr size_t kAloneOf = 32;

}  // namespace

bool CDBFileReader::Open(CErrorHandler& handler) {
  Close();
  if (m_file.Open(m_path, EFileAccess::Read, EFileShare::Read, EFileCreation::OpenExisting)) return true;
  handler.ReportError(SystemMessage(m_file.GetLastErrorCode()), 1);
  return false;
}

bool CDBFileReader::Close() {
  m_addedReturns.clear();
  m_hasSwappedPairs = false;
  if (m_file.IsOpen()) m_file.Close();
  return true;
}

bool CDBFileReader::Seek(uint64_t offset, CErrorHandler& handler) {
  m_file.Seek(offset, ESeekOrigin::Begin, ESeekDirection::Forward, handler);
  return !handler.HasError();
}

bool CDBFileReader::Read(std::span<uint8_t> buffer, CErrorHandler& handler) {
  m_file.Read(buffer, handler);
  return !handler.HasError();
}

bool CDBFileReader::SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler) {
  return Seek(offset, handler) && Read(buffer, handler);
}

bool CDBFileReader::LeaveOutAddedReturns() {
  std::vector<uint64_t> returns;
  std::vector<uint8_t> block(kBlock);
  uint8_t before = 0;
  size_t alone = 0;
  for (uint64_t offset = 0;; offset += kBlock) {
    const size_t size = m_file.ReadAt(offset, block);
    for (size_t i = 0; i < size; before = block[i++]) {
      if (block[i] != kLineFeed) continue;
      if (before == kReturn)
        returns.push_back(offset + i - 1);
      else
        alone++;
    }
    const bool isLikely = returns.size() >= kLeastReturns && alone * kAloneOf <= returns.size();
    if (!isLikely || returns.size() > kMostReturns) return false;
    if (size < kBlock) break;
  }
  m_addedReturns = std::move(returns);
  return true;
}

size_t CDBFileReader::CountAddedBefore(uint64_t offset) const {
  size_t count = 0;
  for (size_t left = m_addedReturns.size(); left > 0;) {
    const size_t half = left / 2;
    if (m_addedReturns[count + half] - (count + half) <= offset) {
      count += half + 1;
      left -= half + 1;
    } else {
      left = half;
    }
  }
  return count;
}

size_t CDBFileReader::ReadLines(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
  if (buffer.empty()) return 0;
  const size_t first = CountAddedBefore(offset), last = CountAddedBefore(offset + buffer.size() - 1);
  std::vector<uint8_t> lines(buffer.size() + last - first);
  const uint64_t place = offset + first;
  const size_t size = m_file.ReadAt(place, lines, handler);
  size_t from = 0, to = 0;
  for (size_t i = first; i <= last && from < size; i++) {
    const size_t end =
        i < last ? static_cast<size_t>(std::min<uint64_t>(m_addedReturns[i] - place, size)) : size;
    to = static_cast<size_t>(std::copy(lines.begin() + static_cast<ptrdiff_t>(from),
                                       lines.begin() + static_cast<ptrdiff_t>(end),
                                       buffer.begin() + static_cast<ptrdiff_t>(to)) -
                             buffer.begin());
    from = end + 1;
  }
  return to;
}

size_t CDBFileReader::ReadPairs(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
  const auto skipped = static_cast<size_t>(offset % 2);
  std::vector<uint8_t> pairs((skipped + buffer.size() + 1) / 2 * 2);
  const size_t size = m_file.ReadAt(offset - skipped, pairs, handler);
  for (size_t i = 0; i + 1 < size; i += 2) std::swap(pairs[i], pairs[i + 1]);
  if (size <= skipped) return 0;
  const size_t taken = std::min(size - skipped, buffer.size());
  std::copy_n(pairs.begin() + static_cast<ptrdiff_t>(skipped), taken, buffer.begin());
  return taken;
}

}  // namespace tolvane
