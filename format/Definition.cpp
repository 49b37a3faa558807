#include "format/Definition.h"

#include <algorithm>

#include "format/TextKey.h"

namespace tolvane {
namespace {

// clang-format off
// Four bytes behind the display number:
//   texts and most others   u16 language | 0 | u8 version of the sort order      (Jet 3: u16 code page)
//   decimals                u8 precision | u8 scale | 0 | 0
//   extended dates          09 | u8 digits of a second | 0 | 0
//   complex columns         u32 number
// clang-format on
constexpr size_t kScaleBehind = 1;
constexpr uint16_t kExtendedDateOrder = 0x0709;

void EncodeOrder(const SColumnLayout& at, const SColumnDefinition& column, std::span<uint8_t> block) {
  if (column.type == kTypeComplex) {
    PutLittle(block, at.sortOrder, column.complexId);
  } else if (column.type == kTypeDecimal) {
    block[at.sortOrder] = column.precision;
    block[at.sortOrder + kScaleBehind] = column.scale;
  } else if (column.type == kTypeExtendedDate) {
    PutLittle(block, at.sortOrder, kExtendedDateOrder);
  } else {
    PutLittle(block, at.sortOrder, column.order.language);
    PutLittle(block, at.sortVersion, column.order.version);
  }
}

void DecodeOrder(const SColumnLayout& at, std::span<const uint8_t> block, SColumnDefinition& column) {
  column.complexId = GetLittle<uint32_t>(block, at.sortOrder);
  column.precision = block[at.sortOrder];
  column.scale = block[at.sortOrder + kScaleBehind];
  column.order.language = GetLittle<uint16_t>(block, at.sortOrder);
  column.order.version = GetLittle<uint8_t>(block, at.sortVersion);
  column.codePage = GetLittle<uint16_t>(block, at.codePage);
}

void EncodeColumn(const SColumnLayout& at, const SColumnDefinition& column, std::span<uint8_t> block) {
  block[at.type] = column.type;
  PutLittle(block, at.magic, kDefinitionMagic);
  PutLittle(block, at.number, column.number);
  PutLittle(block, at.variableIndex, column.variableIndex);
  PutLittle(block, at.displayNumber, column.displayNumber);
  EncodeOrder(at, column, block);
  PutLittle(block, at.codePage, column.codePage);
  PutLittle(block, at.flags, column.flags);
  PutLittle(block, at.extendedFlags, column.extendedFlags);
  PutLittle(block, at.fixedOffset, column.fixedOffset);
  PutLittle(block, at.length, column.length);
}

void EncodeRealIndex(const SRealIndexLayout& at, const SRealIndex& index, std::span<uint8_t> block) {
  PutLittle(block, at.magic, kRealIndexMagic);
  for (size_t i = 0; i < kIndexSlots; i++) {
    const size_t slot = at.slots + kIndexSlotSize * i;
    const bool isUsed = i < index.columns.size();
    PutLittle(block, slot, isUsed ? index.columns[i].number : kNoColumn);
    block[slot + 2] = isUsed && index.columns[i].ascending ? kIndexAscending : uint8_t{0};
  }
  PutLittle(block, at.map, index.map);
  PutLittle(block, at.root, index.root);
  block[at.flags] = static_cast<uint8_t>(index.flags | at.alwaysSet);
  PutLittle(block, at.complexMark, index.isOfComplexColumn ? kIndexOfComplexColumn : uint8_t{0});
}

void EncodeLogicalIndex(const SLogicalIndexLayout& at, const SLogicalIndex& index, std::span<uint8_t> block) {
  PutLittle(block, at.magic, kDefinitionMagic);
  PutLittle(block, at.number, index.number);
  PutLittle(block, at.realIndex, index.realIndex);
  block[at.side] = index.side;
  PutLittle(block, at.partnerIndex, index.partnerIndex);
  PutLittle(block, at.partnerTable, index.partnerTable);
  block[at.cascadeUpdates] = index.cascadeUpdates;
  block[at.cascadeDeletes] = index.cascadeDeletes;
  block[at.kind] = index.kind;
}

// A zeroed block at the end of `out`.
std::span<uint8_t> AppendBlock(std::vector<uint8_t>& out, size_t size) {
  out.resize(out.size() + size);
  return std::span(out).subspan(out.size() - size);
}

void AppendName(const STextLayout& layout, std::vector<uint8_t>& block, std::span<const uint8_t> name) {
  if (layout.nameLengthSize == 1)
    AppendLittle(block, static_cast<uint8_t>(name.size()));
  else
    AppendLittle(block, static_cast<uint16_t>(name.size()));
  block.insert(block.end(), name.begin(), name.end());
}

void EncodeHeader(const SDefinitionLayout& at, const STableDefinition& definition,
                  std::span<uint8_t> header) {
  std::copy_n(at.signature.begin(), at.signatureSize, header.begin());
  PutLittle(header, at.magic, kDefinitionMagic);
  PutLittle(header, at.rowCount, definition.rowCount);
  PutLittle(header, at.autoNumber, definition.autoNumber);
  PutLittle<uint32_t>(header, at.autoNumberStep, 1);
  PutLittle(header, at.complexNumber, definition.complexNumber);
  PutLittle(header, at.tableType, definition.tableType);
  PutLittle(header, at.columnsEver, definition.columnsEver);
  PutLittle(header, at.variableEver, definition.variableEver);
  PutLittle(header, at.columnCount, static_cast<uint16_t>(definition.columns.size()));
  PutLittle(header, at.logicalCount, static_cast<uint32_t>(definition.logicalIndexes.size()));
  PutLittle(header, at.realCount, static_cast<uint32_t>(definition.realIndexes.size()));
  PutLittle(header, at.ownedMap, definition.ownedMap);
  PutLittle(header, at.freeMap, definition.freeMap);
}

// In the order of their maps: by display number, then by name, whatever order the columns are stored in.
std::vector<const SColumnDefinition*> LongValueColumns(const SLayout& layout,
                                                       const STableDefinition& definition,
                                                       const NameEncoder& encodeName) {
  std::vector<const SColumnDefinition*> columns;
  for (const SColumnDefinition& column : definition.columns)
    if (column.HoldsLongValues()) columns.push_back(&column);
  const auto key = [&](const SColumnDefinition* column) {
    return MakeNameKey(layout.text.IsCodePage(), encodeName(column->name));
  };
  std::ranges::sort(columns, [&](const auto* a, const auto* b) {
    return a->displayNumber != b->displayNumber ? a->displayNumber < b->displayNumber : key(a) < key(b);
  });
  return columns;
}

// One walk over a block. After a failed take the pieces are empty and nothing more is decoded.
class CDefinitionWalk {
 public:
  CDefinitionWalk(const SLayout& layout, std::span<const uint8_t> block, const NameDecoder& decodeName,
                  const std::function<void(const SDefinitionFault&)>& report, STableDefinition& definition)
      : m_layout(layout),
        m_taker(block),
        m_decodeName(decodeName),
        m_report(report),
        m_definition(definition) {}

  bool Run() {
    const SDefinitionLayout& at = m_layout.definition;
    const std::span<const uint8_t> header = m_taker.Take(at.headerSize);
    if (!m_taker.IsOk()) return Cut();
    SDefinitionCounts counts;
    DecodeHeader(at, header, m_definition, counts);
    ExpectMagic(at.magic, counts.magic, kDefinitionMagic, u"the definition");
    ExpectMagic(at.autoNumberStep, counts.autoNumberStep, 1, u"the autonumber step");
    const std::span<const uint8_t> statistics = m_taker.Take(size_t{counts.real} * at.statisticsSize);
    TakeColumns(counts.columns);
    TakeRealIndexes(counts.real, statistics);
    TakeLogicalIndexes(counts.logical);
    TakeLongValueMaps();
    if (!m_taker.IsOk()) return Cut();
    if (counts.length != m_taker.GetPosition())
      m_report({EDefinitionFault::Length, m_taker.GetPosition(), counts.length});
    return true;
  }

 private:
  bool Cut() {
    m_report({EDefinitionFault::Cut});
    return false;
  }
  void ExpectMagic(uint16_t at, uint32_t found, uint32_t expected, std::u16string_view part) {
    if (at != kAbsent && found != expected) m_report({EDefinitionFault::Magic, found, expected, part});
  }
  std::u16string TakeName() {
    const size_t length =
        m_layout.text.nameLengthSize == 1 ? m_taker.TakeNumber<uint8_t>() : m_taker.TakeNumber<uint16_t>();
    return m_decodeName(m_taker.Take(length));
  }
  // The next block of a part, empty when the definition is cut there.
  template <class Layout>
  std::span<const uint8_t> TakeBlock(const Layout& at, uint32_t magic, std::u16string_view part) {
    const std::span<const uint8_t> block = m_taker.Take(at.size);
    if (m_taker.IsOk()) ExpectMagic(at.magic, GetLittle<uint32_t>(block, at.magic), magic, part);
    return block;
  }
  void TakeColumns(size_t count) {
    for (size_t i = 0; i < count && m_taker.IsOk(); i++) {
      const std::span<const uint8_t> block = TakeBlock(m_layout.column, kDefinitionMagic, u"a column");
      if (m_taker.IsOk()) m_definition.columns.push_back(DecodeColumn(m_layout.column, block));
    }
    for (SColumnDefinition& column : m_definition.columns) column.name = TakeName();
  }
  void TakeRealIndexes(size_t count, std::span<const uint8_t> statistics) {
    const SDefinitionLayout& at = m_layout.definition;
    for (size_t i = 0; i < count && m_taker.IsOk(); i++) {
      const std::span<const uint8_t> block = TakeBlock(m_layout.realIndex, kRealIndexMagic, u"a real index");
      if (!m_taker.IsOk()) return;
      m_definition.realIndexes.push_back(DecodeRealIndex(m_layout.realIndex, block));
      m_definition.realIndexes.back().distinctKeys =
          GetLittle<uint32_t>(statistics, i * at.statisticsSize + at.statisticsDistinct);
    }
  }
  void TakeLogicalIndexes(size_t count) {
    for (size_t i = 0; i < count && m_taker.IsOk(); i++) {
      const std::span<const uint8_t> block =
          TakeBlock(m_layout.logicalIndex, kDefinitionMagic, u"a logical index");
      if (m_taker.IsOk())
        m_definition.logicalIndexes.push_back(DecodeLogicalIndex(m_layout.logicalIndex, block));
    }
    for (SLogicalIndex& index : m_definition.logicalIndexes) index.name = TakeName();
  }
  void TakeLongValueMaps() {
    while (m_taker.IsOk()) {
      const auto number = m_taker.TakeNumber<uint16_t>();
      if (number == kDefinitionEnd || !m_taker.IsOk()) return;
      const auto owned = m_taker.TakeNumber<uint32_t>();
      const auto free = m_taker.TakeNumber<uint32_t>();
      const auto column = std::ranges::find(m_definition.columns, number, &SColumnDefinition::number);
      if (column == m_definition.columns.end()) {
        m_report({EDefinitionFault::MapsOfNoColumn, number});
        continue;
      }
      if (column->hasMaps) m_report({EDefinitionFault::MapsTwice, number, 0, column->name});
      column->hasMaps = true;
      column->ownedMap = owned;
      column->freeMap = free;
    }
  }

  const SLayout& m_layout;
  CByteTaker m_taker;
  const NameDecoder& m_decodeName;
  const std::function<void(const SDefinitionFault&)>& m_report;
  STableDefinition& m_definition;
};

}  // namespace

void STableDefinition::AddIndex(std::u16string name, SRealIndex real, uint8_t kind) {
  SLogicalIndex& logical = logicalIndexes.emplace_back();
  logical.name = std::move(name);
  logical.number = logical.realIndex = static_cast<uint32_t>(realIndexes.size());
  logical.kind = kind;
  realIndexes.push_back(std::move(real));
}

void STableDefinition::LayOutColumns() {
  uint16_t fixedOffset = 0;
  variableEver = 0;
  columnsEver = static_cast<uint16_t>(columns.size());
  for (size_t i = 0; i < columns.size(); i++) {
    SColumnDefinition& column = columns[i];
    column.number = static_cast<uint16_t>(i);
    column.variableIndex = variableEver;
    if (!column.IsFixed()) {
      variableEver++;
    } else if (column.type != kTypeBoolean) {
      column.fixedOffset = fixedOffset;
      fixedOffset = static_cast<uint16_t>(fixedOffset + column.length);
    }
  }
}

size_t STableDefinition::GetFixedPartSize() const {
  size_t size = 0;
  for (const SColumnDefinition& column : columns)
    if (column.GetFixedSize() != 0) size = std::max<size_t>(size, column.fixedOffset + column.GetFixedSize());
  return size;
}

const SColumnDefinition* STableDefinition::FindColumn(uint16_t number) const {
  for (const SColumnDefinition& column : columns)
    if (column.number == number) return &column;
  return nullptr;
}

void DecodeHeader(const SDefinitionLayout& at, std::span<const uint8_t> header, STableDefinition& definition,
                  SDefinitionCounts& counts) {
  counts.length = GetLittle<uint32_t>(header, at.length);
  counts.magic = GetLittle<uint32_t>(header, at.magic);
  counts.autoNumberStep = GetLittle<uint32_t>(header, at.autoNumberStep);
  counts.columns = GetLittle<uint16_t>(header, at.columnCount);
  counts.logical = GetLittle<uint32_t>(header, at.logicalCount);
  counts.real = GetLittle<uint32_t>(header, at.realCount);
  definition.tableType = header[at.tableType];
  definition.rowCount = GetLittle<uint32_t>(header, at.rowCount);
  definition.autoNumber = GetLittle<uint32_t>(header, at.autoNumber);
  definition.complexNumber = GetLittle<uint32_t>(header, at.complexNumber);
  definition.columnsEver = GetLittle<uint16_t>(header, at.columnsEver);
  definition.variableEver = GetLittle<uint16_t>(header, at.variableEver);
  definition.ownedMap = GetLittle<uint32_t>(header, at.ownedMap);
  definition.freeMap = GetLittle<uint32_t>(header, at.freeMap);
}

SColumnDefinition DecodeColumn(const SColumnLayout& at, std::span<const uint8_t> block) {
  SColumnDefinition column;
  column.type = block[at.type];
  column.number = GetLittle<uint16_t>(block, at.number);
  column.variableIndex = GetLittle<uint16_t>(block, at.variableIndex);
  column.displayNumber = GetLittle<uint16_t>(block, at.displayNumber);
  column.flags = GetLittle<uint8_t>(block, at.flags);
  column.extendedFlags = GetLittle<uint8_t>(block, at.extendedFlags);  // 0 where there are none
  column.fixedOffset = GetLittle<uint16_t>(block, at.fixedOffset);
  column.length = GetLittle<uint16_t>(block, at.length);
  DecodeOrder(at, block, column);
  return column;
}

SRealIndex DecodeRealIndex(const SRealIndexLayout& at, std::span<const uint8_t> block) {
  SRealIndex index;
  for (size_t i = 0; i < kIndexSlots; i++) {
    const size_t slot = at.slots + kIndexSlotSize * i;
    const auto number = GetLittle<uint16_t>(block, slot);
    if (number == kNoColumn) break;
    index.columns.push_back({number, block[slot + 2] == kIndexAscending});
  }
  index.map = GetLittle<uint32_t>(block, at.map);
  index.root = GetLittle<uint32_t>(block, at.root);
  index.flags = static_cast<uint8_t>(block[at.flags] & ~at.alwaysSet);
  index.isOfComplexColumn = GetLittle<uint8_t>(block, at.complexMark) == kIndexOfComplexColumn;
  return index;
}

SLogicalIndex DecodeLogicalIndex(const SLogicalIndexLayout& at, std::span<const uint8_t> block) {
  SLogicalIndex index;
  index.number = GetLittle<uint32_t>(block, at.number);
  index.realIndex = GetLittle<uint32_t>(block, at.realIndex);
  index.side = block[at.side];
  index.partnerIndex = GetLittle<uint32_t>(block, at.partnerIndex);
  index.partnerTable = GetLittle<uint32_t>(block, at.partnerTable);
  index.cascadeUpdates = block[at.cascadeUpdates];
  index.cascadeDeletes = block[at.cascadeDeletes];
  index.kind = block[at.kind];
  return index;
}

bool DecodeDefinition(const SLayout& layout, std::span<const uint8_t> block, const NameDecoder& decodeName,
                      const std::function<void(const SDefinitionFault&)>& report,
                      STableDefinition& definition) {
  definition = {};
  return CDefinitionWalk(layout, block, decodeName, report, definition).Run();
}

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition,
                                      const NameEncoder& encodeName) {
  std::vector<uint8_t> block;
  EncodeHeader(layout.definition, definition, AppendBlock(block, layout.definition.headerSize));
  for (const SRealIndex& index : definition.realIndexes)
    PutLittle(AppendBlock(block, layout.definition.statisticsSize), layout.definition.statisticsDistinct,
              index.distinctKeys);
  for (const SColumnDefinition& column : definition.columns)
    EncodeColumn(layout.column, column, AppendBlock(block, layout.column.size));
  for (const SColumnDefinition& column : definition.columns)
    AppendName(layout.text, block, encodeName(column.name));
  for (const SRealIndex& index : definition.realIndexes)
    EncodeRealIndex(layout.realIndex, index, AppendBlock(block, layout.realIndex.size));
  for (const SLogicalIndex& index : definition.logicalIndexes)
    EncodeLogicalIndex(layout.logicalIndex, index, AppendBlock(block, layout.logicalIndex.size));
  for (const SLogicalIndex& index : definition.logicalIndexes)
    AppendName(layout.text, block, encodeName(index.name));
  for (const SColumnDefinition* column : LongValueColumns(layout, definition, encodeName)) {
    AppendLittle(block, column->number);
    AppendLittle(block, column->ownedMap);
    AppendLittle(block, column->freeMap);
  }
  AppendLittle(block, kDefinitionEnd);
  PutLittle(std::span(block), layout.definition.length, static_cast<uint32_t>(block.size()));
  return block;
}

std::vector<uint8_t> EncodeAsciiName(const SLayout& layout, std::u16string_view name) {
  std::vector<uint8_t> bytes;
  if (layout.text.IsCodePage())
    std::ranges::transform(name, std::back_inserter(bytes),
                           [](char16_t unit) { return static_cast<uint8_t>(unit); });
  else
    AppendUnits(bytes, name);
  return bytes;
}

size_t CountDefinitionPages(const SLayout& layout, size_t blockSize) {
  const size_t perPage = layout.pageSize - kDefinitionHead;
  return std::max<size_t>(1, (blockSize - kDefinitionHead + perPage - 1) / perPage);
}

uint16_t DefinitionWord(const SLayout& layout, size_t bytesLeft) {
  if (!layout.definition.hasFreeBytes) return kJet3DefinitionMark;
  return static_cast<uint16_t>(bytesLeft > kDefinitionHead ? bytesLeft - kDefinitionHead : 0);
}

void EncodeDefinitionPage(const SLayout& layout, std::span<const uint8_t> block, size_t place, uint32_t next,
                          std::span<uint8_t> page) {
  const size_t perPage = layout.pageSize - kDefinitionHead;
  std::span<const uint8_t> part = block.subspan(kDefinitionHead + place * perPage);
  part = part.first(std::min(perPage, part.size()));
  std::ranges::fill(page, uint8_t{0});
  page[kPageTypeAt] = kPageDefinition;
  page[kPageMarkAt] = kPageFormatted;
  PutLittle(page, kDefinitionFree, DefinitionWord(layout, perPage - part.size()));
  PutLittle(page, kDefinitionNext, next);
  std::ranges::copy(part, page.begin() + kDefinitionHead);
}

}  // namespace tolvane
