#include "embedded/RowFields.h"

#include <algorithm>
#include <utility>

#include "format/LongValue.h"

namespace tolvane {

CDaoResult WithField(EDaoError code, const SColumnDefinition& column, std::u16string_view why) {
  std::u16string text = u"The value cannot be stored in field \"" + column.name + u"\": ";
  text.append(why).append(u".");
  return {code, std::move(text)};
}

// The same as CanCompressText, of units that need not be aligned.
bool CRowFields::CanCompress(std::span<const uint8_t> units) {
  if (units.size() < 2 * kShortestCompressed) return false;
  uint8_t high = 0;
  bool hasZero = false;
  for (size_t i = 0; i + 1 < units.size(); i += 2) {
    high |= units[i + 1];
    hasZero |= units[i] == 0;
  }
  return high == 0 && !hasZero;
}

CDaoResult CRowFields::SetText(const SColumnDefinition& column, std::span<const uint8_t> units,
                               CRowEncoder& row, STextLoss& loss) {
  const STextLayout& layout = m_layout.text;
  const ETextForm form = column.IsFixed()                                  ? ETextForm::Plain
                         : (column.extendedFlags & kColumnCompressed) != 0 ? ETextForm::CompressedIfPossible
                                                                           : ETextForm::PlainIfPossible;
  units = units.first(units.size() / 2 * 2);
  // What nearly all texts are needs no copy on its way into the row.
  if (form == ETextForm::CompressedIfPossible && !layout.IsCodePage() && units.size() <= column.length &&
      CanCompress(units)) {
    const size_t mark = std::size(kCompressedMark);
    const std::span<uint8_t> room = row.Reserve(column, mark + units.size() / 2);
    std::copy(std::begin(kCompressedMark), std::end(kCompressedMark), room.begin());
    for (size_t i = 0; i < units.size() / 2; i++) room[mark + i] = units[2 * i];
    return CDaoResult::Ok();
  }
  CopyUnits(units, m_text);
  m_storage.clear();
  loss = AppendStoredText(layout, m_text, form, m_storage);
  // A compressed text counts as long as it would be without.
  const size_t length = layout.IsCodePage() ? m_storage.size() : layout.unitSize * m_text.size();
  if (length > column.length)
    return WithField(EDaoError::FieldTooSmall, column, u"the text is longer than the field");
  // A text of fixed length is filled with blanks.
  for (size_t size = m_storage.size(); column.IsFixed() && size < column.length; size += layout.unitSize) {
    m_storage.push_back(u' ');
    if (!layout.IsCodePage()) m_storage.push_back(0);
  }
  row.Set(column, m_storage);
  return CDaoResult::Ok();
}

// What counts for staying in the row is the length before compression.
bool CRowFields::SetShortMemo(const SColumnDefinition& column, std::span<const uint8_t> units,
                              CRowEncoder& row, STextLoss& loss) {
  if (units.size() / 2 * 2 > m_layout.row.longestInline || m_layout.text.IsCodePage()) return false;
  CopyUnits(units, m_text);
  m_storage.clear();
  loss = AppendStoredText(m_layout.text, m_text, ETextForm::CompressedIfPossible, m_storage);
  const std::span<uint8_t> reference = row.Reserve(column, kReferenceSize + m_storage.size());
  EncodeLongValue({.kind = kLongValueInline, .length = static_cast<uint32_t>(m_storage.size())}, reference);
  std::ranges::copy(m_storage, reference.begin() + kReferenceSize);
  return true;
}

CDaoResult CRowFields::SetBytes(const SColumnDefinition& column, const SValue& value, CRowEncoder& row) {
  const bool isKey = column.type == kTypeComplex && value.type == kTypeLong;
  const bool isSized = column.type == kTypeBinary ? value.bytes.size() <= column.length
                                                  : value.bytes.size() == LengthOfType(column.type);
  if (!isSized || (value.type != column.type && !isKey))
    return WithField(EDaoError::DataConversion, column, u"it is no value of the field's type");
  if (column.type == kTypeDecimal && value.scale != column.scale)
    return WithField(EDaoError::DataConversion, column, u"it has another number of digits behind the point");
  if (column.type == kTypeBoolean)
    row.SetBoolean(column, value.bytes[0] != 0);
  else
    row.Set(column, value.bytes);
  return CDaoResult::Ok();
}

}  // namespace tolvane
