#include "writer/embedded/RowEncoder.h"

#include <algorithm>
#include <cstring>

namespace tolvane {
namespace {

size_t MaskSize(size_t columns) {
  return (columns + 7) / 8;
}

}  // namespace

CRowEncoder::CRowEncoder(const SEmbeddedLayout& layout, const STableDefinition& definition)
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
  if (!m_variable.empty()) size += m_variableSize + width * (m_variable.size() + 2);
  return size;
}

void CRowEncoder::Write(std::span<uint8_t> row) const {
  const size_t width = m_layout.row.countSize;
  PutLittle(row, 0, m_definition.columnsEver);
  size_t at = width;
  if (!m_fixed.empty()) std::memcpy(&row[at], m_fixed.data(), m_fixed.size());
  at += m_fixed.size();
  if (!m_variable.empty()) {
    // Offsets stand in descending order in front of the count; the end of the data comes first of all.
    size_t offsetAt = row.size() - m_mask.size() - width;
    PutLittle(row, offsetAt, static_cast<uint16_t>(m_variable.size()));
    for (const SPiece& piece : m_variable) {
      PutLittle(row, offsetAt -= width, static_cast<uint16_t>(at));
      if (piece.size != 0) std::memcpy(&row[at], &m_bytes[piece.offset], piece.size);
      at += piece.size;
    }
    PutLittle(row, offsetAt - width, static_cast<uint16_t>(at));
  }
  std::memcpy(&row[row.size() - m_mask.size()], m_mask.data(), m_mask.size());
}

bool ReadRowColumn(const SEmbeddedLayout& layout, const STableDefinition& definition,
                   std::span<const uint8_t> row, const SColumnDefinition& column,
                   std::optional<std::span<const uint8_t>>& value) {
  static constexpr uint8_t kFalse = 0, kTrue = 1;
  const size_t width = layout.row.countSize;
  value.reset();
  if (row.size() < width) return false;
  const size_t columns = GetLittle<uint16_t>(row, 0), maskSize = MaskSize(columns);
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
  const size_t countAt = row.size() - maskSize - width;
  const size_t variables = GetLittle<uint16_t>(row, countAt);
  if (column.variableIndex >= variables) return true;
  const size_t back = width * (size_t{column.variableIndex} + 2);
  if (back > countAt) return false;
  const size_t start = GetLittle<uint16_t>(row, countAt - back + width);
  const size_t end = GetLittle<uint16_t>(row, countAt - back);
  if (start > end || end > countAt) return false;
  value = row.subspan(start, end - start);
  return true;
}

}  // namespace tolvane
