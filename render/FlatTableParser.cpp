#include "render/FlatTableParser.h"

#include <optional>

namespace tolvane {

namespace {

constexpr char16_t kKeyNamePrefix = u'_';  // the key is named "_<column>"

bool IsKey(const CAccessColumn& column) {
  return (column.extendedFlags & kColumnFlatKey) != 0;
}
bool IsKeyByName(const CAccessColumn& column) {
  return column.GetName().starts_with(kKeyNamePrefix);
}
bool IsRowId(const CAccessColumn& column) {
  return (column.extendedFlags & kColumnFlatRowId) != 0 || (column.flags & kColumnAutoNumber) != 0;
}

template <class T>
std::optional<size_t> FindColumn(const CAccessColumnList& columns, T matches) {
  for (size_t i = 0; i < columns.GetCount(); ++i)
    if (matches(i, *columns.GetAt(i))) return i;
  return std::nullopt;
}

void AppendItem(std::u16string_view item, std::u16string& text) {
  if (!text.empty()) text += u", ";
  text += item;
}

}  // namespace

SFlatLayout MultiValueLayoutOf(const CAccessTable& flatTable) {
  const CAccessColumnList& columns = flatTable.columns;
  auto key = FindColumn(columns, [](size_t, const CAccessColumn& column) { return IsKey(column); });
  if (!key)
    key = FindColumn(columns, [](size_t, const CAccessColumn& column) { return IsKeyByName(column); });
  const auto item = FindColumn(columns, [key](size_t position, const CAccessColumn& column) {
    return position != key && !IsRowId(column);
  });
  if (!key || !item) return kMultiValueLayout;
  return {columns.GetCount(), *key, *item};
}

uint64_t CFlatTableParser::BuildTexts(CellTexts& texts, const CPreviewThreadStatus& preview) {
  uint64_t units = 0;
  while (!preview.IsAborted() && ReadGroup()) {
    std::u16string& text = texts[m_group[m_layout.key]];
    const size_t before = text.size();
    AppendItem(m_group[m_layout.item], text);
    units += text.size() - before;
  }
  return units;
}

void CFlatTableParser::JoinItems(std::u16string_view key, std::u16string& text) {
  text.clear();
  while (ReadGroup())
    if (m_group[m_layout.key] == key) AppendItem(m_group[m_layout.item], text);
}

bool CFlatTableParser::ReadGroup() {
  m_group.resize(m_layout.groupSize);
  for (std::u16string& value : m_group)
    if (!m_reader.ReadNext(value)) return false;
  return true;
}

}  // namespace tolvane
