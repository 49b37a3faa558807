#include "format/PageSet.h"

namespace tolvane {

void CPageSet::Add(uint32_t page) {
  const size_t word = page / 64;
  if (m_words.empty()) m_firstWord = word;
  if (word < m_firstWord) {
    m_words.insert(m_words.begin(), m_firstWord - word, 0);
    m_firstWord = word;
  }
  if (word - m_firstWord >= m_words.size()) m_words.resize(word - m_firstWord + 1);
  uint64_t& bits = m_words[word - m_firstWord];
  const uint64_t bit = uint64_t{1} << (page % 64);
  if ((bits & bit) == 0) m_count++;
  bits |= bit;
}

void CPageSet::Remove(uint32_t page) {
  if (!Contains(page)) return;
  m_words[page / 64 - m_firstWord] &= ~(uint64_t{1} << (page % 64));
  if (--m_count == 0) Clear();
}

void CPageSet::Clear() {
  m_words.clear();
  m_firstWord = 0;
  m_count = 0;
}

bool CPageSet::Contains(uint32_t page) const {
  const size_t word = page / 64;
  return word >= m_firstWord && word - m_firstWord < m_words.size() &&
         (m_words[word - m_firstWord] >> (page % 64) & 1) != 0;
}

uint32_t CPageSet::FindFrom(uint32_t from) const {
  size_t word = from / 64;
  uint64_t mask = ~uint64_t{0} << (from % 64);
  if (word < m_firstWord) {
    word = m_firstWord;
    mask = ~uint64_t{0};
  }
  for (; word - m_firstWord < m_words.size(); word++, mask = ~uint64_t{0}) {
    const uint64_t bits = m_words[word - m_firstWord] & mask;
    if (bits != 0) return static_cast<uint32_t>(word * 64 + static_cast<size_t>(std::countr_zero(bits)));
  }
  return kNone;
}

uint32_t CPageSet::GetLast() const {
  for (size_t i = m_words.size(); i-- > 0;)
    if (m_words[i] != 0)
      return static_cast<uint32_t>((m_firstWord + i) * 64 + 63 -
                                   static_cast<size_t>(std::countl_zero(m_words[i])));
  return kNone;
}

}  // namespace tolvane
