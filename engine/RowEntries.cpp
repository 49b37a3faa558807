#include "engine/RowEntries.h"

#include "format/CompressedText.h"
#include "format/Layout.h"

namespace tolvane {

namespace {

// Longer ones may not be in their keys as a whole.
constexpr size_t kLongestBinary = 128;
// Keys of texts cost several times those of numbers; where a table is large its numbers must do.
constexpr size_t kMostPagesOfTexts = 4096;

bool IsNumber(uint8_t type) {
  switch (type) {
    case kTypeByte:
    case kTypeInteger:
    case kTypeLong:
    case kTypeCurrency:
    case kTypeDate:
    case kTypeGuid:
      return true;
    default:
      return false;
  }
}

size_t FixedWidthOf(const CAccessColumn& column) {
  if (column.type == kTypeBinary) return column.length;
  return column.type == kTypeText ? size_t{2} * column.length : LengthOfType(column.type);
}

CRowFrame::Field FindValue(const CAccessColumn& column, const CRowFrame& frame) {
  if (!frame.IsPresent(column.number)) return std::nullopt;
  return column.IsFixed() ? frame.FindFixed(column.fixedOffset, FixedWidthOf(column))
                          : frame.FindVariable(column.variableIndex);
}

// Letters, digits and blanks of ASCII sort alike wherever the sort order is the general one.
bool IsPlain(std::span<const uint8_t> utf16) {
  for (size_t at = 0; at + 1 < utf16.size(); at += 2) {
    const uint8_t low = utf16[at];
    const bool isPlain =
        (low >= '0' && low <= '9') || (low >= 'A' && low <= 'Z') || (low >= 'a' && low <= 'z') || low == ' ';
    if (utf16[at + 1] != 0 || !isPlain) return false;
  }
  return true;
}

}  // namespace

CRowEntries::CRowEntries(const CAccessTable& table, const SLayout& layout) : m_layout(layout) {
  if (table.header.tableType != kUserTable) return;
  const bool takesTexts = table.dataPages.GetCount() <= kMostPagesOfTexts;
  size_t position = 0;
  for (const CAccessTableIndex& index : table.indexes) {
    SIndex made{.position = position++, .isCertain = true, .ignoresNulls = index.ignoreNulls != 0};
    bool isUsable = index.rootPage != 0 && index.columnCount != 0;
    for (size_t i = 0; isUsable && i < index.columnCount; i++) {
      const CAccessColumn* const column = table.columns.FindByNumber(index.columns[i].columnNumber);
      isUsable = column != nullptr && HasKeys(*column) && (takesTexts || IsNumber(column->type));
      if (!isUsable) break;
      made.isCertain = made.isCertain && IsNumber(column->type);
      made.columns.push_back(column);
      made.isAscending.push_back(index.columns[i].isAscending ? 1 : 0);
    }
    if (isUsable) m_indexes.push_back(std::move(made));
  }
}

bool CRowEntries::HasKeys(const CAccessColumn& column) const {
  constexpr uint32_t kLanguage = 0xFFFF, kVersionShift = 24;
  if (IsCalculated(column.extendedFlags)) return false;
  if (column.type == kTypeBinary) return true;
  if (column.type != kTypeText) return IsNumber(column.type) && column.IsFixed();
  return !m_layout.isJet3 && (column.misc & kLanguage) == kGeneralSortOrder &&
         column.misc >> kVersionShift <= 1;
}

uint64_t CRowEntries::SumOf(const CRowFrame& frame, SRowPointer row) {
  uint64_t sum = 0;
  for (const SIndex& index : m_indexes) {
    const CRowFrame::Field value = index.IsLong() ? FindValue(*index.columns[0], frame) : std::nullopt;
    if (value)
      sum += HashOfEntry(index.position, MakeLongKey(value->first<4>(), index.isAscending[0] != 0), row);
    else if (MakeKey(index, frame) != EKey::Absent)
      sum += HashOfEntry(index.position, m_key, row);
  }
  return sum;
}

std::optional<uint64_t> CRowEntries::HashOf(const SIndex& index, const CRowFrame& frame) {
  if (MakeKey(index, frame) != EKey::Made) return std::nullopt;
  return HashOfEntry(index.position, m_key, {});
}

uint64_t CRowEntries::HashOfValues(const SIndex& index, const CRowFrame& frame) {
  uint64_t sum = 0;
  for (size_t i = 0; i < index.columns.size(); i++) {
    CRowFrame::Field value = FindValue(*index.columns[i], frame);
    if (!value) continue;
    if (index.columns[i]->type == kTypeText) {
      m_text.clear();
      AppendPlainUtf16(*value, m_text);
      value = m_text;
    }
    sum += HashOfEntry(i, *value, {});
  }
  return sum;
}

CRowEntries::EKey CRowEntries::MakeKey(const SIndex& index, const CRowFrame& frame) {
  m_key.clear();
  bool isNull = true, isPlain = true;
  for (size_t i = 0; i < index.columns.size(); i++) {
    const CAccessColumn& column = *index.columns[i];
    CRowFrame::Field value = FindValue(column, frame);
    isNull = isNull && !value;
    isPlain = isPlain && (value || !index.ignoresNulls);
    if (value && column.type == kTypeBinary) isPlain = isPlain && value->size() <= kLongestBinary;
    if (value && column.type == kTypeText) {
      m_text.clear();
      AppendPlainUtf16(*value, m_text);
      value = m_text;
      isPlain = isPlain && IsPlain(m_text);
    }
    const SIndexKeyFormat format{m_layout.keys, kGeneralSortOrder, static_cast<uint8_t>(column.misc >> 24),
                                 kGeneralCodePage};
    isPlain = AppendIndexKey(format, column.type, index.isAscending[i] != 0, value, m_key) && isPlain;
  }
  if (isNull && index.ignoresNulls) return EKey::Absent;
  return isPlain ? EKey::Made : EKey::Doubtful;
}

}  // namespace tolvane
