#include "engine/DefinitionDecoder.h"

#include <algorithm>

#include "engine/CatalogueImage.h"
#include "engine/DefinitionChain.h"
#include "engine/DefinitionReader.h"
#include "format/PageHead.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kGeneratedName = u"RecoveredField####";
constexpr uint32_t kLongestUtf16Name = 254;  // bytes

}  // namespace

CDefinitionDecoder::CDefinitionDecoder(const SLayout& layout, const SRecoveryRules& rules, uint32_t codePage)
    : m_layout(layout), m_rules(rules), m_codePage(codePage) {}

void CDefinitionDecoder::ParseTableDefinitions(CAccessData& data, CSource& definitions,
                                               const CJobContext& job) {
  if (!definitions.IsOpen()) return;
  const CFreePageMap& freePages = definitions.GetFreePages();
  CDefinitionChain chain(definitions.GetPages(), m_layout);
  CDefinitionReader reader(definitions, data.GetTables(), job);
  std::vector<uint8_t> image;

  for (const auto& table : data.GetTables()) {
    if (!job.repairing.IsRunning()) return;
    const uint32_t page = table->GetPage(m_layout.pageSize);
    if (page == kObjectsPage && m_rules.useBuiltInCatalogue) {
      image = MakeCatalogueImage(m_layout, m_rules);
      Decode(image, *table);
      if (m_rules.mendDefinitions) TakeOwnHeader(definitions, *table);
      continue;
    }
    const bool isWhole =
        !table->isBuiltIn &&
        (m_rules.mendDefinitions ? reader.Read(*table) : chain.Read(table->GetDefinitionOffset()));
    // On the first pages no file has other tables.
    if (!isWhole && m_rules.useBuiltInSystemTables && page <= kRelationshipsPage) {
      table->isBuiltIn = true;
      table->hasMendedCounts = table->hasMendedNames = false;
    }
    if (table->isBuiltIn) image = MakeSystemImage(m_layout, page);
    const bool isSound = Decode(table->isBuiltIn          ? image
                                : m_rules.mendDefinitions ? reader.GetBytes()
                                                          : chain.GetBytes(),
                                *table) &&
                         isWhole;
    if (!isSound && !freePages.IsFree(page))
      data.GetLedger().Add(
          EDamage::BrokenDefinition,
          {.page = page,
           .definition = table->GetDefinitionOffset(),
           .reason = table->isBuiltIn ? "it is the same in every database, and known" : reader.GetFault()});
  }
}

void CDefinitionDecoder::TakeOwnHeader(CSource& definitions, CAccessTable& catalogue) const {
  std::vector<uint8_t> page(m_layout.pageSize);
  STableDefinition own;
  SDefinitionCounts counts;
  if (definitions.ReadPage(kObjectsPage, page) && IsFirstOfDefinition(page, m_layout))
    DecodeHeader(m_layout.definition, page, own, counts);
  catalogue.header.rowCount = std::max<uint32_t>(own.rowCount, 1);
  catalogue.header.usedPagesMap = own.ownedMap;
}

bool CDefinitionDecoder::Decode(std::span<const uint8_t> definition, CAccessTable& table) {
  SWalk walk{.bytes = CByteView(definition), .length = definition.size()};
  ReadHeader(walk, table);
  ReadColumns(walk, table);
  ReadNames(walk, table);
  ReadRealIndexes(walk, table);
  if (m_rules.logicalCountIsRealCount)
    ReadLogicalIndexes(walk, table);
  else
    NameIndexes(walk, table);
  return walk.isSound;
}

void CDefinitionDecoder::ReadHeader(SWalk& walk, CAccessTable& table) const {
  const SDefinitionLayout& at = m_layout.definition;
  STableDefinition read;
  SDefinitionCounts counts;
  DecodeHeader(at, walk.Get(0, at.headerSize), read, counts);
  SAccessTableHeader header;
  header.definitionLength = counts.length;
  header.secondWord = counts.magic;
  header.rowCount = read.rowCount;
  header.nextAutoNumber = read.autoNumber;
  header.lastComplexKey = read.complexNumber;
  header.tableType = read.tableType;
  header.highestColumnNumber = read.columnsEver;
  header.variableColumnCount = read.variableEver;
  header.columnCount = counts.columns;
  header.indexCount = counts.logical;
  header.realIndexCount = counts.real;
  header.usedPagesMap = read.ownedMap;
  header.freePagesMap = read.freeMap;
  table.header = header;
  table.promisedRows = header.rowCount;

  walk.columnCount = header.columnCount;
  walk.realIndexCount = header.realIndexCount;
  walk.position = at.headerSize + uint64_t{at.statisticsSize} * header.realIndexCount;
  if (header.columnCount == 0 || header.definitionLength > walk.length) walk.isSound = false;
}

void CDefinitionDecoder::ReadColumns(SWalk& walk, CAccessTable& table) {
  const SColumnLayout& at = m_layout.column;
  const uint64_t first = walk.position;
  walk.position += uint64_t{at.size} * walk.columnCount;
  for (uint32_t i = 0; i < walk.columnCount; i++) {
    const uint64_t descriptor = first + uint64_t{at.size} * i;
    // The start of the last field is tested, not its end.
    const bool isCut = descriptor + at.length > walk.length || m_columnsLeft == 0;
    table.columns.Add(isCut ? CAccessColumn() : ReadColumn(walk.Get(descriptor, at.size)));
    if (isCut) {
      walk.isSound = false;
      walk.position = std::max(walk.position, walk.length);
      return;
    }
    table.columns.GetAt(i)->descriptor = static_cast<uint16_t>(i);
    m_columnsLeft--;
  }
}

CAccessColumn CDefinitionDecoder::ReadColumn(std::span<const uint8_t> block) const {
  const SColumnDefinition read = DecodeColumn(m_layout.column, block);
  CAccessColumn column;
  column.type = read.type;
  column.number = read.number;
  if (!m_layout.isJet3 && m_rules.columnNumberLowByteOnly) column.number &= 0xFF;
  column.displayNumber = read.displayNumber;
  column.variableIndex = read.variableIndex;
  column.misc = GetLittle<uint32_t>(block, m_layout.column.misc);
  if (read.HasTexts()) column.codePage = read.codePage;
  column.flags = read.flags;
  column.extendedFlags = read.extendedFlags;
  column.fixedOffset = read.fixedOffset;
  column.length = read.length;
  if (!m_layout.text.IsCodePage() && column.type == kTypeText)
    column.length = static_cast<uint16_t>(column.length / 2);
  return column;
}

void CDefinitionDecoder::ReadNames(SWalk& walk, CAccessTable& table) {
  m_name.fill(u'\0');
  uint32_t generated = 0;
  // Where descriptors are missing the names lie behind the cut as well.
  for (size_t i = 0; i < table.columns.GetCount(); i++) {
    const uint32_t width = m_layout.text.nameLengthSize;
    const uint32_t length = width == 1 ? ReadByteName(walk) : ReadUtf16Name(walk);
    auto ownBytes = static_cast<uint16_t>(length);
    if (m_name[0] == u'\0') {
      ownBytes = 0;
      PutName(std::u16string(kGeneratedName) + ToDecimal(uint64_t{generated++}));
      walk.isSound = false;
    }
    table.columns.SetNameAt(i, std::u16string_view(m_name.data()));
    if (width == 1 && m_rules.rawJet3Names) table.columns.GetAt(i)->storedNameBytes = ownBytes;
    walk.position += width + length;
  }
}

void CDefinitionDecoder::PutName(std::u16string_view name) {
  const size_t length = std::min(name.size(), m_name.size() - 1);
  std::copy_n(name.begin(), length, m_name.begin());
  m_name[length] = u'\0';
}

uint32_t CDefinitionDecoder::ReadUtf16Name(SWalk& walk) {
  m_name[0] = u'\0';
  const uint64_t text = walk.position + 2;
  if (text > walk.length) return 0;
  const uint32_t length = walk.bytes.GetUInt16(walk.position);
  if (length > kLongestUtf16Name || text + length >= walk.length) return 0;
  PutName(UnitsOf(walk.Get(text, length)));
  return length;
}

uint32_t CDefinitionDecoder::ReadByteName(SWalk& walk) {
  const uint64_t text = walk.position + 1;
  const uint32_t length = text <= walk.length ? walk.bytes.GetUInt8(walk.position) : 0;
  if (length == 0) {
    m_name[0] = u'\0';
    return 0;
  }
  const std::span<const uint8_t> bytes = walk.Get(text, length);
  if (!m_rules.rawJet3Names) {
    std::u16string name;
    DecodeCodePage(m_codePage, bytes, name);
    PutName(name);
    return length;
  }
  for (uint32_t i = 0; i < length; i++) {
    char16_t& unit = m_name[i / 2];
    unit = static_cast<char16_t>(i % 2 == 0 ? (unit & 0xFF00) | bytes[i] : (unit & 0x00FF) | bytes[i] << 8);
  }
  m_name[length] = u'\0';
  return length;
}

void CDefinitionDecoder::ReadRealIndexes(SWalk& walk, CAccessTable& table) {
  const SRealIndexLayout& at = m_layout.realIndex;
  const uint64_t first = walk.position;
  walk.position += uint64_t{at.size} * walk.realIndexCount;
  for (uint32_t i = 0; i < walk.realIndexCount; i++) {
    const uint64_t entry = first + uint64_t{at.size} * i;
    if (entry + at.slots >= walk.length || m_indexesLeft == 0) {
      walk.isSound = false;
      return;
    }
    const size_t wholeSlots = static_cast<size_t>(walk.length - entry - at.slots) / kIndexSlotSize;
    table.indexes.Add(ReadRealIndex(walk.Get(entry, at.size), wholeSlots, walk.columnCount));
    m_indexesLeft--;
  }
}

CAccessTableIndex CDefinitionDecoder::ReadRealIndex(std::span<const uint8_t> block, size_t wholeSlots,
                                                    uint32_t columnCount) const {
  SRealIndex read = DecodeRealIndex(m_layout.realIndex, block);
  if (read.columns.size() > wholeSlots) read.columns.resize(wholeSlots);
  CAccessTableIndex index;
  for (const SIndexColumn& column : read.columns) {
    const auto end = index.columns.begin() + static_cast<ptrdiff_t>(index.columnCount);
    const bool isTwice = std::any_of(index.columns.begin(), end,
                                     [&](const auto& other) { return other.columnNumber == column.number; });
    // Deleted columns leave gaps, so that the others' numbers may lie above their count.
    if (isTwice || (m_rules.columnNumberLowByteOnly && column.number > columnCount)) break;
    index.columns[index.columnCount++] = {.columnNumber = column.number, .isAscending = column.ascending};
  }
  index.usedPagesMap = read.map;
  index.rootPage = read.root;
  const uint8_t flags = block[m_layout.isJet3 ? m_layout.realIndex.flags : m_rules.indexFlagsOffsetJet4];
  const auto isSet = [&](uint8_t flag) {
    return static_cast<uint8_t>(m_rules.indexFlagsExactMatch ? flags == flag : (flags & flag) != 0);
  };
  index.unique = flags & kIndexUnique;
  index.ignoreNulls = isSet(kIndexIgnoreNulls);
  index.required = isSet(kIndexRequired);
  return index;
}

void CDefinitionDecoder::ReadLogicalIndexes(SWalk& walk, CAccessTable& table) const {
  const SLogicalIndexLayout& at = m_layout.logicalIndex;
  const uint32_t numberOffset =
      m_layout.isJet3 ? m_rules.logicalIndexNumberOffsetJet3 : m_rules.logicalIndexNumberOffsetJet4;
  for (uint32_t i = 0; i < walk.realIndexCount; i++, walk.position += at.size) {
    if (walk.position + at.size > walk.length) {
      walk.isSound = false;
      return;
    }
    const std::span<const uint8_t> block = walk.Get(walk.position, at.size);
    if (DecodeLogicalIndex(at, block).kind == kIndexKindPrimary)
      table.indexes.MarkPrimary(GetLittle<uint32_t>(block, numberOffset), 1);
  }
}

void CDefinitionDecoder::NameIndexes(SWalk& walk, CAccessTable& table) {
  const SLogicalIndexLayout& at = m_layout.logicalIndex;
  const uint64_t first = walk.position;
  const uint64_t room = first < walk.length ? (walk.length - first) / at.size : 0;
  const uint64_t count = std::min<uint64_t>(table.header.indexCount, room);
  if (count < table.header.indexCount) walk.isSound = false;
  walk.position += count * at.size;
  std::vector<CAccessTableIndex> indexes(table.indexes.begin(), table.indexes.end());
  std::vector<uint8_t> isNamed(indexes.size(), 0);
  for (uint64_t i = 0; i < count; i++) {
    const uint64_t entry = first + i * at.size;
    const uint32_t width = m_layout.text.nameLengthSize;
    walk.position += width + (width == 1 ? ReadByteName(walk) : ReadUtf16Name(walk));
    const SLogicalIndex read = DecodeLogicalIndex(at, walk.Get(entry, at.size));
    const uint32_t real = read.realIndex;
    const uint8_t kind = read.kind;
    if (real >= indexes.size()) {
      walk.isSound = false;
      continue;
    }
    CAccessTableIndex& index = indexes[real];
    if (read.side == kForeignSide && m_name[0] != u'\0')
      table.foreignKeys.push_back({.relationship = m_name.data(),
                                   .primaryTable = read.partnerTable,
                                   .primaryIndex = read.partnerIndex,
                                   .index = real,
                                   .cascadesUpdates = read.cascadeUpdates == 1,
                                   .cascadesDeletes = read.cascadeDeletes == 1});
    if (read.side == kPrimarySide) table.referredIndexes.push_back({read.number, real});
    if (kind == kIndexKindForeign) {
      if (isNamed[real] == 0) index.foreign = 1;
      continue;
    }
    index.foreign = 0;
    if (kind == kIndexKindPrimary) index.primary = 1;
    if (m_name[0] != u'\0' && (isNamed[real] == 0 || kind == kIndexKindPrimary))
      index.name = std::u16string_view(m_name.data());
    isNamed[real] = 1;
  }
  table.indexes = CAccessTableIndexList();
  for (const CAccessTableIndex& index : indexes) table.indexes.Add(index);
}

}  // namespace tolvane
