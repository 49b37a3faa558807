#include "app/SpillFile.h"

#include <algorithm>
#include <atomic>

#include "platform/ErrorHandler.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

namespace tolvane {

namespace {

std::atomic<uint32_t> g_filesOpened{0};

}  // namespace

CSpillFile::~CSpillFile() {
  Clear();
}

bool CSpillFile::Append(std::span<const uint8_t> bytes) {
  if (!m_problem.empty()) return false;
  while (!bytes.empty()) {
    if (m_tail.size() == kBlockSize && !StoreTail()) return false;
    const size_t count = std::min(bytes.size(), kBlockSize - m_tail.size());
    m_tail.insert(m_tail.end(), bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(count));
    bytes = bytes.subspan(count);
  }
  return true;
}

bool CSpillFile::StoreTail() {
  if (!m_file.IsOpen() && !OpenFile()) return false;
  try {
    m_file.WriteAt(m_stored, m_tail);
  } catch (const CFileCustException& error) {
    m_problem = error.GetMessageText();
    return false;
  }
  m_stored += m_tail.size();
  m_tail.clear();
  return true;
}

bool CSpillFile::OpenFile() {
  const std::u16string path = GetWorkFolder() + u"records-" + ToDecimal(++g_filesOpened);
  if (m_file.Open(path, EFileAccess::ReadWrite, EFileShare::Read, EFileCreation::CreateAlways)) return true;
  m_problem = SystemMessage(m_file.GetLastErrorCode());
  return false;
}

size_t CSpillFile::Read(uint64_t position, std::span<uint8_t> buffer) {
  size_t done = 0;
  while (done < buffer.size() && position < GetLength()) {
    const bool isInTail = position >= m_stored;
    const std::vector<uint8_t>& bytes = isInTail ? m_tail : GetBlock(position / kBlockSize);
    const size_t at = static_cast<size_t>(isInTail ? position - m_stored : position % kBlockSize);
    if (at >= bytes.size()) break;
    const size_t count = std::min(buffer.size() - done, bytes.size() - at);
    std::copy_n(bytes.begin() + static_cast<ptrdiff_t>(at), count,
                buffer.begin() + static_cast<ptrdiff_t>(done));
    done += count;
    position += count;
  }
  return done;
}

const std::vector<uint8_t>& CSpillFile::GetBlock(uint64_t number) {
  const auto found = std::ranges::find(m_blocks, number, &SBlock::number);
  if (found != m_blocks.end()) {
    m_blocks.splice(m_blocks.begin(), m_blocks, found);
    return m_blocks.front().bytes;
  }
  if (m_blocks.size() < kBlocksKept)
    m_blocks.emplace_front();
  else
    m_blocks.splice(m_blocks.begin(), m_blocks, std::prev(m_blocks.end()));
  SBlock& block = m_blocks.front();
  block.number = number;
  block.bytes.resize(kBlockSize);
  CErrorHandler handler;
  block.bytes.resize(m_file.ReadAt(number * kBlockSize, block.bytes, handler));
  if (handler.HasError() && m_problem.empty()) m_problem = handler.GetMessageText();
  return block.bytes;
}

void CSpillFile::Clear() {
  if (m_file.IsOpen()) {
    const std::u16string path = m_file.GetPath();
    m_file.Close();
    static_cast<void>(RemoveFile(path));  // else it goes with the work folder
  }
  m_stored = 0;
  m_tail.clear();
  m_blocks.clear();
  m_problem.clear();
}

}  // namespace tolvane
