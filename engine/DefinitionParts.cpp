#include "engine/DefinitionParts.h"

#include <algorithm>

#include "format/Definition.h"
#include "format/PageHead.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t kMostNameUnits = 127;
constexpr uint8_t kFirstLetter = 0x20;
// Far more than tables have.
constexpr uint32_t kMostIndexes = 128;
constexpr uint32_t kMostColumns = 1024;
// Overwritten columns in front of the first recognised one or between two: as many as a sector holds, where
// columns bear a mark.
constexpr uint32_t kGapMarked = 20;
constexpr uint32_t kGap = 2;
constexpr uint32_t kLongestJet3Text = 255;
constexpr uint8_t kNoColumnFlag = 0x08;
constexpr size_t kMostTailTries = 64;

uint32_t RealCountOf(const CByteView& bytes, const SLayout& layout) {
  return bytes.GetUInt32(layout.definition.realCount);
}

size_t ColumnsAt(const SLayout& layout, uint32_t realCount) {
  return layout.definition.headerSize + size_t{layout.definition.statisticsSize} * realCount;
}

bool IsLengthOf(uint8_t type, uint16_t length, bool isFixed) {
  if (IsLongValueType(type)) return length == 0;
  if (type == kTypeText || type == kTypeBinary) return length != 0 && length <= kLongestJet3Text;
  return type >= kTypeBoolean && type <= kTypeDecimal && LengthOfType(type) != 0 &&
         (!isFixed || length == LengthOfType(type));
}

bool IsJet3Column(const CByteView& bytes, const SColumnLayout& at, size_t start) {
  const uint8_t flags = bytes.GetUInt8(start + at.flags);
  const bool hasNumbers = bytes.GetUInt16(start + at.number) < kMaxFields &&
                          bytes.GetUInt16(start + at.variableIndex) < kMaxFields &&
                          bytes.GetUInt16(start + at.displayNumber) <= kMaxFields;
  return hasNumbers && (flags & kNoColumnFlag) == 0 &&
         IsLengthOf(bytes.GetUInt8(start + at.type), bytes.GetUInt16(start + at.length),
                    (flags & kColumnFixed) != 0);
}

// A mark behind overwritten columns may also be that of an index.
bool IsCredible(const CByteView& bytes, const SColumnLayout& at, size_t start) {
  const uint8_t type = bytes.GetUInt8(start + at.type);
  return type >= kTypeBoolean && type <= kTypeExtendedDate &&
         bytes.GetUInt16(start + at.number) < kMaxFields &&
         bytes.GetUInt16(start + at.variableIndex) < kMaxFields;
}

// The run of columns that begins at `start`.
SColumnBlock RunAt(Bytes definition, const SLayout& layout, size_t start, uint32_t leadingGap) {
  const uint32_t gap = layout.column.magic != kAbsent ? kGapMarked : kGap;
  SColumnBlock block{.start = start};
  for (uint32_t i = 0; i < kMostColumns; i++) {
    if (i - block.columnCount > (block.recognised == 0 ? leadingGap : gap)) break;
    const size_t at = start + size_t{layout.column.size} * i;
    if (!IsColumn(definition, layout, at)) continue;
    if (i > block.columnCount && !IsCredible(CByteView(definition), layout.column, at)) continue;
    block.recognised++;
    block.columnCount = i + 1;
  }
  return block;
}

bool IsNameText(Bytes name, const SLayout& layout) {
  const size_t unit = layout.text.unitSize;
  if (name.empty() || name.size() % unit != 0 || name.size() > kMostNameUnits * unit) return false;
  for (size_t i = 0; i < name.size(); i += unit)
    if ((unit == 1 ? name[i] : GetLittle<uint16_t>(name, i)) < kFirstLetter) return false;
  return true;
}

class CTailWalk {
 public:
  CTailWalk(Bytes definition, const SLayout& layout, size_t mostMaps)
      : m_size(definition.size()),
        m_bytes(definition),
        m_layout(layout),
        m_names(definition, layout),
        m_mostMaps(mostMaps) {}

  [[nodiscard]] bool IsRealIndex(size_t at) const {
    const SRealIndexLayout& field = m_layout.realIndex;
    if (at + field.size > m_size) return false;
    if (field.magic != kAbsent) return m_bytes.GetUInt32(at + field.magic) == kRealIndexMagic;
    bool isUsed = true;
    for (size_t slot = 0; slot < kIndexSlots; slot++) {
      const uint16_t number = m_bytes.GetUInt16(at + field.slots + slot * kIndexSlotSize);
      if (number == kNoColumn ? slot == 0 : !isUsed || number >= kMaxFields) return false;
      isUsed = number != kNoColumn;
    }
    return true;
  }

  [[nodiscard]] std::optional<SDefinitionTail> At(size_t start, uint32_t realCount, bool hasNames) const {
    size_t at = start;
    for (uint32_t i = 0; i < realCount; i++, at += m_layout.realIndex.size)
      if (!IsRealIndex(at)) return std::nullopt;
    const uint32_t said = m_bytes.GetUInt32(m_layout.definition.logicalCount);
    const bool isSaid = realCount > 0 && said >= realCount && said <= realCount + kMostIndexes &&
                        AreLogical(at, said, realCount);
    const size_t logicalSize = m_layout.logicalIndex.size;
    if (!hasNames) {
      if (!isSaid) return std::nullopt;
      return SDefinitionTail{
          .start = start, .logicalCount = said, .end = at + logicalSize * said, .hasNames = false};
    }
    if (isSaid)
      if (const auto tail = WithNames(start, at + logicalSize * said, said)) return tail;
    const uint32_t most = realCount == 0 ? 0 : realCount + kMostIndexes;
    for (uint32_t count = realCount; count <= most && AreLogical(at, count, realCount); count++)
      if (const auto tail = WithNames(start, at + logicalSize * count, count)) return tail;
    return std::nullopt;
  }

 private:
  [[nodiscard]] bool AreLogical(size_t first, uint32_t count, uint32_t realCount) const {
    const SLogicalIndexLayout& field = m_layout.logicalIndex;
    for (size_t at = first; count > 0; count--, at += field.size) {
      if (at + field.size > m_size) return false;
      if (field.magic != kAbsent && m_bytes.GetUInt32(at + field.magic) != kDefinitionMagic) return false;
      if (m_bytes.GetUInt8(at + field.kind) > kIndexKindForeign) return false;
      if (m_bytes.GetUInt32(at + field.realIndex) >= realCount) return false;
    }
    return true;
  }

  [[nodiscard]] std::optional<SDefinitionTail> WithNames(size_t start, size_t at, uint32_t count) const {
    const auto maps = m_names.EndOfNames(at, count);
    if (!maps) return std::nullopt;
    size_t end = *maps;
    for (size_t i = 0; i < m_mostMaps && m_bytes.GetUInt16(end) < kMostColumns; i++) end += kLongValueMapSize;
    if (end + sizeof(kDefinitionEnd) > m_size || m_bytes.GetUInt16(end) != kDefinitionEnd)
      return std::nullopt;
    return SDefinitionTail{.start = start, .logicalCount = count, .end = end + sizeof(kDefinitionEnd)};
  }

  size_t m_size;
  CByteView m_bytes;
  const SLayout& m_layout;
  CNameWalk m_names;
  size_t m_mostMaps;
};

size_t CountLongColumns(Bytes definition, const SLayout& layout, const SColumnBlock& columns) {
  const CByteView bytes(definition);
  const SColumnLayout& field = layout.column;
  size_t count = 0;
  for (size_t at = columns.start; at < columns.EndIn(layout); at += field.size) {
    const uint8_t type = bytes.GetUInt8(at + field.type);
    const bool isLong = type == kTypeText && bytes.GetUInt16(at + field.length) == 0;
    count += IsLongValueType(type) || isLong ? 1 : 0;
  }
  return count;
}

}  // namespace

bool IsColumn(Bytes definition, const SLayout& layout, size_t at) {
  if (at + layout.column.size > definition.size()) return false;
  const CByteView bytes(definition);
  if (layout.column.magic != kAbsent) return bytes.GetUInt32(at + layout.column.magic) == kDefinitionMagic;
  return IsJet3Column(bytes, layout.column, at);
}

std::optional<SColumnBlock> FindColumns(Bytes definition, const SLayout& layout) {
  const uint32_t said = RealCountOf(CByteView(definition), layout);
  SColumnBlock best;
  const auto tryCount = [&](uint32_t realCount, uint32_t leadingGap) {
    SColumnBlock block = RunAt(definition, layout, ColumnsAt(layout, realCount), leadingGap);
    block.realCount = realCount;
    // A run that begins inside another one is shorter; one that begins in front of it has a gap there.
    if (block.recognised > best.recognised) best = block;
  };
  if (said <= kMostIndexes) tryCount(said, kGapMarked);
  for (uint32_t count = 0; count <= kMostIndexes; count++)
    if (count != said) tryCount(count, 0);
  if (best.recognised == 0) return std::nullopt;
  return best;
}

std::optional<SDefinitionTail> FindTail(Bytes definition, const SLayout& layout, size_t from,
                                        const SColumnBlock& columns) {
  const CTailWalk walk(definition, layout, CountLongColumns(definition, layout, columns));
  const CByteView bytes(definition);
  const uint32_t realCount = columns.realCount;
  for (const bool hasNames : {true, false}) {
    size_t triesLeft = kMostTailTries;
    for (size_t at = from; at + sizeof(kDefinitionEnd) <= definition.size() && triesLeft > 0; at++) {
      // Without indexes only maps follow, or the end mark alone.
      const bool isPossible =
          realCount > 0 ? walk.IsRealIndex(at)
                        : bytes.GetUInt16(at) == kDefinitionEnd || bytes.GetUInt16(at) < kMostColumns;
      if (!isPossible) continue;
      if (realCount > 0) triesLeft--;
      if (const auto tail = walk.At(at, realCount, hasNames)) return tail;
    }
  }
  return std::nullopt;
}

std::optional<size_t> CNameWalk::EndOfName(size_t at) const {
  const size_t text = at + m_layout.text.nameLengthSize;
  if (text > m_bytes.size()) return std::nullopt;
  const CByteView bytes(m_bytes);
  const size_t length = m_layout.text.nameLengthSize == 1 ? bytes.GetUInt8(at) : bytes.GetUInt16(at);
  if (length > m_bytes.size() - text || !IsNameText(m_bytes.subspan(text, length), m_layout))
    return std::nullopt;
  return text + length;
}

std::optional<size_t> CNameWalk::EndOfNames(size_t at, uint64_t count) const {
  std::optional<size_t> end = at;
  for (uint64_t i = 0; i < count && end; i++) end = EndOfName(*end);
  return end;
}

std::vector<size_t> CNameWalk::FindNames(size_t from, size_t to, uint32_t count) const {
  // By place: how many names lead from there to the end of them all.
  constexpr uint32_t kNone = ~uint32_t{0};
  std::vector<uint32_t> left(to - from + 1, kNone);
  left.back() = 0;
  for (size_t i = to - from; i-- > 0;) {
    const auto end = EndOfName(from + i);
    if (end && *end <= to && left[*end - from] != kNone) left[i] = left[*end - from] + 1;
  }
  std::vector<size_t> names(count, 0);
  size_t at = from;
  for (uint32_t i = 0; i < count; i++) {
    const auto end = at < to ? EndOfName(at) : std::nullopt;
    const bool leadsOn = left[at - from] == count - i;
    // Overwritten: the next names are those that lead to the end in the right number.
    const auto goesOn = [&](uint32_t more) { return more != kNone && more + i < count; };
    if (end && *end <= to && (leadsOn || left[at - from] == kNone)) {
      names[i] = at;
      at = *end;
      continue;
    }
    const auto begin = left.begin() + static_cast<ptrdiff_t>(std::min(at + 1, to) - from);
    auto next = std::find(begin, left.end(), count - i - 1);
    if (next == left.end()) next = std::find_if(begin, left.end(), goesOn);
    if (next == left.end()) break;
    i = count - *next - 1;
    at = from + static_cast<size_t>(next - left.begin());
  }
  return names;
}

bool IsWholeDefinition(Bytes definition, const SLayout& layout) {
  bool isSound = true;
  const auto judgeName = [&](Bytes name) {
    isSound = isSound && IsNameText(name, layout);
    return std::u16string();
  };
  const auto judge = [&](const SDefinitionFault& fault) {
    if (fault.kind == EDefinitionFault::Length) isSound = false;
  };
  STableDefinition read;
  if (definition.size() < layout.definition.headerSize ||
      !DecodeDefinition(layout, definition, judgeName, judge, read))
    return false;
  return isSound && !read.columns.empty() && read.realIndexes.size() <= read.logicalIndexes.size() &&
         std::ranges::all_of(read.columns, [&](const auto& column) {
           const bool isFixed = (column.flags & kColumnFixed) != 0;
           return column.number < read.columnsEver && (isFixed || column.variableIndex < read.variableEver);
         });
}

EFirstPage JudgeFirstPage(Bytes page, const SLayout& layout) {
  if (IsFirstOfDefinition(page, layout)) return EFirstPage::Sure;
  const bool hasHead = HasDefinitionHead(page, layout);
  const bool hasMark = layout.definition.magic != kAbsent && HasDefinitionMark(page, layout);
  const bool hasType = HasTableType(page, layout);
  // Most pages are of other kinds, and a sound head of one says so.
  const bool isOther = page[1] == kPageFormatted && page[0] != kPageDefinition && page[0] <= kPageEmptiedData;
  if (isOther && (!hasMark || page[0] == kPageDroppedDefinition)) return EFirstPage::No;
  const auto columns = FindColumns(page, layout);
  if (!columns) return EFirstPage::No;
  const uint32_t evidence = (hasHead ? 1u : 0u) + (hasType ? 1u : 0u) + (hasMark ? 2u : 0u) +
                            std::min<uint32_t>(columns->recognised, 3) - 1;
  return evidence >= 2 ? EFirstPage::Possible : EFirstPage::No;
}

bool ProvesFirstPage(Bytes page, const SLayout& layout) {
  if (JudgeFirstPage(page, layout) != EFirstPage::Sure) return false;
  if (layout.definition.magic != kAbsent) return true;
  const auto columns = FindColumns(page, layout);
  return columns && columns->realCount == RealCountOf(CByteView(page), layout);
}

}  // namespace tolvane
