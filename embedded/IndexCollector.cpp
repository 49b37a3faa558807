#include "embedded/IndexCollector.h"

#include <algorithm>

#include "embedded/StoredText.h"
#include "format/IndexKey.h"
#include "format/LongValue.h"
#include "platform/Hex.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr size_t kLongestShownText = 40;
constexpr size_t kSorterMemory = size_t{64} << 20;  // of all sorters of a table together
constexpr std::u16string_view kUnknownOrder =
    u"it holds characters whose place in the sort order is not known";

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
    case kTypeText:
    case kTypeMemo: {
      std::u16string text = DecodePlainText(layout, value);
      if (text.size() > kLongestShownText) text = text.substr(0, kLongestShownText) + u"...";
      return u'"' + text + u'"';
    }
    default: {
      std::u16string text = u"0x";
      AppendHex(value, kUpperHex, text);
      return text;
    }
  }
}

}  // namespace

CIndexedValues::CIndexedValues(CPageFile& file, const STableDefinition& definition)
    : m_file(file),
      m_shape(ShapeOf(definition.columnsEver, definition.variableEver)),
      m_frame(file.GetLayout().row),
      m_page(file.GetLayout()),
      m_bytes(file.GetLayout().pageSize) {}

bool CIndexedValues::Read(const SColumnDefinition& column, std::optional<std::span<const uint8_t>>& value) {
  if (!m_isRow || !FindColumnValue(m_frame, column, value)) return false;
  if (!value || (column.type != kTypeText && column.type != kTypeMemo)) return true;
  std::span<const uint8_t> stored = *value;
  if (column.type == kTypeMemo && !ReadHead(*value, stored)) return false;
  m_text.clear();
  AppendPlainText(m_file.GetLayout().text, stored, m_text);
  value = m_text;
  return true;
}

bool CIndexedValues::ReadHead(std::span<const uint8_t> reference, std::span<const uint8_t>& head) {
  const auto findRow = [this](uint32_t pointer) -> std::optional<std::span<const uint8_t>> {
    if (PageOfPointer(pointer) != m_pageNumber) {
      m_pageNumber = 0;
      if (!m_file.Read(PageOfPointer(pointer), m_bytes).IsOk() || !m_page.Load(m_bytes)) return std::nullopt;
      m_pageNumber = PageOfPointer(pointer);
    }
    if (m_page.GetOwner() != kOwnerLongValues) return std::nullopt;
    return m_page.GetRow(RowOfPointer(pointer));
  };
  const auto piece = FirstPieceOf(reference, findRow);
  if (piece) head = piece->first(std::min(piece->size(), kIndexedMemoBytes));
  return piece.has_value();
}

CIndexCollector::CIndexCollector(CPageFile& file, const STableDefinition& definition, const SRealIndex& index,
                                 size_t memory)
    : m_layout(file.GetLayout()), m_index(index), m_sorter(file.GetTempFolder(), memory) {
  for (const SIndexColumn& part : index.columns) {
    const SColumnDefinition* column = definition.FindColumn(part.number);
    m_columns.push_back(column);
    if (column == nullptr ||
        !AppendIndexKey(FormatOf(*column), column->type, part.ascending, {}, m_allNullKey))
      m_obstacle = u"it has a column that cannot be indexed";
  }
}

SIndexKeyFormat CIndexCollector::FormatOf(const SColumnDefinition& column) const {
  return {m_layout.keys, column.order.language, column.order.version};
}

EDaoError CIndexCollector::Add(CIndexedValues& values, uint32_t pointer) {
  if (!m_obstacle.empty() || !MakeKey(values)) return EDaoError::None;
  if (m_nullColumns > 0) m_nullRows++;
  const bool isAllNull = m_nullColumns == m_index.columns.size();
  if (isAllNull && (m_index.flags & kIndexIgnoreNulls) != 0) return EDaoError::None;
  return m_sorter.Add(m_key, PageOfPointer(pointer), static_cast<uint8_t>(RowOfPointer(pointer)));
}

bool CIndexCollector::IsOrderUnknown() const {
  return m_obstacle == kUnknownOrder;
}

bool CIndexCollector::MakeKey(CIndexedValues& values) {
  m_key.clear();
  m_nullColumns = 0;
  for (size_t i = 0; i < m_columns.size(); i++) {
    const SColumnDefinition& column = *m_columns[i];
    std::optional<std::span<const uint8_t>> value;
    if (!values.Read(column, value))
      m_obstacle = u"a value of it cannot be read";
    else if (!AppendIndexKey(FormatOf(column), column.type, m_index.columns[i].ascending, value, m_key))
      m_obstacle = kUnknownOrder;
    if (!value) m_nullColumns++;
  }
  if (m_key.size() > m_layout.index.LongestKey()) m_obstacle = u"a key of it is too long for a page";
  return m_obstacle.empty();
}

IndexCollectors MakeCollectors(CPageFile& file, const STableDefinition& definition, size_t first) {
  IndexCollectors collectors(definition.realIndexes.size());
  for (size_t index = first; index < collectors.size(); index++)
    collectors[index] = std::make_unique<CIndexCollector>(file, definition, definition.realIndexes[index],
                                                          kSorterMemory / (collectors.size() - first));
  return collectors;
}

std::u16string DescribeKey(CPageFile& file, const STableDefinition& definition, const SRealIndex& index,
                           std::span<const uint8_t> row) {
  CIndexedValues values(file, definition);
  values.SetRow(row);
  std::u16string text;
  for (const SIndexColumn& part : index.columns) {
    const SColumnDefinition* column = definition.FindColumn(part.number);
    std::optional<std::span<const uint8_t>> value;
    if (!text.empty()) text += u", ";
    const bool isThere = values.Read(*column, value) && value;
    text += isThere ? DescribeValue(file.GetLayout().text, column->type, *value) : u"null";
  }
  return text;
}

}  // namespace tolvane
