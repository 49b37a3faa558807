#include "writer/embedded/IndexCollector.h"

#include "platform/Text.h"
#include "writer/embedded/IndexKey.h"
#include "writer/embedded/RowEncoder.h"
#include "writer/embedded/StoredText.h"

namespace tolvane {
namespace {

constexpr size_t kLongestShownText = 40;

std::u16string DescribeValue(const STextLayout& layout, uint8_t type, std::span<const uint8_t> value) {
  switch (type) {
    case kTypeBoolean:
      return value[0] != 0 ? u"True" : u"False";
    case kTypeByte:
      return ToDecimal(value[0]);
    case kTypeInteger:
      return ToDecimal(GetLittle<int16_t>(value, 0));
    case kTypeLong:
      return ToDecimal(GetLittle<int32_t>(value, 0));
    case kTypeText: {
      std::vector<uint8_t> plain;
      AppendPlainText(layout, value, plain);
      std::u16string text = DecodePlainText(layout, plain);
      if (text.size() > kLongestShownText) text = text.substr(0, kLongestShownText) + u"...";
      return u'"' + text + u'"';
    }
    default: {
      std::u16string text = u"0x";
      for (const uint8_t byte : value) {
        text += u"0123456789ABCDEF"[byte >> 4];
        text += u"0123456789ABCDEF"[byte & 15];
      }
      return text;
    }
  }
}

}  // namespace

CIndexCollector::CIndexCollector(const SEmbeddedLayout& layout, const STableDefinition& definition,
                                 const SRealIndex& index, std::u16string_view tempFolder, size_t memory)
    : m_layout(layout), m_definition(definition), m_index(index), m_sorter(tempFolder, memory) {
  for (const SIndexColumn& part : index.columns) {
    const SColumnDefinition* column = definition.FindColumn(part.number);
    if (column == nullptr || !AppendIndexKey({layout.keys}, column->type, part.ascending, {}, m_allNullKey))
      m_hasUnknownKey = true;
  }
}

EDaoError CIndexCollector::Add(std::span<const uint8_t> row, uint32_t pointer) {
  if (m_hasUnknownKey) return EDaoError::None;
  if (!MakeKey(row)) {
    m_hasUnknownKey = true;
    return EDaoError::None;
  }
  if (m_nullColumns > 0) m_nullRows++;
  const bool isAllNull = m_nullColumns == m_index.columns.size();
  if (isAllNull && (m_index.flags & kIndexIgnoreNulls) != 0) return EDaoError::None;
  return m_sorter.Add(m_key, PageOfPointer(pointer), static_cast<uint8_t>(RowOfPointer(pointer)));
}

bool CIndexCollector::MakeKey(std::span<const uint8_t> row) {
  m_key.clear();
  m_nullColumns = 0;
  for (const SIndexColumn& part : m_index.columns) {
    const SColumnDefinition* column = m_definition.FindColumn(part.number);
    std::optional<std::span<const uint8_t>> value;
    if (!ReadRowColumn(m_layout, m_definition, row, *column, value)) return false;
    if (!value) m_nullColumns++;
    if (value && column->type == kTypeText) {
      m_text.clear();
      AppendPlainText(m_layout.text, *value, m_text);
      value = m_text;
    }
    if (!AppendIndexKey({m_layout.keys}, column->type, part.ascending, value, m_key)) return false;
  }
  return true;
}

std::u16string DescribeKey(const SEmbeddedLayout& layout, const STableDefinition& definition,
                           const SRealIndex& index, std::span<const uint8_t> row) {
  std::u16string text;
  for (const SIndexColumn& part : index.columns) {
    const SColumnDefinition* column = definition.FindColumn(part.number);
    std::optional<std::span<const uint8_t>> value;
    if (!text.empty()) text += u", ";
    const bool isThere = ReadRowColumn(layout, definition, row, *column, value) && value;
    text += isThere ? DescribeValue(layout.text, column->type, *value) : u"null";
  }
  return text;
}

}  // namespace tolvane
