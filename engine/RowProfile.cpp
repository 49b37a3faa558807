#include "engine/RowProfile.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

namespace tolvane {

namespace {

// Numbers of columns that are looked for where slots are lost; sound tables have one or two.
constexpr size_t kColumnCountsKept = 4;
// The engine leaves at most 16 bytes unused behind the last value.
constexpr size_t kMostSlack = 16;
constexpr size_t kMeasuresKept = 256;
// Of the rows that are believed against their definition, each kind makes up at least one in so many.
constexpr size_t kLeastShare = 4;

size_t WidthInFixedArea(const CAccessColumn& column, const STextLayout& text) {
  if (column.type == kTypeBoolean) return 0;
  return column.length * (column.type == kTypeText ? size_t{text.unitSize} : 1);
}

}  // namespace

SRowShape ShapeOf(const CAccessTable& table, uint32_t maximumStoredColumns) {
  SRowShape shape{.columnsEver = table.header.highestColumnNumber,
                  .variableColumnsEver = table.header.variableColumnCount,
                  .maximumStoredColumns = maximumStoredColumns};
  for (const CAccessColumn& column : table.columns) {
    const bool isInMask = column.type == kTypeBoolean && !IsCalculated(column.extendedFlags);
    if (!column.IsFixed() && !isInMask)
      shape.firstVariableNumber = std::min<uint32_t>(shape.firstVariableNumber, column.number);
  }
  return shape;
}

CRowProfile::CRowProfile(const CAccessTable& table, const SLayout& layout, const SRowShape& shape)
    : m_layout(layout),
      m_shape(shape),
      m_columnsEver(shape.columnsEver),
      m_variablesEver(shape.variableColumnsEver) {
  const SRowLayout& row = layout.row;
  uint32_t count = 0;
  for (const CAccessColumn& column : table.columns) count = std::max<uint32_t>(count, column.number + 1u);
  count = std::max(count, m_columnsEver);
  m_fixedEnds.assign(size_t{count} + 1, row.countSize);
  m_leastVariables.assign(size_t{count} + 1, 0);
  for (const CAccessColumn& column : table.columns) {
    const size_t from = size_t{column.number} + 1;
    if (column.IsFixed())
      m_fixedEnds[from] = std::max(
          m_fixedEnds[from], row.countSize + column.fixedOffset + WidthInFixedArea(column, layout.text));
    else if (column.type != kTypeBoolean)
      m_leastVariables[from] = std::max<size_t>(m_leastVariables[from], column.variableIndex + size_t{1});
  }
  for (size_t n = 1; n <= count; n++) {
    m_fixedEnds[n] = std::max(m_fixedEnds[n], m_fixedEnds[n - 1]);
    m_leastVariables[n] = std::max(m_leastVariables[n], m_leastVariables[n - 1]);
  }
  m_isComplete = table.columns.GetCount() == m_columnsEver;
  m_isCoherent = m_isComplete && m_leastVariables.back() == m_variablesEver && !table.hasMendedCounts;
  m_shape.columnsEver = m_shape.maximumStoredColumns;
  m_shape.variableColumnsEver = m_shape.maximumStoredColumns;
  m_columnCounts = {m_columnsEver};
}

void CRowProfile::Learn(CRowFrame& frame, std::span<const uint8_t> row) {
  if (!frame.Cut(row, m_shape)) return;
  const auto measure = frame.Measure();
  if (!measure) return;
  if (AgreesWithDefinition(*measure)) m_agreeing++;
  Measure key = *measure;
  key.slack = 0;
  if (m_seen.size() < kMeasuresKept || m_seen.count(key) != 0) m_seen[key]++;
}

void CRowProfile::Conclude() {
  if (m_agreeing == 0) {
    size_t believable = 0;
    for (const auto& [measure, times] : m_seen) believable += IsBelievable(measure) ? times : 0;
    for (const auto& [measure, times] : m_seen)
      if (IsBelievable(measure) && times * kLeastShare >= believable) m_believed.insert(measure);
  }
  std::vector<std::pair<size_t, uint32_t>> counts;
  for (const auto& [measure, times] : m_seen)
    if (IsBelieved(measure) || AgreesWithDefinition(measure)) counts.emplace_back(times, measure.columns);
  std::ranges::sort(counts, std::greater<>());
  m_columnCounts.clear();
  if (m_believed.empty()) m_columnCounts.push_back(m_columnsEver);
  for (const auto& [times, columns] : counts)
    if (m_columnCounts.size() < kColumnCountsKept &&
        std::ranges::find(m_columnCounts, columns) == m_columnCounts.end())
      m_columnCounts.push_back(columns);
}

void CRowProfile::AllowAnyCount() {
  m_columnCounts.resize(std::min<size_t>(m_columnsEver, m_fixedEnds.size() - 1));
  std::iota(m_columnCounts.rbegin(), m_columnCounts.rend(), 1u);
}

bool CRowProfile::Accepts(CRowFrame& frame, std::span<const uint8_t> row) const {
  if (!frame.Cut(row, m_shape)) return false;
  const auto measure = frame.Measure();
  return measure && (IsBelieved(*measure) || AgreesWithDefinition(*measure));
}

bool CRowProfile::IsFilled(const CRowFrame& frame) {
  const auto offsets = frame.GetOffsets();
  return offsets.empty() || frame.GetOffsetsStart() <= static_cast<ptrdiff_t>(offsets.back() + kMostSlack);
}

bool CRowProfile::Recognises(CRowFrame& frame, std::span<const uint8_t> row) const {
  if (!frame.Cut(row, m_shape)) return false;
  const auto measure = frame.Measure();
  if (!measure) return false;
  if (std::ranges::find(m_columnCounts, measure->columns) == m_columnCounts.end()) return false;
  if (IsBelieved(*measure)) return measure->fixedEnd != 0 && measure->slack <= kMostSlack;
  if (!AgreesWithDefinition(*measure)) return false;
  const size_t fixedEnd = m_fixedEnds[measure->columns];
  if (measure->fixedEnd == 0)
    return measure->slack + m_layout.row.countSize <= fixedEnd + (m_isComplete ? 0 : kMostSlack);
  Measure key = *measure;
  key.slack = 0;
  return measure->slack <= kMostSlack && (measure->fixedEnd == fixedEnd || m_seen.count(key) != 0);
}

// A complete and coherent definition is never outvoted by rows of another kind: those may be another table's.
bool CRowProfile::IsBelievable(const Measure& measure) const {
  return !m_isCoherent || (measure.columns == m_columnsEver && measure.variables == m_variablesEver);
}

bool CRowProfile::IsBelieved(Measure measure) const {
  measure.slack = 0;
  return m_believed.count(measure) != 0;
}

bool CRowProfile::AgreesWithDefinition(const Measure& measure) const {
  const uint32_t n = measure.columns;
  if (n > m_columnsEver || n >= m_fixedEnds.size()) return false;
  // A row without offsets: its fixed area ends where the mask starts.
  if (measure.fixedEnd == 0) {
    const size_t end = measure.slack + m_layout.row.countSize;
    return m_shape.firstVariableNumber >= n && end >= m_fixedEnds[n] &&
           (!m_isComplete || end <= m_fixedEnds[n] + kMostSlack);
  }
  if (n == m_columnsEver ? measure.variables != m_variablesEver : measure.variables > m_variablesEver)
    return false;
  if (measure.variables < m_leastVariables[n]) return false;
  return m_isComplete ? measure.fixedEnd == m_fixedEnds[n] : measure.fixedEnd >= m_fixedEnds[n];
}

}  // namespace tolvane
