// A set of rows, each a page and a slot: one bit a row, 32 bytes for a page that has any. Emptying it costs
// what was in it, whatever the length of the file.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tolvane {

class CRowSet {
 public:
  // False when the row was there already. Slots are below 256; pages below the file's count.
  bool Add(uint32_t page, uint32_t row) {
    if (page >= m_places.size()) m_places.resize(size_t{page} + 1);
    if (m_places[page] == 0) {
      m_pages.push_back({page, {}});
      m_places[page] = static_cast<uint32_t>(m_pages.size());
    }
    uint64_t& word = m_pages[m_places[page] - 1].bits[row / 64];
    const uint64_t bit = uint64_t{1} << (row % 64);
    if ((word & bit) != 0) return false;
    word |= bit;
    m_count++;
    return true;
  }
  [[nodiscard]] bool Contains(uint32_t page, uint32_t row) const {
    return page < m_places.size() && m_places[page] != 0 &&
           (m_pages[m_places[page] - 1].bits[row / 64] >> (row % 64) & 1) != 0;
  }
  [[nodiscard]] uint64_t GetCount() const { return m_count; }
  void Clear() {
    for (const SPage& page : m_pages) m_places[page.number] = 0;
    m_pages.clear();
    m_count = 0;
  }
  // Page by page in the order in which the pages came, each page's rows ascending.
  template <class Visitor>
  void ForEach(Visitor visit) const {
    for (const SPage& page : m_pages)
      for (uint32_t word = 0; word < page.bits.size(); word++)
        for (uint64_t bits = page.bits[word]; bits != 0; bits &= bits - 1)
          visit(page.number, word * 64 + static_cast<uint32_t>(std::countr_zero(bits)));
  }

 private:
  struct SPage {
    uint32_t number;
    std::array<uint64_t, 4> bits;
  };
  std::vector<uint32_t> m_places;  // by page: where its bits are in m_pages, counted from 1
  std::vector<SPage> m_pages;
  uint64_t m_count = 0;
};

}  // namespace tolvane
