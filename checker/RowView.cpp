#include "checker/RowView.h"

#include <algorithm>

#include "checker/Finding.h"

namespace tolvane {
namespace {

constexpr size_t kJumpEvery = 256;
constexpr uint8_t kFalse = 0, kTrue = 1;

}  // namespace

CRowView::CRowView(const SLayout& layout, const SCheckedTable& table)
    : m_table(table),
      m_width(layout.row.countSize),
      m_jumpEvery(m_width == 1 ? kJumpEvery : 0),
      m_hasAllColumns(table.columns.size() == table.columnsEver),
      m_fixedEnds(size_t{table.columnsEver} + 1) {
  for (const SCheckedColumn& column : table.columns)
    if (column.GetFixedSize() != 0)
      m_fixedEnds[size_t{column.number} + 1] =
          static_cast<uint16_t>(std::min<size_t>(size_t{column.fixedOffset} + column.GetFixedSize(), 0xFFFF));
  for (size_t i = 1; i < m_fixedEnds.size(); i++)
    m_fixedEnds[i] = std::max(m_fixedEnds[i], m_fixedEnds[i - 1]);
}

bool CRowView::Frame(std::span<const uint8_t> row, std::u16string& problem) {
  m_row = row;
  if (row.size() < m_width) return problem = u"the row is too short", false;
  m_columns = NumberAt(0);
  const size_t maskSize = (m_columns + 7) / 8;
  if (m_columns == 0 || m_columns > m_table.columnsEver) {
    problem = Say(u"the row has ", m_columns, u" columns, the table has had ", m_table.columnsEver);
    return false;
  }
  m_fixedEnd = m_width + m_fixedEnds[m_columns];
  if (row.size() < m_fixedEnd + maskSize)
    return problem = u"the row is shorter than its fixed columns", false;
  m_maskAt = row.size() - maskSize;
  m_variables = 0;
  return m_table.variableEver == 0 || ReadOffsets(problem);
}

bool CRowView::ReadOffsets(std::u16string& problem) {
  if (m_maskAt < m_fixedEnd + m_width)
    return problem = u"the row has no room for its variable columns", false;
  const size_t jumps = m_jumpEvery == 0 ? 0 : (m_row.size() - 1) / m_jumpEvery;
  const size_t countAt = m_maskAt - m_width;
  m_variables = NumberAt(countAt);
  if (m_variables > m_table.variableEver ||
      (m_columns == m_table.columnsEver && m_variables != m_table.variableEver)) {
    problem =
        Say(u"the row has ", m_variables, u" variable columns, the table has had ", m_table.variableEver);
    return false;
  }
  const size_t needed = jumps + m_width * (m_variables + 1);
  if (countAt < m_fixedEnd + needed) return problem = u"the row has no room for its offsets", false;
  const size_t offsetsAt = countAt - needed;
  m_offsets.resize(m_variables + 1);
  // No offset is higher than the place where the offsets stand, so jumps beyond it are of no use; their FF is
  // not an entry for the 255th offset.
  const size_t jumpsInUse = std::min(jumps, offsetsAt / kJumpEvery);
  size_t jumpsUsed = 0;
  for (size_t i = 0; i <= m_variables; i++) {
    while (jumpsUsed < jumpsInUse && m_row[countAt - 1 - jumpsUsed] == i) jumpsUsed++;
    m_offsets[i] =
        static_cast<uint32_t>(NumberAt(countAt - jumps - m_width * (i + 1)) + kJumpEvery * jumpsUsed);
  }
  return CheckOffsets(offsetsAt, problem);
}

bool CRowView::CheckOffsets(size_t offsetsAt, std::u16string& problem) const {
  const bool isExact = m_hasAllColumns && m_columns == m_table.columnsEver;
  if (m_offsets[0] < m_fixedEnd || (isExact && m_offsets[0] != m_fixedEnd)) {
    problem = Say(u"the variable part starts at ", m_offsets[0], u", the fixed part ends at ", m_fixedEnd);
    return false;
  }
  if (!std::is_sorted(m_offsets.begin(), m_offsets.end()) || m_offsets.back() > offsetsAt) {
    problem = u"the offsets of the variable columns do not ascend inside the row";
    return false;
  }
  return true;
}

std::optional<std::span<const uint8_t>> CRowView::Get(const SCheckedColumn& column) const {
  const bool isPresent = IsPresent(column.number);
  if (column.type == kTypeBoolean && column.IsFixed()) return std::span(isPresent ? &kTrue : &kFalse, 1);
  if (!isPresent) return std::nullopt;
  if (column.IsFixed()) return m_row.subspan(m_width + column.fixedOffset, column.GetFixedSize());
  if (column.variableIndex >= m_variables) return std::nullopt;
  const size_t start = m_offsets[column.variableIndex];
  return m_row.subspan(start, m_offsets[size_t{column.variableIndex} + 1] - start);
}

bool CRowView::HasValue(const SLayout& layout, std::span<const uint8_t> row, uint16_t number) {
  const size_t width = layout.row.countSize;
  if (row.size() < width) return false;
  const size_t columns = width == 1 ? row[0] : GetLittle<uint16_t>(row, 0), maskSize = (columns + 7) / 8;
  if (number >= columns || row.size() < width + maskSize) return false;
  return (row[row.size() - maskSize + number / 8] >> (number % 8) & 1) != 0;
}

std::optional<std::span<const uint8_t>> CRowView::Get(uint16_t number) const {
  const SCheckedColumn* column = m_table.FindColumn(number);
  return column == nullptr ? std::nullopt : Get(*column);
}

}  // namespace tolvane
