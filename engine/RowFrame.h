// The frame of one row: its null mask, its fixed area and its variable values.
//
// Nothing in a row is trusted: a field that does not lie inside the row is not there. The row's bytes must
// stay while the frame is used.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

inline constexpr uint32_t kNoColumnNumber = ~uint32_t{0};

// What a table's definition says about its rows.
struct SRowShape {
  uint32_t columnsEver = 0;           // column numbers given out so far
  uint32_t variableColumnsEver = 0;   // deleted ones included
  uint32_t maximumStoredColumns = 0;  // a row with so many is rejected
  // Lowest number of a variable column, kNoColumnNumber if there is none. A row with fewer columns may have
  // been written before the table had any, and then has no offsets.
  uint32_t firstVariableNumber = kNoColumnNumber;
};

class CRowFrame {
 public:
  using Field = std::optional<std::span<const uint8_t>>;

  explicit CRowFrame(const SRowLayout& layout) : m_layout(layout) {}

  // False: these bytes are no row of that shape.
  bool Cut(std::span<const uint8_t> row, const SRowShape& shape);

  // What the row says of itself: how many columns it stores, how many of variable length, where the fixed
  // area ends (0: the row does not say) and how many bytes lie unused behind its last value.
  struct SMeasure {
    uint32_t columns = 0;
    size_t variables = 0;
    size_t fixedEnd = 0;
    size_t slack = 0;
    // clang-tidy 14 takes the comparison with zero that the compiler makes for a pointer.
    auto operator<=>(const SMeasure&) const = default;  // NOLINT(modernize-use-nullptr)
  };
  // Nothing when its parts contradict each other.
  [[nodiscard]] std::optional<SMeasure> Measure() const;

  // The column's bit in the null mask; false for columns that are newer than the row.
  [[nodiscard]] bool IsPresent(uint32_t number) const;
  [[nodiscard]] Field FindFixed(size_t offset, size_t width) const;
  [[nodiscard]] Field FindVariable(size_t index) const;

 private:
  // Where the offsets are. Positions may be negative in a row that lies.
  struct SOffsetTable {
    ptrdiff_t first = 0;   // position of offset 0
    ptrdiff_t jumps = 0;   // position of jump byte 0
    size_t jumpCount = 0;  // without the surplus one
  };

  [[nodiscard]] uint32_t ReadCount(size_t position) const;
  [[nodiscard]] size_t ReadVariableCount();
  [[nodiscard]] SOffsetTable LocateOffsets(size_t count) const;
  void ReadOffsets(size_t count);
  [[nodiscard]] size_t FindFixedEnd(size_t count, const SRowShape& shape) const;
  [[nodiscard]] bool AreOffsetsSound(size_t count, size_t variableColumnsEver) const;
  [[nodiscard]] ptrdiff_t PositionOfOffset(size_t index) const;

  const SRowLayout& m_layout;
  std::span<const uint8_t> m_row;
  std::span<const uint8_t> m_mask;  // empty when the row is shorter than its mask
  uint32_t m_columnCount = 0;
  size_t m_variableCount = 0;  // as the row has it
  bool m_hasOffsets = false;
  size_t m_bodyEnd = 0;   // where the mask starts
  size_t m_fixedEnd = 0;  // no fixed field reaches beyond
  SOffsetTable m_table;
  std::vector<size_t> m_offsets;
};

}  // namespace tolvane
