#include "engine/DefinitionChain.h"

#include <algorithm>

#include "format/Definition.h"

namespace tolvane {

CDefinitionChain::CDefinitionChain(CPageReader& reader, const SLayout& layout)
    : m_reader(reader), m_linksLeft(2 * reader.GetPageCount(layout.pageSize)), m_page(layout.pageSize) {}

bool CDefinitionChain::Read(uint64_t offset) {
  m_isWhole = true;
  m_visited.clear();
  const auto read = [this](uint32_t page) { return ReadOnePage(uint64_t{page} * m_page.size()); };
  ReadDefinitionChain(static_cast<uint32_t>(offset / m_page.size()), read, m_bytes);
  m_bytes.resize(m_visited.size() * m_page.size());
  return m_isWhole;
}

std::span<const uint8_t> CDefinitionChain::ReadOnePage(uint64_t offset) {
  if (!m_visited.empty()) {
    if (!CanFollow(offset)) {
      m_isWhole = false;
      return {};
    }
    m_linksLeft--;
  }
  m_visited.insert(offset);
  std::ranges::fill(m_page, uint8_t{0});
  if (m_reader.ReadPage(offset, m_page)) return m_page;
  // A page that reaches beyond the end of the file is used as far as it goes, but its link is not followed.
  m_isWhole = false;
  if (offset + m_page.size() > m_reader.GetLength()) m_reader.ReadPartialPage(offset, m_page);
  PutLittle<uint32_t>(m_page, kDefinitionNext, 0);
  return m_page;
}

bool CDefinitionChain::CanFollow(uint64_t offset) const {
  return offset < m_reader.GetLength() && m_visited.count(offset) == 0 && m_linksLeft > 0 &&
         (m_visited.size() + 1) * m_page.size() <= kLongestDefinition;
}

}  // namespace tolvane
