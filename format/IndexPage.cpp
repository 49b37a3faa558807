#include "format/IndexPage.h"

namespace tolvane {

uint32_t ReadBigEndian(std::span<const uint8_t> bytes) {
  uint32_t value = 0;
  for (const uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

bool CIndexPage::Parse(const SIndexPageLayout& layout, std::span<const uint8_t> page,
                       std::u16string& problem) {
  m_layout = &layout;
  m_page.assign(page.begin(), page.end());
  m_ends.clear();
  for (size_t at = layout.mask; at < layout.entries; at++) {
    for (size_t bit = 0; m_page[at] >> bit != 0; bit++)
      if ((m_page[at] >> bit & 1) != 0) m_ends.push_back(static_cast<uint16_t>(8 * (at - layout.mask) + bit));
  }
  m_prefix = layout.prefixWidth == 1 ? GetLittle<uint8_t>(m_page, layout.prefix)
                                     : GetLittle<uint16_t>(m_page, layout.prefix);
  if (m_ends.empty()) return true;
  const size_t shortest = kRowPointerSize + (IsLeaf() ? 0 : kChildPointerSize);
  bool isSound = m_ends.back() <= layout.Capacity() && m_ends.front() > shortest && m_prefix < m_ends.front();
  for (size_t i = 1; isSound && i < m_ends.size(); i++)
    isSound = size_t{m_ends[i]} - m_ends[i - 1] + m_prefix > shortest;
  if (isSound) return true;
  problem = u"the mask of entry ends cannot be followed";
  m_ends.clear();
  return false;
}

void CIndexPage::GetEntry(size_t i, std::vector<uint8_t>& entry) const {
  const auto area = m_page.begin() + static_cast<std::ptrdiff_t>(m_layout->entries);
  const auto start = static_cast<std::ptrdiff_t>(i == 0 ? 0 : m_ends[i - 1]);
  entry.assign(area, area + static_cast<std::ptrdiff_t>(i == 0 ? 0 : m_prefix));
  entry.insert(entry.end(), area + start, area + m_ends[i]);
}

}  // namespace tolvane
