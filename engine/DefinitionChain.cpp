#include "engine/DefinitionChain.h"

#include <algorithm>

#include "engine/DataReader.h"

namespace tolvane {

CDefinitionChain::CDefinitionChain(CPageReader& reader, const SLayout& layout)
    : m_reader(reader), m_linksLeft(2 * reader.GetPageCount(layout.pageSize)), m_page(layout.pageSize) {}

bool CDefinitionChain::Read(uint64_t offset) {
  m_isWhole = true;
  m_bytes.clear();
  m_visited.clear();
  m_end = 0;
  std::optional<uint64_t> next = offset;
  while (next) {
    m_visited.insert(*next);
    next = ReadOnePage(*next) ? NextOffset() : std::nullopt;
  }
  return m_isWhole;
}

// A page that reaches beyond the end of the file is used as far as it goes, but its link is not followed.
bool CDefinitionChain::ReadOnePage(uint64_t offset) {
  std::fill(m_page.begin(), m_page.end(), uint8_t{0});
  const bool isRead = m_reader.ReadPage(offset, m_page);
  if (!isRead) {
    m_isWhole = false;
    if (offset + m_page.size() > m_reader.GetLength()) m_reader.ReadPartialPage(offset, m_page);
  }
  const size_t head = m_bytes.empty() ? 0 : kDefinitionHead;
  m_bytes.resize(m_bytes.size() + m_page.size());
  std::copy(m_page.begin() + static_cast<ptrdiff_t>(head), m_page.end(),
            m_bytes.begin() + static_cast<ptrdiff_t>(m_end));
  m_end += m_page.size() - head;
  return isRead;
}

std::optional<uint64_t> CDefinitionChain::NextOffset() {
  const uint64_t next = uint64_t{CDataReader::ReadUInt32(&m_page[kDefinitionNext])} * m_page.size();
  if (next == 0) return std::nullopt;
  const bool canFollow = next < m_reader.GetLength() && m_visited.count(next) == 0 && m_linksLeft > 0 &&
                         m_bytes.size() + m_page.size() <= kLongestDefinition;
  if (!canFollow) {
    m_isWhole = false;
    return std::nullopt;
  }
  m_linksLeft--;
  return next;
}

}  // namespace tolvane
