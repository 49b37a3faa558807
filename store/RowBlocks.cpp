#include "store/RowBlocks.h"

#include <algorithm>
#include <array>

#include "format/Bytes.h"
#include "store/ValueStream.h"

namespace tolvane {

bool CRowBlockReader::Open(const SFilePart& part) {
  m_position = m_length = 0;
  if (!m_file.Open(part.path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting,
                   EFileFlags::Sequential))
    return false;
  m_start = part.start;
  m_length = part.LengthIn(m_file.GetLength());
  return true;
}

bool CRowBlockReader::Next(SRowBlock& block) {
  block.position = m_position;
  block.starts.clear();
  block.end = 0;
  if (m_position >= m_length || m_columnCount == 0) return false;
  const auto wanted = static_cast<size_t>(std::min<uint64_t>(kBlockBytes, m_length - m_position));
  if (block.bytes.size() < wanted) block.bytes.resize(wanted);
  const size_t got = m_file.ReadAt(m_start + m_position, std::span(block.bytes).first(wanted));
  if (got < wanted) m_length = m_position + got;
  if (got == 0) return false;
  const std::span<const uint8_t> bytes = std::span(block.bytes).first(got);
  for (std::optional<size_t> end = 0; (end = EndOfRow(bytes, block.end));) {
    block.starts.push_back(block.end);
    block.end = static_cast<uint32_t>(*end);
  }
  m_position += block.end;
  if (!block.starts.empty()) return true;
  block.starts.push_back(0);
  PassRow();
  return true;
}

// Nothing where the row does not end in these bytes.
std::optional<size_t> CRowBlockReader::EndOfRow(std::span<const uint8_t> bytes, size_t start) const {
  for (size_t column = 0; column < m_columnCount; ++column) {
    if (bytes.size() - start < kCountBytes) return std::nullopt;
    const uint32_t count = GetLittle<uint32_t>(bytes.subspan(start), 0);  // `start` may happen to be kAbsent
    start += kCountBytes;
    if (count > bytes.size() - start) return std::nullopt;
    start += count;
  }
  return start;
}

// Behind one that is not whole there is nothing.
void CRowBlockReader::PassRow() {
  for (size_t column = 0; column < m_columnCount; ++column) {
    std::array<uint8_t, kCountBytes> bytes{};
    const uint64_t left = m_length - m_position;
    const bool isThere = left >= kCountBytes && m_file.ReadAt(m_start + m_position, bytes) == kCountBytes;
    const uint32_t count = GetLittle<uint32_t>(bytes, 0);
    if (!isThere || count > left - kCountBytes) {
      m_position = m_length;
      return;
    }
    m_position += kCountBytes + count;
  }
}

}  // namespace tolvane
