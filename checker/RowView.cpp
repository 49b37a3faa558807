#include "checker/RowView.h"

#include <algorithm>

#include "checker/Finding.h"

namespace tolvane {
CRowView::CRowView(const SLayout& layout, const SCheckedTable& table)
    : m_table(table),
      m_width(layout.row.countSize),
      m_shape(ShapeOf(table.columnsEver, table.variableEver)),
      m_hasAllColumns(table.columns.size() == table.columnsEver),
      m_fixedEnds(size_t{table.columnsEver} + 1),
      m_frame(layout.row) {
  for (const SCheckedColumn& column : table.columns)
    if (column.GetFixedSize() != 0)
      m_fixedEnds[size_t{column.number} + 1] =
          static_cast<uint16_t>(std::min<size_t>(size_t{column.fixedOffset} + column.GetFixedSize(), 0xFFFF));
  for (size_t i = 1; i < m_fixedEnds.size(); i++)
    m_fixedEnds[i] = std::max(m_fixedEnds[i], m_fixedEnds[i - 1]);
}

bool CRowView::Frame(std::span<const uint8_t> row, std::u16string& problem) {
  if (row.size() <= m_width) return problem = u"the row is too short", false;
  const bool isFramed = m_frame.Cut(row, m_shape);
  const size_t columns = m_frame.GetColumnCount();
  if (!isFramed) {
    problem = Say(u"the row has ", columns, u" columns, the table has had ", m_table.columnsEver);
    return false;
  }
  const size_t fixedEnd = m_width + m_fixedEnds[columns];
  if (!m_frame.HasMask() || m_frame.GetBodyEnd() < fixedEnd)
    return problem = u"the row is shorter than its fixed columns", false;
  return m_table.variableEver == 0 || CheckOffsets(fixedEnd, problem);
}

bool CRowView::CheckOffsets(size_t fixedEnd, std::u16string& problem) const {
  if (m_frame.GetBodyEnd() < fixedEnd + m_width)
    return problem = u"the row has no room for its variable columns", false;
  const size_t columns = m_frame.GetColumnCount(), variables = m_frame.GetVariableCount();
  const bool isOfToday = columns == m_table.columnsEver;
  if (variables > std::min<size_t>(columns, m_table.variableEver) ||
      (isOfToday && variables != m_table.variableEver)) {
    problem = Say(u"the row has ", variables, u" variable columns, the table has had ", m_table.variableEver);
    return false;
  }
  if (m_frame.GetOffsetsStart() < static_cast<ptrdiff_t>(fixedEnd))
    return problem = u"the row has no room for its offsets", false;
  const std::span<const size_t> offsets = m_frame.GetOffsets();
  if (offsets.front() < fixedEnd || (m_hasAllColumns && isOfToday && offsets.front() != fixedEnd)) {
    problem = Say(u"the variable part starts at ", offsets.front(), u", the fixed part ends at ", fixedEnd);
    return false;
  }
  if (!std::ranges::is_sorted(offsets) || static_cast<ptrdiff_t>(offsets.back()) > m_frame.GetOffsetsStart())
    return problem = u"the offsets of the variable columns do not ascend inside the row", false;
  return true;
}

std::optional<std::span<const uint8_t>> CRowView::Get(const SCheckedColumn& column) const {
  CRowFrame::Field value;
  FindColumnValue(m_frame, column, value);
  return value;
}

bool CRowView::HasValue(const SLayout& layout, std::span<const uint8_t> row, uint16_t number) {
  CRowFrame frame(layout.row);
  return frame.Cut(row, ShapeOf(0xFFFF, 0)) && frame.IsPresent(number);
}

std::optional<std::span<const uint8_t>> CRowView::Get(uint16_t number) const {
  const SCheckedColumn* column = m_table.FindColumn(number);
  return column == nullptr ? std::nullopt : Get(*column);
}

}  // namespace tolvane
