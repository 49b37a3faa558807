// A set of page numbers: one bit each, in a piece that begins near the lowest number, so that a set of pages
// that lie together stays small wherever they lie.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tolvane {

class CPageSet {
 public:
  static constexpr uint32_t kNone = 0xFFFFFFFF;

  void Add(uint32_t page);
  void Remove(uint32_t page);
  void Clear();
  [[nodiscard]] bool Contains(uint32_t page) const;
  [[nodiscard]] bool IsEmpty() const { return m_count == 0; }
  [[nodiscard]] uint32_t GetCount() const { return m_count; }
  // The lowest page not below `from`, or kNone.
  [[nodiscard]] uint32_t FindFrom(uint32_t from) const;
  [[nodiscard]] uint32_t GetFirst() const { return FindFrom(0); }
  [[nodiscard]] uint32_t GetLast() const;
  // Calls `visit` with each page in ascending order.
  template <class Visitor>
  void ForEach(Visitor visit) const {
    for (size_t i = 0; i < m_words.size(); i++)
      for (uint64_t word = m_words[i]; word != 0; word &= word - 1)
        visit(static_cast<uint32_t>((m_firstWord + i) * 64 + static_cast<size_t>(std::countr_zero(word))));
  }

 private:
  std::vector<uint64_t> m_words;
  size_t m_firstWord = 0;  // what m_words[0] stands for, in words from page 0
  uint32_t m_count = 0;
};

}  // namespace tolvane
