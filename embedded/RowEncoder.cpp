#include "embedded/RowEncoder.h"

#include <algorithm>
#include <cstring>

namespace tolvane {
namespace {

size_t MaskSize(size_t columns) {
  return (columns + 7) / 8;
}

// A count or the low part of an offset.
size_t GetCount(const SRowLayout& layout, std::span<const uint8_t> row, size_t at) {
  return layout.countSize == 1 ? GetLittle<uint8_t>(row, at) : GetLittle<uint16_t>(row, at);
}

void PutCount(const SRowLayout& layout, std::span<uint8_t> row, size_t at, size_t value) {
  PutLittle(row, at, static_cast<uint8_t>(value));
  if (layout.countSize == 2) PutLittle(row, at, static_cast<uint16_t>(value));
}

// Bytes of the jump table in a row of this size, the table included.
size_t JumpSize(const SRowLayout& layout, size_t rowSize) {
  return layout.countSize == 1 ? (rowSize - 1) / kJumpStep : 0;
}

// Where the parts behind the variable values lie in a row, counted from the row's start. The offset of the
// last byte of each is lower than that of the one before it.
class CRowTail {
 public:
  CRowTail(const SRowLayout& layout, size_t rowSize, size_t maskSize)
      : m_layout(layout),
        m_countAt(rowSize - maskSize - layout.countSize),
        m_jumps(JumpSize(layout, rowSize)) {}

  [[nodiscard]] size_t CountAt() const { return m_countAt; }
  [[nodiscard]] size_t JumpCount() const { return m_jumps; }
  [[nodiscard]] size_t JumpAt(size_t jump) const { return m_countAt - 1 - jump; }
  // Of variable column `index`, or of the end of the data.
  [[nodiscard]] size_t OffsetAt(size_t index) const {
    return m_countAt - m_jumps - m_layout.countSize * (index + 1);
  }
  // False when the row is too short for this many variable columns.
  [[nodiscard]] bool HasRoomFor(size_t variables) const {
    return m_countAt >= m_jumps + m_layout.countSize * (variables + 2);
  }

 private:
  const SRowLayout& m_layout;
  size_t m_countAt, m_jumps;
};

// The table has as many entries as the row's size asks for. The last ones may be of no use; they cannot be
// told from an entry for the 255th offset then, but no offset is higher than the place where it stands.
size_t ReadOffset(const SRowLayout& layout, const CRowTail& tail, std::span<const uint8_t> row,
                  size_t variables, size_t index) {
  size_t offset = GetCount(layout, row, tail.OffsetAt(index));
  const size_t jumps = std::min(tail.JumpCount(), tail.OffsetAt(variables) / kJumpStep);
  for (size_t jump = 0; jump < jumps; jump++)
    if (row[tail.JumpAt(jump)] <= index) offset += kJumpStep;
  return offset;
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
  std::fill(m_fixed.begin(), m_fixed.end(), uint8_t{0});
  std::fill(m_mask.begin(), m_mask.end(), uint8_t{0});
  std::fill(m_variable.begin(), m_variable.end(), SPiece{});
  m_bytes.clear();
  m_variableSize = 0;
}

void CRowEncoder::Set(const SColumnDefinition& column, std::span<const uint8_t> bytes) {
  if (!column.IsFixed()) {
    const std::span<uint8_t> room = Reserve(column, bytes.size());
    std::copy(bytes.begin(), bytes.end(), room.begin());
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
  while (JumpSize(m_layout.row, size + jumps) > jumps) jumps++;
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
  const CRowTail tail(m_layout.row, row.size(), m_mask.size());
  PutCount(m_layout.row, row, tail.CountAt(), m_variable.size());
  for (size_t jump = 0; jump < tail.JumpCount(); jump++) row[tail.JumpAt(jump)] = kNoJump;
  size_t jumps = 0;  // set so far
  const auto putOffset = [&](size_t index) {
    PutCount(m_layout.row, row, tail.OffsetAt(index), at);
    for (; jumps < tail.JumpCount() && at >= kJumpStep * (jumps + 1); jumps++)
      row[tail.JumpAt(jumps)] = static_cast<uint8_t>(index);
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
  static constexpr uint8_t kFalse = 0, kTrue = 1;
  const size_t width = layout.row.countSize;
  value.reset();
  if (row.size() < width) return false;
  const size_t columns = GetCount(layout.row, row, 0), maskSize = MaskSize(columns);
  if (columns > definition.columnsEver || row.size() < width + maskSize) return false;
  const bool isThere = column.number < columns &&
                       (row[row.size() - maskSize + column.number / 8] >> (column.number % 8) & 1) != 0;
  if (column.type == kTypeBoolean) {
    value = std::span(isThere ? &kTrue : &kFalse, 1);
    return true;
  }
  if (!isThere) return true;
  if (column.IsFixed()) {
    if (width + column.fixedOffset + column.GetFixedSize() > row.size() - maskSize) return false;
    value = row.subspan(width + column.fixedOffset, column.GetFixedSize());
    return true;
  }
  if (row.size() < 2 * width + maskSize) return false;
  const CRowTail tail(layout.row, row.size(), maskSize);
  const size_t variables = GetCount(layout.row, row, tail.CountAt());
  if (column.variableIndex >= variables) return true;
  if (!tail.HasRoomFor(variables)) return false;
  const size_t start = ReadOffset(layout.row, tail, row, variables, column.variableIndex);
  const size_t end = ReadOffset(layout.row, tail, row, variables, column.variableIndex + size_t{1});
  if (start > end || end > tail.CountAt()) return false;
  value = row.subspan(start, end - start);
  return true;
}

}  // namespace tolvane
