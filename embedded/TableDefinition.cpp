#include "embedded/TableDefinition.h"

#include <algorithm>
#include <set>

#include "embedded/ObjectName.h"
#include "embedded/StoredText.h"

namespace tolvane {
namespace {

// Relationships share real indexes, so there may be more logical ones than a table has real ones.
constexpr size_t kMaxLogicalIndexes = 1024;

// The length of a name in bytes, then the name. Names that the format cannot hold have been refused before.
void AppendName(const STextLayout& layout, std::vector<uint8_t>& block, std::u16string_view name) {
  const size_t lengthAt = block.size();
  block.resize(lengthAt + layout.nameLengthSize);
  AppendStoredText(layout, name, ETextForm::Plain, block);
  const size_t length = block.size() - lengthAt - layout.nameLengthSize;
  PutLittle(std::span(block), lengthAt, static_cast<uint8_t>(length));
  if (layout.nameLengthSize == 2) PutLittle(std::span(block), lengthAt, static_cast<uint16_t>(length));
}

std::u16string TakeName(const STextLayout& layout, CByteTaker& taker) {
  const size_t length =
      layout.nameLengthSize == 2 ? taker.TakeNumber<uint16_t>() : taker.TakeNumber<uint8_t>();
  return DecodePlainText(layout, taker.Take(length));
}

// A zeroed block at the end of `out`.
std::span<uint8_t> AppendBlock(std::vector<uint8_t>& out, size_t size) {
  out.resize(out.size() + size);
  return std::span(out).subspan(out.size() - size);
}

void EncodeHeader(const SDefinitionLayout& at, const STableDefinition& definition,
                  std::span<uint8_t> header) {
  header[kPageTypeAt] = static_cast<uint8_t>(kPageDefinition);
  header[kPageMarkAt] = kPageFormatted;
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
                                                       const STableDefinition& definition) {
  std::vector<const SColumnDefinition*> columns;
  for (const SColumnDefinition& column : definition.columns)
    if (column.HoldsLongValues()) columns.push_back(&column);
  std::sort(columns.begin(), columns.end(), [&](const auto* a, const auto* b) {
    if (a->displayNumber != b->displayNumber) return a->displayNumber < b->displayNumber;
    return IsNameBefore(layout, a->name, b->name);
  });
  return columns;
}

// How many of each part follow the header.
struct SPartCounts {
  size_t columns = 0, logical = 0, real = 0;
};

bool TakeHeader(const SDefinitionLayout& at, CByteTaker& taker, STableDefinition& definition,
                SPartCounts& counts) {
  const std::span<const uint8_t> header = taker.Take(at.headerSize);
  if (!taker.IsOk() || (at.magic != kAbsent && GetLittle<uint32_t>(header, at.magic) != kDefinitionMagic))
    return false;
  definition.tableType = header[at.tableType];
  definition.rowCount = GetLittle<uint32_t>(header, at.rowCount);
  definition.autoNumber = GetLittle<uint32_t>(header, at.autoNumber);
  definition.complexNumber = GetLittle<uint32_t>(header, at.complexNumber);
  definition.columnsEver = GetLittle<uint16_t>(header, at.columnsEver);
  definition.variableEver = GetLittle<uint16_t>(header, at.variableEver);
  definition.ownedMap = GetLittle<uint32_t>(header, at.ownedMap);
  definition.freeMap = GetLittle<uint32_t>(header, at.freeMap);
  counts.columns = GetLittle<uint16_t>(header, at.columnCount);
  counts.logical = GetLittle<uint32_t>(header, at.logicalCount);
  counts.real = GetLittle<uint32_t>(header, at.realCount);
  return counts.columns <= kMaxFields && counts.real <= kMaxIndexes && counts.logical <= kMaxLogicalIndexes;
}

// After a failed take the pieces are empty and nothing more is decoded; the caller asks the taker at the end.
void TakeColumns(const SLayout& layout, size_t count, CByteTaker& taker, STableDefinition& definition) {
  for (size_t i = 0; i < count; i++) {
    const std::span<const uint8_t> bytes = taker.Take(layout.column.size);
    if (taker.IsOk()) definition.columns.push_back(DecodeColumn(layout.column, bytes));
  }
  for (SColumnDefinition& column : definition.columns) column.name = TakeName(layout.text, taker);
}

void TakeIndexes(const SLayout& layout, const SPartCounts& counts, std::span<const uint8_t> statistics,
                 CByteTaker& taker, STableDefinition& definition) {
  const SDefinitionLayout& at = layout.definition;
  for (size_t i = 0; i < counts.real; i++) {
    const std::span<const uint8_t> bytes = taker.Take(layout.realIndex.size);
    if (!taker.IsOk()) return;
    definition.realIndexes.push_back(DecodeRealIndex(layout.realIndex, bytes));
    definition.realIndexes.back().distinctKeys =
        GetLittle<uint32_t>(statistics, i * at.statisticsSize + at.statisticsDistinct);
  }
  for (size_t i = 0; i < counts.logical; i++) {
    const std::span<const uint8_t> bytes = taker.Take(layout.logicalIndex.size);
    if (taker.IsOk()) definition.logicalIndexes.push_back(DecodeLogicalIndex(layout.logicalIndex, bytes));
  }
  for (SLogicalIndex& index : definition.logicalIndexes) index.name = TakeName(layout.text, taker);
}

void TakeLongValueMaps(CByteTaker& taker, STableDefinition& definition) {
  while (taker.IsOk()) {
    const auto number = taker.TakeNumber<uint16_t>();
    if (number == kDefinitionEnd) return;
    const auto owned = taker.TakeNumber<uint32_t>();
    const auto free = taker.TakeNumber<uint32_t>();
    for (SColumnDefinition& column : definition.columns) {
      if (column.number != number) continue;
      column.ownedMap = owned;
      column.freeMap = free;
    }
  }
}

// What later code relies on: numbers within their counts, unique, and fixed columns inside the row.
bool IsSound(const SLayout& layout, const STableDefinition& definition) {
  std::set<uint16_t> numbers, variables;
  for (const SColumnDefinition& column : definition.columns) {
    if (column.number >= definition.columnsEver || !numbers.insert(column.number).second) return false;
    if (size_t{column.fixedOffset} + column.GetFixedSize() > layout.pageSize) return false;
    if (!column.IsFixed() &&
        (column.variableIndex >= definition.variableEver || !variables.insert(column.variableIndex).second))
      return false;
  }
  for (const SRealIndex& index : definition.realIndexes)
    for (const SIndexColumn& column : index.columns)
      if (numbers.count(column.number) == 0) return false;
  return definition.columnsEver <= kMaxFields;
}

// What a page's head says of the page. A number of free bytes counts eight bytes less than the page has left,
// and stops at 0.
uint16_t DefinitionWord(const SLayout& layout, size_t bytesLeft) {
  if (!layout.definition.hasFreeBytes) return kJet3DefinitionMark;
  return static_cast<uint16_t>(bytesLeft > kDefinitionHead ? bytesLeft - kDefinitionHead : 0);
}

}  // namespace

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

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition) {
  std::vector<uint8_t> block;
  EncodeHeader(layout.definition, definition, AppendBlock(block, layout.definition.headerSize));
  for (const SRealIndex& index : definition.realIndexes)
    PutLittle(AppendBlock(block, layout.definition.statisticsSize), layout.definition.statisticsDistinct,
              index.distinctKeys);
  for (const SColumnDefinition& column : definition.columns)
    EncodeColumn(layout.column, column, AppendBlock(block, layout.column.size));
  for (const SColumnDefinition& column : definition.columns) AppendName(layout.text, block, column.name);
  for (const SRealIndex& index : definition.realIndexes)
    EncodeRealIndex(layout.realIndex, index, AppendBlock(block, layout.realIndex.size));
  for (const SLogicalIndex& index : definition.logicalIndexes)
    EncodeLogicalIndex(layout.logicalIndex, index, AppendBlock(block, layout.logicalIndex.size));
  for (const SLogicalIndex& index : definition.logicalIndexes) AppendName(layout.text, block, index.name);
  for (const SColumnDefinition* column : LongValueColumns(layout, definition)) {
    AppendLittle(block, column->number);
    AppendLittle(block, column->ownedMap);
    AppendLittle(block, column->freeMap);
  }
  AppendLittle(block, kDefinitionEnd);
  PutLittle(std::span(block), layout.definition.length, static_cast<uint32_t>(block.size()));
  return block;
}

bool DecodeDefinition(const SLayout& layout, std::span<const uint8_t> block, STableDefinition& definition) {
  CByteTaker taker(block);
  SPartCounts counts;
  definition = {};
  if (!TakeHeader(layout.definition, taker, definition, counts)) return false;
  const std::span<const uint8_t> statistics = taker.Take(counts.real * layout.definition.statisticsSize);
  TakeColumns(layout, counts.columns, taker, definition);
  TakeIndexes(layout, counts, statistics, taker, definition);
  TakeLongValueMaps(taker, definition);
  return taker.IsOk() && IsSound(layout, definition);
}

size_t CountDefinitionPages(const SLayout& layout, size_t blockSize) {
  const size_t perPage = layout.pageSize - kDefinitionHead;
  return std::max<size_t>(1, (blockSize - kDefinitionHead + perPage - 1) / perPage);
}

CDaoResult StoreDefinition(CPageFile& file, const STableDefinition& definition,
                           std::vector<uint32_t>& pages) {
  const SLayout& layout = file.GetLayout();
  const std::vector<uint8_t> block = EncodeDefinition(layout, definition);
  const size_t perPage = layout.pageSize - kDefinitionHead;
  const size_t needed = CountDefinitionPages(layout, block.size());
  while (pages.size() < needed) {
    uint32_t page = 0;
    if (CDaoResult result = file.Allocate(EPageUse::Structure, page); !result.IsOk()) return result;
    pages.push_back(page);
  }
  std::vector<uint8_t> bytes(layout.pageSize);
  const std::span<const uint8_t> content = std::span(block).subspan(kDefinitionHead);
  for (size_t i = 0; i < needed; i++) {
    const std::span<const uint8_t> part =
        content.subspan(i * perPage, std::min(perPage, content.size() - i * perPage));
    std::fill(bytes.begin(), bytes.end(), uint8_t{0});
    bytes[kPageTypeAt] = static_cast<uint8_t>(kPageDefinition);
    bytes[kPageMarkAt] = kPageFormatted;
    PutLittle(std::span(bytes), kDefinitionFree, DefinitionWord(layout, perPage - part.size()));
    PutLittle(std::span(bytes), kDefinitionNext, i + 1 < needed ? pages[i + 1] : 0);
    std::copy(part.begin(), part.end(), bytes.begin() + kDefinitionHead);
    if (CDaoResult result = file.Write(pages[i], bytes); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

CDaoResult LoadDefinition(CPageFile& file, uint32_t firstPage, STableDefinition& definition,
                          std::vector<uint32_t>& pages) {
  const CDaoResult damaged{EDaoError::NotADatabase, u"A table definition in the database is damaged."};
  pages.clear();
  std::vector<uint8_t> bytes(file.GetLayout().pageSize), block;
  // A definition has few pages; a chain longer than the counts allow is a loop or damage.
  constexpr size_t kMaxPages = 64;
  for (uint32_t page = firstPage; page != 0; page = GetLittle<uint32_t>(bytes, kDefinitionNext)) {
    if (page >= file.GetPageCount() || pages.size() == kMaxPages) return damaged;
    if (CDaoResult result = file.Read(page, bytes); !result.IsOk()) return result;
    if (bytes[kPageTypeAt] != static_cast<uint8_t>(kPageDefinition)) return damaged;
    block.insert(block.end(), bytes.begin() + (pages.empty() ? 0 : static_cast<ptrdiff_t>(kDefinitionHead)),
                 bytes.end());
    pages.push_back(page);
  }
  return !block.empty() && DecodeDefinition(file.GetLayout(), block, definition) ? CDaoResult::Ok() : damaged;
}

}  // namespace tolvane
