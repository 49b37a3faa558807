#include "store/ValueStream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "format/Bytes.h"

namespace tolvane {

namespace {

constexpr size_t kBlockBytes = 256 * 1024;

}  // namespace

bool CValueStream::Open(const SFilePart& part) {
  Close();
  if (!m_file.Open(part.path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting,
                   EFileFlags::Sequential))
    return false;
  m_start = part.start;
  m_length = part.LengthIn(m_file.GetLength());
  return true;
}

void CValueStream::Close() {
  if (m_file.IsOpen()) m_file.Close();
  m_length = m_position = m_blockStart = 0;
  m_blockSize = 0;
}

bool CValueStream::ReadCount(uint32_t& count) {
  std::array<uint8_t, kCountBytes> bytes{};
  const uint64_t start = m_position;
  const size_t got = ReadBytes(bytes);
  m_position = start + kCountBytes;
  count = GetLittle<uint32_t>(bytes, 0);
  return got == kCountBytes;
}

bool CValueStream::ReadText(uint32_t count, std::u16string& text, size_t maximumUnits) {
  const uint64_t start = m_position;
  const uint64_t left = GetBytesLeft();
  const size_t units = std::min(static_cast<size_t>(std::min<uint64_t>(count, left) / 2), maximumUnits);
  text.resize(units);
  const size_t got = ReadBytes({reinterpret_cast<uint8_t*>(text.data()), units * 2});
  text.resize(got / 2);
  if constexpr (std::endian::native == std::endian::big) {
    for (char16_t& unit : text) unit = static_cast<char16_t>(unit << 8 | unit >> 8);
  }
  m_position = start + count;
  return count <= left && got == units * 2;
}

bool CValueStream::ReadRecord(uint32_t count, std::vector<uint8_t>& bytes) {
  const uint64_t start = m_position;
  const uint64_t left = GetBytesLeft();
  bytes.resize(static_cast<size_t>(std::min<uint64_t>(count, left)));
  const size_t wanted = bytes.size();
  bytes.resize(ReadBytes(bytes));
  m_position = start + count;
  return count <= left && bytes.size() == wanted;
}

void CValueStream::Skip(uint64_t count) {
  m_position += count;
}

size_t CValueStream::ReadBytes(std::span<uint8_t> bytes) {
  if (bytes.empty()) return 0;
  // Nearly always all of them stand in the block.
  if (IsInBlock(bytes.size())) {
    std::memcpy(bytes.data(), &m_block[static_cast<size_t>(m_position - m_blockStart)], bytes.size());
    m_position += bytes.size();
    return bytes.size();
  }
  size_t done = 0;
  while (done < bytes.size() && !IsAtEnd()) {
    if (!IsInBlock(1) && !FillBlock()) break;
    const size_t at = static_cast<size_t>(m_position - m_blockStart);
    const size_t piece = std::min(bytes.size() - done, m_blockSize - at);
    std::memcpy(bytes.data() + done, m_block.data() + at, piece);
    done += piece;
    m_position += piece;
  }
  return done;
}

bool CValueStream::FillBlock() {
  const size_t wanted = static_cast<size_t>(std::min<uint64_t>(kBlockBytes, m_length - m_position));
  if (m_block.size() < wanted) m_block.resize(wanted);
  m_blockStart = m_position;
  m_blockSize = m_file.ReadAt(m_start + m_position, std::span(m_block).first(wanted));
  if (m_blockSize == 0) m_length = m_position;
  return m_blockSize > 0;
}

}  // namespace tolvane
