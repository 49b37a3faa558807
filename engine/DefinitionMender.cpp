#include "engine/DefinitionMender.h"

#include <algorithm>

#include "engine/DefinitionParts.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

// Columns whose fields are to hold each number below a limit once: where one holds a number that cannot be,
// the one that is missing was there.
void MendNumbers(std::span<uint8_t> definition, const std::vector<size_t>& fields, uint32_t limit) {
  if (fields.size() != limit) return;
  std::vector<bool> isTaken(limit);
  std::vector<size_t> wrong;
  for (const size_t field : fields) {
    const uint32_t number = GetLittle<uint16_t>(definition, field);
    if (number < limit && !isTaken[number])
      isTaken[number] = true;
    else
      wrong.push_back(field);
  }
  if (wrong.size() != 1 || GetLittle<uint16_t>(definition, wrong[0]) < limit) return;
  const auto missing = std::ranges::find(isTaken, false) - isTaken.begin();
  PutLittle(definition, wrong[0], static_cast<uint16_t>(missing));
}

// Of a table that has lost no column the numbers and the places among the values are all there, also where
// columns have other damage.
std::vector<uint8_t> MendColumns(Bytes definition, const SLayout& layout, const SColumnBlock& columns) {
  std::vector<uint8_t> bytes(definition.begin(), definition.end());
  const SColumnLayout& field = layout.column;
  std::vector<size_t> numbers, places;
  if (columns.EndIn(layout) > bytes.size()) return bytes;
  for (uint32_t i = 0; i < columns.columnCount; i++) {
    const size_t column = columns.start + size_t{field.size} * i;
    numbers.push_back(column + field.number);
    if ((bytes[column + field.flags] & kColumnFixed) == 0) places.push_back(column + field.variableIndex);
  }
  const SDefinitionLayout& at = layout.definition;
  MendNumbers(bytes, numbers, GetLittle<uint16_t>(bytes, at.columnsEver));
  MendNumbers(bytes, places, GetLittle<uint16_t>(bytes, at.variableEver));
  return bytes;
}

class CMender {
 public:
  CMender(Bytes definition, const SLayout& layout, const SColumnBlock& columns)
      : m_bytes(MendColumns(definition, layout, columns)),
        m_view(m_bytes),
        m_layout(layout),
        m_names(m_bytes, layout),
        m_columns(columns) {
    ChooseColumnCount();
    m_from = m_columns.EndIn(layout);
    FindParts();
  }

  SMendedDefinition Mend() {
    const auto start = m_bytes.begin();
    m_mended.bytes.assign(start, start + static_cast<ptrdiff_t>(std::min(m_from, m_bytes.size())));
    m_mended.bytes.resize(m_from);
    PutNames();
    if (m_tail) {
      m_mended.bytes.insert(m_mended.bytes.end(), start + static_cast<ptrdiff_t>(m_tail->start),
                            start + static_cast<ptrdiff_t>(m_tail->end));
    }
    if (!m_tail || !m_tail->hasNames) AppendLittle<uint16_t>(m_mended.bytes, kDefinitionEnd);
    PutHeader();
    return std::move(m_mended);
  }

 private:
  // What the header says is true where it leads to as many names. Where that was overwritten, and no column
  // was ever deleted, the number of columns ever made leads to them, and on to the indexes.
  void ChooseColumnCount() {
    const uint32_t said = m_view.GetUInt16(m_layout.definition.columnCount);
    if (EndOfNames(said)) {
      m_columns.columnCount = said;
      return;
    }
    SColumnBlock all = m_columns;
    all.columnCount = m_view.GetUInt16(m_layout.definition.columnsEver);
    const auto end = all.columnCount > m_columns.columnCount ? EndOfNames(all.columnCount) : std::nullopt;
    if (!end) return;
    const auto tail = FindTail(m_bytes, m_layout, *end, all);
    if (tail && tail->start == *end) m_columns = all;
  }

  std::optional<size_t> EndOfNames(uint32_t columns) const {
    const size_t names = m_columns.start + size_t{m_layout.column.size} * columns;
    return columns != 0 && names < m_bytes.size() ? m_names.EndOfNames(names, columns) : std::nullopt;
  }

  void FindParts() {
    const auto end = m_names.EndOfNames(m_from, m_columns.columnCount);
    if (m_from > m_bytes.size()) return;
    if (end) m_tail = FindTail(m_bytes, m_layout, *end, m_columns);
    if (end && (!m_tail || m_tail->start != *end)) m_tail.reset();
    if (!end) m_tail = FindTail(m_bytes, m_layout, m_from, m_columns);
    m_to = m_tail ? m_tail->start : end.value_or(m_bytes.size());
  }

  void PutNames() {
    std::vector<size_t> places(m_columns.columnCount, 0);
    if (m_from <= m_to) places = m_names.FindNames(m_from, m_to, m_columns.columnCount);
    for (const size_t place : places) {
      const auto end = place != 0 ? m_names.EndOfName(place) : std::nullopt;
      if (end) {
        m_mended.bytes.insert(m_mended.bytes.end(), m_bytes.begin() + static_cast<ptrdiff_t>(place),
                              m_bytes.begin() + static_cast<ptrdiff_t>(*end));
      } else {
        m_mended.bytes.resize(m_mended.bytes.size() + m_layout.text.nameLengthSize);
        m_mended.hasLostNames = true;
      }
    }
  }

  void PutHeader() {
    const SDefinitionLayout& at = m_layout.definition;
    m_mended.hasLostIndexes = !m_tail || !m_tail->hasNames;
    const uint32_t realCount = m_tail ? m_columns.realCount : 0;
    if (!m_tail) MoveColumns();
    const std::span<uint8_t> bytes(m_mended.bytes);
    PutLittle<uint32_t>(bytes, at.magic, kDefinitionMagic);
    PutLittle<uint32_t>(bytes, at.realCount, realCount);
    PutLittle<uint32_t>(bytes, at.logicalCount, m_tail ? m_tail->logicalCount : 0);
    PutCounts(bytes);
    PutLittle<uint32_t>(bytes, at.length, static_cast<uint32_t>(m_mended.bytes.size()));
  }

  // Without indexes there are no statistics in front of the columns.
  void MoveColumns() {
    const auto first = m_mended.bytes.begin() + m_layout.definition.headerSize;
    m_mended.bytes.erase(first, m_mended.bytes.begin() + static_cast<ptrdiff_t>(m_columns.start));
  }

  void PutCounts(std::span<uint8_t> bytes) {
    const SDefinitionLayout& at = m_layout.definition;
    const SColumnLayout& field = m_layout.column;
    uint32_t ever = m_columns.columnCount, variable = 0;
    for (uint32_t i = 0; i < m_columns.columnCount; i++) {
      const size_t column = m_columns.start + size_t{field.size} * i;
      if (!IsColumn(m_bytes, m_layout, column)) continue;
      ever = std::max(ever, m_view.GetUInt16(column + field.number) + 1u);
      if ((m_view.GetUInt8(column + field.flags) & kColumnFixed) == 0)
        variable = std::max(variable, m_view.GetUInt16(column + field.variableIndex) + 1u);
    }
    const uint32_t saidEver = m_view.GetUInt16(at.columnsEver);
    const uint32_t saidVariable = m_view.GetUInt16(at.variableEver);
    const bool isTrue = m_view.GetUInt16(at.columnCount) == m_columns.columnCount && saidEver >= ever &&
                        saidVariable >= variable && saidVariable <= saidEver;
    if (isTrue) return;
    m_mended.hasNewCounts = true;
    PutLittle(bytes, at.columnCount, static_cast<uint16_t>(m_columns.columnCount));
    PutLittle(bytes, at.columnsEver, static_cast<uint16_t>(ever));
    PutLittle(bytes, at.variableEver, static_cast<uint16_t>(variable));
  }

  const std::vector<uint8_t> m_bytes;
  CByteView m_view;
  const SLayout& m_layout;
  CNameWalk m_names;
  SColumnBlock m_columns;
  std::optional<SDefinitionTail> m_tail;
  size_t m_from = 0;  // of the names
  size_t m_to = 0;
  SMendedDefinition m_mended;
};

}  // namespace

std::optional<SMendedDefinition> MendDefinition(Bytes definition, const SLayout& layout) {
  const auto columns = FindColumns(definition, layout);
  if (!columns) return std::nullopt;
  return CMender(definition, layout, *columns).Mend();
}

}  // namespace tolvane
