// Table definitions as values and as the bytes that DefinitionLayout.h draws: one lenient reader, one writer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

// How texts sort: language 0x0409 in version 0 is "General Legacy", in version 1 "General".
struct STextOrder {
  uint16_t language = kGeneralSortOrder;
  uint8_t version = 0;
  bool operator==(const STextOrder&) const = default;
};

struct SColumnDefinition {
  std::u16string name;
  uint8_t type = 0;
  uint8_t flags = 0;
  uint8_t extendedFlags = 0;
  uint16_t number = 0;         // position in the null mask
  uint16_t displayNumber = 0;  // position for users
  uint16_t variableIndex = 0;  // fixed columns: variable columns with a lower number
  uint16_t fixedOffset = 0;    // fixed columns: offset in the fixed part
  uint16_t length = 0;         // bytes; text: the most that fit; long values: 0
  // Four bytes that have a meaning of their own in some types.
  STextOrder order;                      // texts; the others have it for no reason
  uint16_t codePage = kGeneralCodePage;  // Jet 3: of its texts
  uint8_t precision = 0, scale = 0;      // decimals
  uint32_t complexId = 0;                // complex columns: their number in MSysComplexColumns
  bool hasMaps = false;                  // long values: maps of the column's pages
  uint32_t ownedMap = 0, freeMap = 0;

  [[nodiscard]] bool IsCounter() const { return type == kTypeLong && (flags & kColumnAutoNumber) != 0; }
  [[nodiscard]] bool IsFixed() const { return (flags & kColumnFixed) != 0; }
  [[nodiscard]] bool IsCalculated() const { return tolvane::IsCalculated(extendedFlags); }
  // Of the first engine that knows such a column, as a version byte.
  [[nodiscard]] uint8_t GetNeededVersion() const {
    return IsCalculated() ? std::max(kVersionOfCalculated, ColumnTypeOf(type).since)
                          : ColumnTypeOf(type).since;
  }
  [[nodiscard]] bool HasTexts() const { return type == kTypeText || type == kTypeMemo; }
  // A calculated memo is a text without a length.
  [[nodiscard]] bool HoldsLongValues() const {
    return IsLongValueType(type) || (IsCalculated() && type == kTypeText && length == 0);
  }
  // Bytes in the fixed part; booleans live in the null mask alone.
  [[nodiscard]] uint16_t GetFixedSize() const {
    return IsFixed() && type != kTypeBoolean ? length : uint16_t{0};
  }
};

struct SIndexColumn {
  uint16_t number = 0;
  bool ascending = true;
};

struct SRealIndex {
  std::vector<SIndexColumn> columns = {};
  uint8_t flags = 0;
  bool isOfComplexColumn = false;  // made with it, not by anybody
  uint32_t map = 0;
  uint32_t root = 0;
  uint32_t distinctKeys = 0;
};

struct SLogicalIndex {
  std::u16string name;
  uint32_t number = 0;
  uint32_t realIndex = 0;
  uint8_t side = 0;  // of a relationship
  uint32_t partnerIndex = 0xFFFFFFFF;
  uint32_t partnerTable = 0;
  uint8_t cascadeUpdates = 4;
  uint8_t cascadeDeletes = 4;
  uint8_t kind = 0;
};

struct STableDefinition {
  uint8_t tableType = kUserTable;
  uint32_t rowCount = 0;
  uint32_t autoNumber = 0;     // the last one given
  uint32_t complexNumber = 0;  // likewise for all complex columns together
  uint16_t columnsEver = 0;
  uint16_t variableEver = 0;
  uint32_t ownedMap = 0;
  uint32_t freeMap = 0;
  std::vector<SColumnDefinition> columns;  // in stored order; of users' tables by display number = number
  std::vector<SRealIndex> realIndexes;
  std::vector<SLogicalIndex> logicalIndexes;  // by name

  // Behind the other real indexes, under that name; the names are sorted when all are there.
  void AddIndex(std::u16string name, SRealIndex real, uint8_t kind = 0);
  // Numbers the columns in their present order and places them in the row; flags, types and lengths are
  // given.
  void LayOutColumns();
  [[nodiscard]] size_t GetFixedPartSize() const;
  [[nodiscard]] const SColumnDefinition* FindColumn(uint16_t number) const;
};

// What the header says of the block itself.
struct SDefinitionCounts {
  uint32_t length = 0, magic = 0, autoNumberStep = 0;
  uint16_t columns = 0;
  uint32_t logical = 0, real = 0;
};

// The parts. Each has the size that the layout says; what is decoded is what stands there: nothing is judged.
void DecodeHeader(const SDefinitionLayout& at, std::span<const uint8_t> header, STableDefinition& definition,
                  SDefinitionCounts& counts);
SColumnDefinition DecodeColumn(const SColumnLayout& at, std::span<const uint8_t> block);
SRealIndex DecodeRealIndex(const SRealIndexLayout& at, std::span<const uint8_t> block);
SLogicalIndex DecodeLogicalIndex(const SLogicalIndexLayout& at, std::span<const uint8_t> block);

enum class EDefinitionFault : uint8_t {
  Cut,             // the block ends before all that it announces; nothing behind is read
  Length,          // the block has another length than it states
  Magic,           // a constant has another value; `part` says which
  MapsOfNoColumn,  // long value maps, of the column number `found`
  MapsTwice,
};
struct SDefinitionFault {
  EDefinitionFault kind;
  uint64_t found = 0, expected = 0;
  std::u16string_view part = {};
};

// Names are handed over as stored, first those of the columns, then those of the indexes.
using NameDecoder = std::function<std::u16string(std::span<const uint8_t> stored)>;
using NameEncoder = std::function<std::vector<uint8_t>(std::u16string_view name)>;

// Takes what the block holds; every fault goes to `report`. False when it is cut.
bool DecodeDefinition(const SLayout& layout, std::span<const uint8_t> block, const NameDecoder& decodeName,
                      const std::function<void(const SDefinitionFault&)>& report,
                      STableDefinition& definition);
std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition,
                                      const NameEncoder& encodeName);
// A name of characters that have the same place in every code page.
std::vector<uint8_t> EncodeAsciiName(const SLayout& layout, std::u16string_view name);

// Puts a block together from its pages: the first one whole, the others without their heads. `read` gets a
// page number and answers the page, none where the chain cannot go on.
template <class ReadPage>
void ReadDefinitionChain(uint32_t firstPage, ReadPage read, std::vector<uint8_t>& block) {
  block.clear();
  for (uint32_t page = firstPage;;) {
    const std::span<const uint8_t> bytes = read(page);
    if (bytes.empty()) return;
    block.insert(block.end(), bytes.begin() + (block.empty() ? 0 : static_cast<ptrdiff_t>(kDefinitionHead)),
                 bytes.end());
    page = GetLittle<uint32_t>(bytes, kDefinitionNext);
    if (page == 0) return;
  }
}

// Pages that a block of this size takes.
size_t CountDefinitionPages(const SLayout& layout, size_t blockSize);
// What a page's head says of a page with so many bytes left: they, but for eight that are never counted, or
// the mark of Jet 3.
uint16_t DefinitionWord(const SLayout& layout, size_t bytesLeft);
// The block's page at that place; `next` is the page behind it, 0 for the last.
void EncodeDefinitionPage(const SLayout& layout, std::span<const uint8_t> block, size_t place, uint32_t next,
                          std::span<uint8_t> page);

}  // namespace tolvane
