#include "app/StoredRows.h"

#include "app/TextSearch.h"
#include "format/ColumnType.h"
#include "render/ExactText.h"

namespace tolvane {

namespace {

// Several screens of them.
constexpr size_t kRowsKept = 256;

}  // namespace

CStoredRows::CStoredRows(const CAccessTable& table, const CAccessData& data)
    : m_table(table),
      m_preview(table, nullptr, data.source.pageSize, data.GetRules(), m_own),
      m_texts(table.columns, data.GetRules()),
      m_holdsTexts(data.GetRules().recordsHoldTexts) {
  for (const CAccessColumn& column : table.columns) m_areAlone = m_areAlone && column.type != kTypeComplex;
}

bool CStoredRows::MoveTo(uint64_t place, size_t column, uint32_t& count) {
  return Open() && m_values.Find(place, column, count);
}

const std::vector<std::u16string>& CStoredRows::ReadRow(uint64_t place) {
  if (const auto kept = m_kept.find(place); kept != m_kept.end()) return kept->second;
  if (m_kept.size() >= kRowsKept) m_kept.clear();
  std::vector<std::u16string>& cells = m_kept[place];
  cells.resize(m_table.columns.GetCount());
  ++m_rowsRead;
  if (!Open()) return cells;
  CValueStream& stream = m_values.GetStream();
  stream.MoveTo(place);
  for (size_t column = 0; column < cells.size(); ++column) {
    uint32_t count = 0;
    if (!stream.ReadCount(count)) break;
    if (count == 0 && !m_preview.TellsNull()) continue;
    if (m_preview.Read(stream, count, column, cells[column])) continue;
    cells[column].clear();
    break;
  }
  return cells;
}

std::u16string CStoredRows::ReadWhole(uint64_t place, size_t column, size_t maxUnits) {
  uint32_t count = 0;
  std::u16string text;
  if (MoveTo(place, column, count)) m_texts.Read(m_values.GetStream(), count, column, text, maxUnits);
  return text;
}

SObjectPlace CStoredRows::ReadObjectPlace(uint64_t place, size_t column) {
  SObjectPlace object;
  uint32_t count = 0;
  if (!MoveTo(place, column, count) ||
      !m_texts.ReadPlace(m_values.GetStream(), count, m_table.GetObjectFilePath(), object))
    return {};
  return object;
}

bool CStoredRows::IsShortened(size_t column, std::u16string_view shown) const {
  return column < m_table.columns.GetCount() &&
         CPreviewText::IsShortened(*m_table.columns.GetAt(column), shown);
}

void CStoredRows::BeginFind(std::u16string_view folded, const CLocalText& local) {
  m_wanted = folded;
  m_local = &local;
  m_isNullWanted = m_preview.TellsNull() && ContainsFolded(kNullText, folded);
  m_looks.resize(m_table.columns.GetCount());
  for (size_t i = 0; i < m_looks.size(); ++i) m_looks[i] = HowToLook(i);
}

CStoredRows::ELook CStoredRows::HowToLook(size_t column) const {
  const uint8_t type = m_table.columns.GetAt(column)->type;
  if (type == kTypeMemo || type == kTypeText) return ELook::Text;
  return m_holdsTexts || m_local->CanHold(type, m_wanted) ? ELook::Shown : ELook::No;
}

bool CStoredRows::Holds(size_t column, uint32_t count) {
  CValueStream& stream = m_values.GetStream();
  if (count == 0) return m_isNullWanted;
  switch (m_looks[column]) {
    case ELook::No:
      stream.Skip(count);
      return false;
    case ELook::Text:
      return m_texts.Read(stream, count, column, m_text) && ContainsFolded(m_text, m_wanted);
    case ELook::Shown:
      break;
  }
  if (!m_preview.Read(stream, count, column, m_text)) return false;
  if (ContainsFolded(m_text, m_wanted)) return true;
  if (m_holdsTexts) return false;
  m_local->Localise(m_table.columns.GetAt(column)->type, m_text);
  return ContainsFolded(m_text, m_wanted);
}

std::optional<size_t> CStoredRows::FindInRow(uint64_t place, size_t first) {
  ++m_rowsRead;
  if (!Open()) return std::nullopt;
  CValueStream& stream = m_values.GetStream();
  stream.MoveTo(place);
  for (size_t column = 0; column < m_looks.size(); ++column) {
    uint32_t count = 0;
    if (!stream.ReadCount(count)) break;
    if (column < first)
      stream.Skip(count);
    else if (Holds(column, count))
      return column;
  }
  return std::nullopt;
}

}  // namespace tolvane
