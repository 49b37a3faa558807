// Pages of long values whose slots cannot be true or whose heads were zeroed, and where the values on them
// lie nevertheless.
//
// Rows lie without gaps between the page's end and its free bytes, the first slot's last:
//
//   head | slots | free bytes | row r-1 | ... | row 1 | row 0
//
// The length of each row stands in the field that leads to it, so that starts follow from the lengths, from
// the page's end downwards and from the free bytes upwards.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "format/Layout.h"
#include "format/PageLayout.h"

namespace tolvane {

class CLongValuePages {
 public:
  // `pages`: those whose slots are not believed.
  CLongValuePages(const SLayout& layout, std::span<const uint32_t> pages);

  [[nodiscard]] bool IsEmpty() const { return m_pages.empty(); }
  [[nodiscard]] bool IsBroken(uint32_t page) const { return m_pages.count(page) != 0; }
  // Whether the head of the page was zeroed.
  [[nodiscard]] bool IsHeadless(std::span<const uint8_t> page) const;
  // Takes note of a row's length from a field that leads to it. Two that differ tell nothing.
  void Note(SRowPointer pointer, size_t length);
  // The row on its page, which is a broken one. `length` is what the value still needs of it, links included;
  // the row is at most so long.
  [[nodiscard]] std::optional<std::span<const uint8_t>> FindRow(std::span<const uint8_t> page,
                                                                SRowPointer pointer, size_t length);

 private:
  // Hostile files could name any number of rows.
  static constexpr size_t kMostLengths = size_t{1} << 20;

  [[nodiscard]] std::optional<size_t> LengthOf(SRowPointer pointer) const;
  void Place(std::span<const uint8_t> page, uint32_t number, uint32_t count);

  const SLayout* m_layout;
  std::unordered_set<uint32_t> m_pages;
  std::unordered_map<uint32_t, size_t> m_lengths;  // by pointer; 0: contradictory
  std::unordered_map<uint32_t, uint32_t> m_slots;  // by page: how many the pointers tell
  // Of the page placed last: where rows start and end, 0 where that is not known.
  std::vector<size_t> m_starts, m_ends;
  uint32_t m_placed = 0;  // its number; page 0 has no rows
};

}  // namespace tolvane
