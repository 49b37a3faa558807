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

#include "format/Definition.h"

namespace tolvane {

// Where the parts behind a row's values are, from the row's start. Positions are negative in a row that lies.
struct SRowTail {
  ptrdiff_t count = 0;    // of variable columns
  ptrdiff_t jumps = 0;    // jump byte 0; each of the others lies one below the one before
  ptrdiff_t offsets = 0;  // offset 0; likewise
  size_t jumpCount = 0;
  size_t width = 0;  // of an offset

  // Of variable column `index`, or of the end of the data.
  [[nodiscard]] constexpr ptrdiff_t OffsetAt(size_t index) const {
    return offsets - static_cast<ptrdiff_t>(index * width);
  }
};
constexpr size_t JumpCount(const SRowLayout& layout, size_t rowSize) {
  return layout.hasJumpTable ? (rowSize - 1) / kJumpStep : 0;
}
// `bodyEnd` is where the null mask starts.
constexpr SRowTail MakeRowTail(const SRowLayout& layout, size_t rowSize, size_t bodyEnd) {
  SRowTail tail{.jumpCount = JumpCount(layout, rowSize), .width = layout.countSize};
  tail.count = static_cast<ptrdiff_t>(bodyEnd) - static_cast<ptrdiff_t>(tail.width);
  tail.jumps = tail.count - 1;
  tail.offsets = tail.count - static_cast<ptrdiff_t>(tail.jumpCount + tail.width);
  return tail;
}
constexpr size_t MaskSize(size_t columns) {
  return (columns + 7) / 8;
}

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

  // The parts as the row has them, whatever they are worth.
  [[nodiscard]] uint32_t GetColumnCount() const { return m_columnCount; }
  [[nodiscard]] bool HasMask() const { return !m_mask.empty(); }
  [[nodiscard]] size_t GetBodyEnd() const { return m_bodyEnd; }
  [[nodiscard]] size_t GetVariableCount() const { return m_variableCount; }
  // Of the values, then of the end of the data; fewer where the row has no room for them.
  [[nodiscard]] std::span<const size_t> GetOffsets() const { return m_offsets; }
  // Where the offsets begin.
  [[nodiscard]] ptrdiff_t GetOffsetsStart() const { return m_tail.OffsetAt(m_variableCount); }

  // The column's bit in the null mask; false for columns that are newer than the row.
  [[nodiscard]] bool IsPresent(uint32_t number) const {
    return number < m_columnCount && !m_mask.empty() && (m_mask[number / 8] >> (number % 8) & 1) != 0;
  }
  [[nodiscard]] Field FindFixed(size_t offset, size_t width) const {
    const size_t start = m_layout.countSize + offset;
    if (start > m_fixedEnd || width > m_fixedEnd - start) return std::nullopt;
    return m_row.subspan(start, width);
  }
  [[nodiscard]] Field FindVariable(size_t index) const {
    if (index + 1 >= m_offsets.size()) return std::nullopt;
    const size_t start = m_offsets[index], end = m_offsets[index + 1];
    // The offsets lie behind the data, so a value that reaches its own end offset is none.
    if (start < m_layout.countSize || end < start || static_cast<ptrdiff_t>(end) > m_tail.OffsetAt(index + 1))
      return std::nullopt;
    return m_row.subspan(start, end - start);
  }

 private:
  [[nodiscard]] uint32_t ReadCount(size_t position) const;
  [[nodiscard]] size_t ReadVariableCount();
  void ReadOffsets(size_t count);
  [[nodiscard]] size_t FindFixedEnd(size_t count, const SRowShape& shape) const;
  [[nodiscard]] bool AreOffsetsSound(size_t count, size_t variableColumnsEver) const;

  const SRowLayout& m_layout;
  std::span<const uint8_t> m_row;
  std::span<const uint8_t> m_mask;  // empty when the row is shorter than its mask
  uint32_t m_columnCount = 0;
  size_t m_variableCount = 0;  // as the row has it
  bool m_hasOffsets = false;
  size_t m_bodyEnd = 0;   // where the mask starts
  size_t m_fixedEnd = 0;  // no fixed field reaches beyond
  SRowTail m_tail;
  std::vector<size_t> m_offsets;
};

// The shape of rows that the definition's own engine writes.
SRowShape ShapeOf(uint32_t columnsEver, uint32_t variableEver);

// The stored bytes of a column in a framed row; nullopt is null. A boolean is one byte, 0 or 1. False when
// the value should be there and does not lie inside the row.
inline bool FindColumnValue(const CRowFrame& frame, const SColumnDefinition& column,
                            CRowFrame::Field& value) {
  static constexpr uint8_t kFalse = 0, kTrue = 1;
  const bool isPresent = frame.IsPresent(column.number);
  value.reset();
  if (column.type == kTypeBoolean && column.IsFixed()) {
    value = std::span(isPresent ? &kTrue : &kFalse, 1);
    return true;
  }
  // Older rows have fewer columns.
  if (!isPresent || (!column.IsFixed() && column.variableIndex >= frame.GetVariableCount())) return true;
  value = column.IsFixed() ? frame.FindFixed(column.fixedOffset, column.GetFixedSize())
                           : frame.FindVariable(column.variableIndex);
  return value.has_value();
}

}  // namespace tolvane
