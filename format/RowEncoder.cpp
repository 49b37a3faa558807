#include "format/RowEncoder.h"

#include <algorithm>
#include <cstring>

#include "format/RowFrame.h"

namespace tolvane {
namespace {

// A count or the low part of an offset.
void PutCount(const SRowLayout& layout, std::span<uint8_t> row, size_t at, size_t value) {
  PutLittle(row, at, static_cast<uint8_t>(value));
  if (layout.countSize == 2) PutLittle(row, at, static_cast<uint16_t>(value));
}

}  // namespace

CRowEncoder::CRowEncoder(const SLayout& layout, const STableDefinition& definition)
    : m_layout(layout),
      m_definition(definition),
      m_fixed(definition.GetFixedPartSize()),
      m_mask(MaskSize(definition.columnsEver)),
      m_variable(definition.variableEver) {
  m_bytes.reserve(layout.pageSize);
}

void CRowEncoder::Begin() {
  std::ranges::fill(m_fixed, uint8_t{0});
  std::ranges::fill(m_mask, uint8_t{0});
  std::ranges::fill(m_variable, SPiece{});
  m_bytes.clear();
  m_variableSize = 0;
}

void CRowEncoder::Set(const SColumnDefinition& column, std::span<const uint8_t> bytes) {
  if (!column.IsFixed()) {
    const std::span<uint8_t> room = Reserve(column, bytes.size());
    std::ranges::copy(bytes, room.begin());
    return;
  }
  const size_t size = std::min<size_t>(bytes.size(), column.GetFixedSize());
  std::copy_n(bytes.begin(), size, m_fixed.begin() + column.fixedOffset);
  MarkSet(column);
}

std::span<uint8_t> CRowEncoder::Reserve(const SColumnDefinition& column, size_t size) {
  SPiece& piece = m_variable[column.variableIndex];
  m_variableSize = m_variableSize - piece.size + size;
  if (size > piece.size) {
    piece.offset = static_cast<uint32_t>(m_bytes.size());
    m_bytes.resize(m_bytes.size() + size);
  }
  piece.size = static_cast<uint32_t>(size);
  MarkSet(column);
  return std::span(m_bytes).subspan(piece.offset, size);
}

void CRowEncoder::SetBoolean(const SColumnDefinition& column, bool value) {
  if (value)
    MarkSet(column);
  else
    m_mask[column.number / 8] =
        static_cast<uint8_t>(m_mask[column.number / 8] & ~(1u << (column.number % 8)));
}

size_t CRowEncoder::GetRowSize() const {
  const size_t width = m_layout.row.countSize;
  size_t size = width + m_fixed.size() + m_mask.size();
  if (m_variable.empty()) return size;
  size += m_variableSize + width * (m_variable.size() + 2);
  // The jump table may itself lengthen the row by so much that it needs another entry.
  size_t jumps = 0;
  while (JumpCount(m_layout.row, size + jumps) > jumps) jumps++;
  return size + jumps;
}

std::span<const uint8_t> CRowEncoder::Get(const SColumnDefinition& column) const {
  const SPiece& piece = m_variable[column.variableIndex];
  return std::span(m_bytes).subspan(piece.offset, piece.size);
}

void CRowEncoder::Write(std::span<uint8_t> row) const {
  const size_t width = m_layout.row.countSize;
  PutCount(m_layout.row, row, 0, m_definition.columnsEver);
  if (!m_fixed.empty()) std::memcpy(&row[width], m_fixed.data(), m_fixed.size());
  if (!m_variable.empty()) WriteVariable(row, width + m_fixed.size());
  std::memcpy(&row[row.size() - m_mask.size()], m_mask.data(), m_mask.size());
}

void CRowEncoder::WriteVariable(std::span<uint8_t> row, size_t at) const {
  const SRowTail tail = MakeRowTail(m_layout.row, row.size(), row.size() - m_mask.size());
  const auto put = [&](ptrdiff_t position, size_t value) {
    PutCount(m_layout.row, row, static_cast<size_t>(position), value);
  };
  put(tail.count, m_variable.size());
  uint8_t* jump = &row[static_cast<size_t>(tail.count)];
  for (size_t i = 1; i <= tail.jumpCount; i++) *(jump - i) = kNoJump;
  size_t jumps = 0;  // set so far
  const auto putOffset = [&](size_t index) {
    put(tail.OffsetAt(index), at);
    for (; jumps < tail.jumpCount && at >= kJumpStep * (jumps + 1); jumps++)
      *--jump = static_cast<uint8_t>(index);
  };
  for (size_t index = 0; index < m_variable.size(); index++) {
    const SPiece& piece = m_variable[index];
    putOffset(index);
    if (piece.size != 0) std::memcpy(&row[at], &m_bytes[piece.offset], piece.size);
    at += piece.size;
  }
  putOffset(m_variable.size());
}

bool ReadRowColumn(const SLayout& layout, const STableDefinition& definition, std::span<const uint8_t> row,
                   const SColumnDefinition& column, std::optional<std::span<const uint8_t>>& value) {
  CRowFrame frame(layout.row);
  value.reset();
  return frame.Cut(row, ShapeOf(definition.columnsEver, definition.variableEver)) &&
         FindColumnValue(frame, column, value);
}

}  // namespace tolvane
