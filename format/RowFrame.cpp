#include "format/RowFrame.h"

#include <algorithm>

namespace tolvane {

bool CRowFrame::Cut(std::span<const uint8_t> row, const SRowShape& shape) {
  if (row.size() <= 1) return false;
  m_row = row;
  m_columnCount = ReadCount(0);
  if (m_columnCount == 0 || m_columnCount > shape.columnsEver) return false;
  if (m_columnCount >= shape.maximumStoredColumns) return false;

  const size_t maskBytes = (m_columnCount - 1) / 8 + 1;
  m_mask = row.size() >= maskBytes ? row.last(maskBytes) : std::span<const uint8_t>{};
  m_bodyEnd = row.size() - m_mask.size();
  m_fixedEnd = m_bodyEnd;
  m_offsets.clear();
  m_variableCount = 0;
  m_hasOffsets = false;
  if (shape.firstVariableNumber >= m_columnCount) return true;

  m_hasOffsets = true;
  const size_t count = ReadVariableCount();
  ReadOffsets(count);
  m_fixedEnd = FindFixedEnd(count, shape);
  return true;
}

std::optional<CRowFrame::SMeasure> CRowFrame::Measure() const {
  if (m_mask.empty() || m_bodyEnd < m_layout.countSize) return std::nullopt;
  if (!m_hasOffsets) return SMeasure{.columns = m_columnCount, .slack = m_bodyEnd - m_layout.countSize};
  if (m_variableCount > m_columnCount || !AreOffsetsSound(m_variableCount, m_columnCount))
    return std::nullopt;
  return SMeasure{.columns = m_columnCount,
                  .variables = m_variableCount,
                  .fixedEnd = m_offsets.front(),
                  .slack = static_cast<size_t>(m_tail.OffsetAt(m_variableCount)) - m_offsets.back()};
}

uint32_t CRowFrame::ReadCount(size_t position) const {
  uint32_t value = m_row[position];
  if (m_layout.countSize == 2) value |= static_cast<uint32_t>(m_row[position + 1]) << 8;
  return value;
}

// A count that cannot be true still leaves the first variable value readable.
size_t CRowFrame::ReadVariableCount() {
  constexpr size_t kFallback = 1;
  m_variableCount = ~size_t{0};
  if (m_bodyEnd < m_layout.countSize) return kFallback;
  m_variableCount = ReadCount(m_bodyEnd - m_layout.countSize);
  return m_variableCount > m_columnCount ? kFallback : m_variableCount;
}

void CRowFrame::ReadOffsets(size_t count) {
  m_tail = MakeRowTail(m_layout, m_row.size(), m_bodyEnd);
  // The number of jump bytes comes from the row's length, so there are too many where the data end below the
  // last steps and only what follows them lies above. FF, which they hold, is an offset's number in the
  // widest rows.
  const ptrdiff_t end = m_tail.OffsetAt(count);
  if (end >= 0) m_tail.jumpCount = std::min(m_tail.jumpCount, static_cast<size_t>(end) / kJumpStep);
  size_t jumpsUsed = 0;
  for (size_t i = 0; i <= count; i++) {
    const ptrdiff_t position = m_tail.OffsetAt(i);
    if (position < static_cast<ptrdiff_t>(m_layout.countSize)) return;
    size_t offset = m_row[static_cast<size_t>(position)];
    if (m_layout.countSize == 2) offset |= static_cast<size_t>(m_row[static_cast<size_t>(position) + 1]) << 8;
    // Jump bytes lie above the offsets, so their positions are valid here.
    while (jumpsUsed < m_tail.jumpCount && m_row[static_cast<size_t>(m_tail.jumps) - jumpsUsed] == i)
      jumpsUsed++;
    m_offsets.push_back(offset + jumpsUsed * kJumpStep);
  }
}

// The first offset, if the offsets are sound as a whole; else where at least two offsets must start.
size_t CRowFrame::FindFixedEnd(size_t count, const SRowShape& shape) const {
  if (AreOffsetsSound(count, shape.variableColumnsEver)) return m_offsets[0];
  const ptrdiff_t second = m_tail.OffsetAt(1);
  return second < static_cast<ptrdiff_t>(m_layout.countSize) ? m_bodyEnd : static_cast<size_t>(second);
}

bool CRowFrame::AreOffsetsSound(size_t count, size_t variableColumnsEver) const {
  if (m_offsets.size() != count + 1 || count > variableColumnsEver) return false;
  size_t previous = m_layout.countSize;
  for (const size_t offset : m_offsets) {
    if (offset < previous) return false;
    previous = offset;
  }
  return static_cast<ptrdiff_t>(previous) <= m_tail.OffsetAt(count);
}

SRowShape ShapeOf(uint32_t columnsEver, uint32_t variableEver) {
  return {.columnsEver = columnsEver,
          .variableColumnsEver = variableEver,
          .maximumStoredColumns = columnsEver + 1,
          .firstVariableNumber = variableEver == 0 ? kNoColumnNumber : 0};
}

}  // namespace tolvane
