#include "format/IndexPage.h"

#include <algorithm>

namespace tolvane {

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
  const std::span area = std::span(m_page).subspan(m_layout->entries);
  const size_t prefix = i == 0 ? 0 : m_prefix, start = i == 0 ? 0 : m_ends[i - 1];
  entry.resize(prefix + m_ends[i] - start);
  std::copy_n(area.begin(), prefix, entry.begin());
  std::copy_n(area.subspan(start).begin(), m_ends[i] - start,
              entry.begin() + static_cast<std::ptrdiff_t>(prefix));
}

void EncodeIndexPage(const SIndexPageLayout& at, const SIndexPage& page, std::span<uint8_t> bytes) {
  std::ranges::fill(bytes, uint8_t{0});
  size_t used = 0, start = 0;
  for (size_t i = 0; i < page.ends.size(); i++) {
    const size_t skipped = i == 0 ? 0 : page.prefix;
    const auto stored = page.entries.subspan(start + skipped, page.ends[i] - start - skipped);
    std::ranges::copy(stored, bytes.begin() + static_cast<std::ptrdiff_t>(at.entries + used));
    used += stored.size();
    uint8_t& maskByte = bytes[at.mask + used / 8];
    maskByte = static_cast<uint8_t>(maskByte | 1U << used % 8);
    start = page.ends[i];
  }
  bytes[kPageTypeAt] = page.level == 0 ? kPageIndexLeaf : kPageIndexNode;
  bytes[kPageMarkAt] = kPageFormatted;
  PutLittle(bytes, kFreeBytesOffset, static_cast<uint16_t>(at.Capacity() - used));
  PutLittle(bytes, kOwnerOffset, page.owner);
  PutLittle(bytes, at.previous, page.previous);
  PutLittle(bytes, at.next, page.next);
  PutLittle(bytes, at.tail, page.tail);
  if (at.prefixWidth == 1)
    PutLittle(bytes, at.prefix, static_cast<uint8_t>(page.prefix));
  else
    PutLittle(bytes, at.prefix, static_cast<uint16_t>(page.prefix));
  bytes[at.level] = page.level;
}

}  // namespace tolvane
